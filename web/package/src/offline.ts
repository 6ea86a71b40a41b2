import type { Engine } from "./engine.js";
import { checkRange, checkWhole, EarshotError } from "./errors.js";
import type { LoadedHead } from "./heads.js";

/** Samples: words in Q31, or floats whose full scale is 1. */
export type Samples = Int32Array | Float32Array;

/** Where a source is heard, and how loud. */
export interface Place {
    /** Degrees, counter-clockwise from the front: 90 is the left. Any number of turns. */
    azimuth: number;
    /** Degrees upwards, -90 to 90; 0 unless given. */
    elevation?: number;
    /** A factor, 0 to 16; 1 unless given. */
    gain?: number;
}

// Samples by which a sound is longer when it has been heard: a filter's taps but one.
const TAIL = 127;

/** Sounds of sources around a head, rendered block by block for two ears. */
export class OfflineRenderer {
    /** How many there are. */
    readonly sources: number;
    /** What comes out is so many samples late. */
    readonly latency: number;
    readonly #engine: Engine;
    readonly #head: LoadedHead;
    readonly #block: number;
    #live: number;

    private constructor(engine: Engine, sources: number, head: LoadedHead) {
        checkWhole("sources", sources, 1, 256);
        this.sources = sources;
        this.latency = engine.exports.earshot_live_latency();
        this.#engine = engine;
        this.#block = engine.exports.earshot_live_block();
        this.#head = head;
        const pointer = head.use(engine);
        this.#live = engine.exports.earshot_live_create(sources, pointer);
        if (this.#live === 0) {
            head.release();
            throw engine.error();
        }
    }

    /** @internal */
    static of(engine: Engine, sources: number, head: LoadedHead): OfflineRenderer {
        return new OfflineRenderer(engine, sources, head);
    }

    /** Samples clipped at full scale so far: of the input, by gains above 1, and of the ears. */
    get clipped(): number {
        return this.#engine.exports.earshot_live_clipped(this.#alive());
    }

    /**
     * Says where a source is heard from the next block on. It is there at once if that is the first
     * block; later it moves there within 128 samples, by the shorter way round, and its gain ramps.
     * Sources that were never placed are silent, at the front.
     * @throws EarshotError if there is no such source, or a number is out of its range.
     */
    place(source: number, { azimuth, elevation = 0, gain = 1 }: Place): void {
        checkWhole("source", source, 0, this.sources - 1);
        const of = `source ${source}: `;
        if (!Number.isFinite(azimuth))
            throw new EarshotError(`${of}azimuth: ${azimuth} is no number of degrees`);
        checkRange(`${of}elevation`, elevation, -90, 90);
        checkRange(`${of}gain`, gain, 0, 16);
        const places = this.#engine.exports.earshot_live_places(this.#alive());
        this.#engine.floatsAt(places, 3 * this.sources).set([azimuth, elevation, gain], 3 * source);
    }

    /**
     * The next block: as many frames come out as go in, left and right, `latency` samples late. It
     * may have any length; the samples are the same however they are cut into blocks.
     * @param blocks One per source, all of the same kind and length; null: silence.
     * @param length Needed where all are null.
     * @throws EarshotError if they are not.
     */
    process(blocks: null[], length: number): [Float32Array<ArrayBuffer>, Float32Array<ArrayBuffer>];
    process(
        blocks: (Int32Array | null)[],
        length?: number,
    ): [Int32Array<ArrayBuffer>, Int32Array<ArrayBuffer>];
    process(
        blocks: (Float32Array | null)[],
        length?: number,
    ): [Float32Array<ArrayBuffer>, Float32Array<ArrayBuffer>];
    process(blocks: (Samples | null)[], length?: number): [Samples, Samples] {
        const { words, frames } = this.#shapeOf(blocks, length);
        return this.#render(blocks, words, frames);
    }

    /**
     * What is left to be heard after the last block, as floats or as words in Q31: `latency` + 127
     * samples, during which the sources are silent. Without the first `latency` samples of the
     * whole it is what `earshot render` makes of sources that stand still.
     */
    flush(kind?: "float32"): [Float32Array<ArrayBuffer>, Float32Array<ArrayBuffer>];
    flush(kind: "int32"): [Int32Array<ArrayBuffer>, Int32Array<ArrayBuffer>];
    flush(kind: "float32" | "int32" = "float32"): [Samples, Samples] {
        const silence = new Array<null>(this.sources).fill(null);
        return this.#render(silence, kind === "int32", this.latency + TAIL);
    }

    /** Gives its memory back. It cannot be used afterwards. */
    free(): void {
        if (this.#live === 0) return;
        this.#engine.exports.earshot_live_destroy(this.#live);
        this.#live = 0;
        this.#head.release();
    }

    #alive(): number {
        if (this.#live === 0) throw new EarshotError("renderer: it has been freed");
        return this.#live;
    }

    #shapeOf(blocks: (Samples | null)[], length?: number): { words: boolean; frames: number } {
        if (blocks.length !== this.sources)
            throw new EarshotError(`blocks: ${blocks.length} instead of ${this.sources}`);
        const first = blocks.find((block) => block !== null);
        const frames = length ?? first?.length;
        if (frames === undefined)
            throw new EarshotError("length: it has to be given where all sources are silent");
        checkWhole("length", frames, 0, 0x7fffffff);
        const words = first instanceof Int32Array;
        blocks.forEach((block, source) => {
            if (block === null) return;
            if (!(block instanceof (words ? Int32Array : Float32Array)))
                throw new EarshotError(`block ${source}: not of the kind of the others`);
            if (block.length !== frames)
                throw new EarshotError(`block ${source}: ${block.length} samples, not ${frames}`);
        });
        return { words, frames };
    }

    #render(blocks: (Samples | null)[], words: boolean, frames: number): [Samples, Samples] {
        const kind = words ? Int32Array : Float32Array;
        const ears: [Samples, Samples] = [new kind(frames), new kind(frames)];
        this.#markSilence(blocks);
        for (let at = 0; at < frames; at += this.#block)
            this.#renderPart(blocks, words, ears, at, Math.min(frames - at, this.#block));
        return ears;
    }

    #markSilence(blocks: (Samples | null)[]): void {
        const silent = this.#engine.exports.earshot_live_silent(this.#alive());
        const flags = this.#engine.wordsAt(silent, Math.ceil(this.sources / 32)).fill(0);
        blocks.forEach((block, source) => {
            if (block === null) flags[source >> 5] |= 1 << (source & 31);
        });
    }

    #renderPart(
        blocks: (Samples | null)[],
        words: boolean,
        ears: [Samples, Samples],
        at: number,
        count: number,
    ): void {
        const live = this.#live;
        const engine = this.#engine;
        const calls = engine.exports;
        const input = words ? calls.earshot_live_input_words : calls.earshot_live_input;
        const output = words ? calls.earshot_live_output_words : calls.earshot_live_output;
        const samplesAt = (pointer: number, length: number): Samples =>
            words ? engine.wordsAt(pointer, length) : engine.floatsAt(pointer, length);
        blocks.forEach((block, source) => {
            if (block) samplesAt(input(live, source), count).set(block.subarray(at, at + count));
        });
        (words ? calls.earshot_live_process_words : calls.earshot_live_process)(live, count);
        const both = output(live);
        ears.forEach((ear, side) => {
            ear.set(samplesAt(both + 4 * side * this.#block, count), at);
        });
    }
}
