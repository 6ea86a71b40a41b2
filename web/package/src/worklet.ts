// The processor of the audio thread. It stands alone: a worklet gets this one file, wherever a
// bundler puts it, so there are no imports but of types.

import type { EngineExports } from "./engine.js";

declare const currentFrame: number;
declare const sampleRate: number;
declare class AudioWorkletProcessor {
    readonly port: MessagePort;
}
declare function registerProcessor(name: string, processor: unknown): void;

/** What EarshotNode hands over. */
export interface ProcessorOptions {
    module: Uint8Array<ArrayBuffer>;
    /** Null: the built-in one. */
    head: Uint8Array<ArrayBuffer> | null;
    sources: number;
}

/** Counts of the audio thread. */
export interface Statistics {
    /** Quanta of the context, 128 frames each, that were rendered. */
    quanta: number;
    /**
     * Quanta that the context's clock went past without a call. Making another node while this one
     * plays can cost some: the audio thread compiles the module for each.
     */
    missed: number;
    /**
     * Quanta that took longer to compute than to play, as far as the thread's clock tells: many
     * browsers have none there but that of the date, whose steps of 1 ms make it a close guess.
     */
    late: number;
    /** Milliseconds that the longest computation took, by the same clock. */
    longest: number;
    /** Samples clipped at full scale. */
    clipped: number;
}

// A processor's parameters are those of its class. A node takes the smallest that is enough.
const SIZES = [1, 2, 4, 8, 16, 32, 64];

const clock: () => number =
    typeof performance === "object" && typeof performance.now === "function"
        ? () => performance.now()
        : () => Date.now();

function start(module: Uint8Array<ArrayBuffer>): EngineExports {
    const instance = new WebAssembly.Instance(new WebAssembly.Module(module), {});
    const calls = instance.exports as EngineExports;
    calls._initialize();
    return calls;
}

function headOf(calls: EngineExports, bytes: Uint8Array | null): number {
    if (bytes === null) return calls.earshot_web_builtin_head();
    const copy = calls.earshot_web_allocate(bytes.length) >>> 0;
    if (copy === 0) return 0;
    new Uint8Array(calls.memory.buffer, copy, bytes.length).set(bytes);
    return calls.earshot_web_open_head(copy, bytes.length);
}

function isSilent(samples: Float32Array): boolean {
    for (let i = 0; i < samples.length; ++i) if (samples[i] !== 0) return false;
    return true;
}

class EarshotProcessor extends AudioWorkletProcessor {
    readonly #calls: EngineExports;
    readonly #live: number;
    readonly #azimuths: string[] = [];
    readonly #elevations: string[] = [];
    readonly #gains: string[] = [];

    // Views of the module's memory for blocks of one length: rendering does not grow it.
    #memory: ArrayBuffer | null = null;
    #length = 0;
    #inputs: Float32Array[] = [];
    #left = new Float32Array(0);
    #right = new Float32Array(0);
    #places = new Float32Array(0);
    #silent = new Int32Array(0);

    #next = -1; // the frame that the next call begins with
    #quanta = 0;
    #missed = 0;
    #late = 0;
    #longest = 0;
    #destroyed = false;

    constructor(options: { processorOptions: ProcessorOptions }) {
        super();
        const { module, head, sources } = options.processorOptions;
        this.#calls = start(module);
        this.#live = this.#calls.earshot_live_create(sources, headOf(this.#calls, head));
        if (this.#live === 0) throw new Error("no memory for the renderer");
        for (let k = 0; k < sources; ++k) {
            this.#azimuths.push(`azimuth${k}`);
            this.#elevations.push(`elevation${k}`);
            this.#gains.push(`gain${k}`);
        }
        this.port.onmessage = ({ data }) => {
            if (data === "statistics") this.port.postMessage(this.#statistics());
            if (data === "destroy") this.#destroyed = true;
        };
    }

    process(
        inputs: Float32Array[][],
        outputs: Float32Array[][],
        parameters: Record<string, Float32Array>,
    ): boolean {
        if (this.#destroyed) return false;
        const begun = clock();
        const ears = outputs[0];
        const length = ears[0].length;
        if (this.#memory !== this.#calls.memory.buffer || this.#length !== length)
            this.#makeViews(length);
        this.#readPlaces(parameters);
        for (let k = 0; k < this.#inputs.length; ++k) this.#readInput(k, inputs[k]);
        this.#calls.earshot_live_process(this.#live, length);
        ears[0].set(this.#left);
        ears[1].set(this.#right);
        this.#count(clock() - begun, length);
        return true;
    }

    #makeViews(length: number): void {
        const calls = this.#calls;
        const buffer = calls.memory.buffer;
        const sources = this.#azimuths.length;
        const most = calls.earshot_live_block();
        if (length > most) throw new Error(`quanta of ${length} frames, more than ${most}`);
        const floats = (pointer: number, count: number): Float32Array<ArrayBuffer> =>
            new Float32Array(buffer, pointer >>> 0, count);
        const output = calls.earshot_live_output(this.#live);
        this.#inputs = this.#azimuths.map((_, k) =>
            floats(calls.earshot_live_input(this.#live, k), length),
        );
        this.#left = floats(output, length);
        this.#right = floats(output + 4 * most, length);
        this.#places = floats(calls.earshot_live_places(this.#live), 3 * sources);
        this.#silent = new Int32Array(
            buffer,
            calls.earshot_live_silent(this.#live) >>> 0,
            Math.ceil(sources / 32),
        );
        this.#memory = buffer;
        this.#length = length;
    }

    #readPlaces(parameters: Record<string, Float32Array>): void {
        const places = this.#places;
        for (let k = 0; k < this.#inputs.length; ++k) {
            places[3 * k] = parameters[this.#azimuths[k]][0];
            places[3 * k + 1] = parameters[this.#elevations[k]][0];
            places[3 * k + 2] = parameters[this.#gains[k]][0];
        }
    }

    #readInput(source: number, channels: Float32Array[]): void {
        const into = this.#inputs[source];
        const bit = 1 << (source & 31);
        const first = channels[0];
        const second = channels[1];
        if (first !== undefined && second !== undefined)
            for (let i = 0; i < into.length; ++i) into[i] = (first[i] + second[i]) / 2;
        else if (first !== undefined) into.set(first);
        if (first === undefined || isSilent(into)) this.#silent[source >> 5] |= bit;
        else this.#silent[source >> 5] &= ~bit;
    }

    #count(took: number, length: number): void {
        if (this.#next >= 0) this.#missed += (currentFrame - this.#next) / length;
        this.#next = currentFrame + length;
        ++this.#quanta;
        if (took > (1000 * length) / sampleRate) ++this.#late;
        if (took > this.#longest) this.#longest = took;
    }

    #statistics(): Statistics {
        return {
            quanta: this.#quanta,
            missed: this.#missed,
            late: this.#late,
            longest: this.#longest,
            clipped: this.#calls.earshot_live_clipped(this.#live),
        };
    }
}

const k = "k-rate" as const;

for (const size of SIZES) {
    const descriptors = Array.from({ length: size }, (_, source) => [
        { name: `azimuth${source}`, defaultValue: 0, automationRate: k },
        {
            name: `elevation${source}`,
            defaultValue: 0,
            minValue: -90,
            maxValue: 90,
            automationRate: k,
        },
        { name: `gain${source}`, defaultValue: 1, minValue: 0, maxValue: 16, automationRate: k },
    ]).flat();
    registerProcessor(
        `earshot-${size}`,
        class extends EarshotProcessor {
            static readonly parameterDescriptors = descriptors;
        },
    );
}
