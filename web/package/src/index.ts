/**
 * Sounds around a head: a node for audio graphs, a renderer for blocks of samples, and scenes. The
 * samples are those of the earshot library and tool, bit for bit.
 *
 * @packageDocumentation
 */
export { load, type Earshot, type LoadOptions } from "./earshot.js";
export type { InstructionSet } from "./engine.js";
export { EarshotError } from "./errors.js";
export type { Head } from "./heads.js";
export { EarshotNode, SAMPLE_RATE, type EarshotNodeOptions, type NodeSource } from "./node.js";
export { OfflineRenderer, type Place, type Samples } from "./offline.js";
export {
    Scene,
    type Heard,
    type RenderedWav,
    type RenderOptions,
    type SceneSource,
} from "./scene.js";
export { encodeWav, type SampleBits } from "./wav.js";
export type { Statistics } from "./worklet.js";
