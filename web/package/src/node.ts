import { engineOf, type Earshot } from "./earshot.js";
import { checkWhole, EarshotError, reasonOf } from "./errors.js";
import { type Head, loadedHead } from "./heads.js";
import type { ProcessorOptions, Statistics } from "./worklet.js";

/** The context's rate: earshot renders at this one. */
export const SAMPLE_RATE = 48000;

const MOST_SOURCES = 64;

/** What moves a source; all are k-rate. */
export interface NodeSource {
    /**
     * Degrees, counter-clockwise from the front: 90 is the left. Any number of turns; the source
     * glides from one value to the next by the shorter way, within 128 samples.
     */
    readonly azimuth: AudioParam;
    /** Degrees upwards, -90 to 90. */
    readonly elevation: AudioParam;
    /** A factor, 0 to 16. */
    readonly gain: AudioParam;
}

/** How many sources a node has, and whose ears. */
export interface EarshotNodeOptions {
    /** 1 to 64. */
    sources: number;
    /** The built-in head unless given; it may be freed once the node is there. */
    head?: Head;
    /** Where the processor's file is; beside this one unless given. */
    worklet?: URL | string;
}

// Node and workers have no audio graphs, but may import the package.
const NodeBase: typeof AudioWorkletNode =
    globalThis.AudioWorkletNode ?? (class {} as unknown as typeof AudioWorkletNode);

/**
 * A node of an audio graph with an input per source, mono or stereo, which is mixed down, and one
 * output for headphones, 115 samples late. All sources begin at the front.
 */
export class EarshotNode extends NodeBase {
    /** One per input, in their order. */
    readonly sources: readonly NodeSource[];
    #asked: { resolve: (counts: Statistics) => void; reject: (error: EarshotError) => void }[] = [];
    #ended: EarshotError | null = null;

    private constructor(context: BaseAudioContext, options: ProcessorOptions) {
        super(context, `earshot-${2 ** Math.ceil(Math.log2(options.sources))}`, {
            numberOfInputs: options.sources,
            numberOfOutputs: 1,
            outputChannelCount: [2],
            channelCount: 2,
            channelCountMode: "clamped-max",
            processorOptions: options,
        });
        const parameter = (name: string): AudioParam => this.parameters.get(name)!;
        this.sources = Array.from({ length: options.sources }, (_, k) => ({
            azimuth: parameter(`azimuth${k}`),
            elevation: parameter(`elevation${k}`),
            gain: parameter(`gain${k}`),
        }));
        this.port.onmessage = ({ data }: MessageEvent<Statistics>) =>
            this.#asked.shift()?.resolve(data);
        this.addEventListener("processorerror", () =>
            this.#end("the audio thread has given up; has it memory enough?"),
        );
    }

    /**
     * Makes a node in a context, which has to run at 48000 Hz and need not be running yet:
     * `new AudioContext({ sampleRate: 48000 })`.
     * @throws EarshotError for another rate, where there are no worklets, if their file cannot be
     * loaded, or for a number of sources out of range.
     */
    static async create(
        context: BaseAudioContext,
        earshot: Earshot,
        { sources, head = earshot.builtinHead, worklet }: EarshotNodeOptions,
    ): Promise<EarshotNode> {
        checkWhole("sources", sources, 1, MOST_SOURCES);
        if (context.sampleRate !== SAMPLE_RATE)
            throw new EarshotError(
                `context: it runs at ${context.sampleRate} Hz; make it with ` +
                    `new AudioContext({ sampleRate: ${SAMPLE_RATE} })`,
            );
        const bytes = loadedHead(head).bytes;
        await addProcessors(context, worklet ?? new URL("./worklet.js", import.meta.url));
        const module = engineOf(earshot).bytes;
        return new EarshotNode(context, { module, head: bytes, sources });
    }

    /**
     * Counts of the audio thread up to now. The answer may wait while the context is
     * suspended.
     * @throws EarshotError after `destroy`, or if the audio thread has failed.
     */
    statistics(): Promise<Statistics> {
        return new Promise((resolve, reject) => {
            if (this.#ended) return reject(this.#ended);
            this.#asked.push({ resolve, reject });
            this.port.postMessage("statistics");
        });
    }

    /** Disconnects the node and ends its work on the audio thread. */
    destroy(): void {
        if (this.#ended) return;
        this.disconnect();
        this.port.postMessage("destroy");
        this.#end("the node has been destroyed");
    }

    #end(reason: string): void {
        this.#ended ??= new EarshotError(`node: ${reason}`);
        for (const { reject } of this.#asked.splice(0)) reject(this.#ended);
    }
}

// A context refuses to learn the same processors twice.
const added = new WeakMap<BaseAudioContext, Promise<void>>();

function addProcessors(context: BaseAudioContext, file: URL | string): Promise<void> {
    const known = added.get(context);
    if (known) return known;
    if (!context.audioWorklet)
        throw new EarshotError(
            "context: it has no audioWorklet; pages need https or localhost for that",
        );
    const adding = context.audioWorklet.addModule(file).catch((error: unknown) => {
        added.delete(context);
        throw new EarshotError(`${String(file)}: ${reasonOf(error)}`, { cause: error });
    });
    added.set(context, adding);
    return adding;
}
