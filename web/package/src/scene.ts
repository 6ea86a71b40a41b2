import { sha256 } from "@noble/hashes/sha256";

import type { Engine } from "./engine.js";
import { EarshotError } from "./errors.js";
import { type Head, type LoadedHead, loadedHead } from "./heads.js";
import { checkBits, emptyWav, type SampleBits } from "./wav.js";

/** A source of a scene, and the sound that it plays. */
export interface SceneSource {
    /** The sound's file, as the scene names it. */
    file: string;
    /** Channel of the sound, counted from 1; 0: its only one. */
    channel: number;
    /** Entry of the scene's list of sources, counted from 0: with a layout it has several. */
    entry: number;
}

/** How the listener hears a source. */
export interface Heard {
    /** Degrees, -180 to 180, counter-clockwise: 90 is the left ear. */
    azimuth: number;
    /** Degrees upwards, -90 to 90. */
    elevation: number;
    /** Metres; -1: the source has a direction and no place. */
    distance: number;
    /** A factor, with the roll-off over distance in it. */
    gain: number;
}

/** How a scene is rendered. */
export interface RenderOptions {
    /** Whose ears; the built-in head unless given. */
    head?: Head;
    /** Bits of a sample in the file; 24 unless given. */
    bits?: SampleBits;
    /** Whether rounding to 16 or 24 bits is dithered, as the tool does; true unless given. */
    dither?: boolean;
    /** Called now and then, and at the end. */
    onProgress?: (done: number, frames: number) => void;
    /** Ends the rendering, which then fails with the signal's reason. */
    signal?: AbortSignal;
}

/** A scene as it sounds. */
export interface RenderedWav {
    /** A WAV file, byte for byte that of `earshot render`. */
    wav: Uint8Array<ArrayBuffer>;
    /** SHA-256 of its samples, which `earshot render --digest` prints. */
    digest: string;
    /** How long it is, at 48 kHz. */
    frames: number;
    /** Samples that were clipped at full scale. */
    clipped: number;
    /** The loudest sample; full scale is 1. */
    peak: number;
}

/** A scene: sounds at places or on their ways, and a listener who may walk and turn. */
export class Scene {
    /** Every one, in the order in which `heard` and `render` have them. */
    readonly sources: readonly SceneSource[];
    /** Seconds; -1: as long as its sounds. */
    readonly duration: number;
    readonly #engine: Engine;
    readonly #builtin: LoadedHead;
    readonly #text: Uint8Array;
    #pointer: number;

    private constructor(engine: Engine, builtin: LoadedHead, text: string) {
        this.#engine = engine;
        this.#builtin = builtin;
        this.#text = new TextEncoder().encode(text);
        this.#pointer = parse(engine, this.#text);
        const calls = engine.exports;
        const pointer = this.#pointer;
        this.duration = calls.earshot_web_scene_duration(pointer);
        this.sources = Array.from({ length: calls.earshot_web_scene_sources(pointer) }, (_, k) => ({
            file: engine.textAt(calls.earshot_web_scene_file(pointer, k)),
            channel: calls.earshot_web_scene_channel(pointer, k),
            entry: calls.earshot_web_scene_entry(pointer, k),
        }));
    }

    /** @internal */
    static of(engine: Engine, builtin: LoadedHead, text: string): Scene {
        return new Scene(engine, builtin, text);
    }

    /**
     * Where the sources are for the listener, turns of the head included.
     * @param time Seconds from the beginning.
     */
    heard(time: number): Heard[] {
        if (!Number.isFinite(time)) throw new EarshotError(`time: ${time} is no number of seconds`);
        const pointer = this.#engine.exports.earshot_web_scene_heard(this.#alive(), time);
        const numbers = this.#engine.floatsAt(pointer, 4 * this.sources.length);
        return this.sources.map((_, k) => ({
            azimuth: numbers[4 * k],
            elevation: numbers[4 * k + 1],
            distance: numbers[4 * k + 2],
            gain: numbers[4 * k + 3],
        }));
    }

    /**
     * Renders the scene for two ears. Other work of the thread gets its turn about every 15 ms;
     * several renderings may go on at once, also of one scene, which may be freed meanwhile.
     * @param sounds One per source, words in Q31 at 48 kHz; the same array for several sources
     * takes its memory once. They must not be changed before it is done.
     * @throws EarshotError if they do not fit the scene, memory or a WAV file are too small, or
     * there is no sound to say when a scene without duration ends.
     */
    async render(sounds: Int32Array[], options: RenderOptions = {}): Promise<RenderedWav> {
        this.#alive();
        if (sounds.length !== this.sources.length)
            throw new EarshotError(`sounds: ${sounds.length} instead of ${this.sources.length}`);
        const wrong = sounds.findIndex((sound) => !(sound instanceof Int32Array));
        if (wrong >= 0) throw new EarshotError(`sound ${wrong}: no Int32Array`);
        checkBits(options.bits ?? 24);
        const head = options.head ? loadedHead(options.head) : this.#builtin;
        return render(this.#engine, this.#text, sounds, head, options);
    }

    /** Gives its memory back. It cannot be used afterwards. */
    free(): void {
        this.#engine.exports.earshot_web_scene_free(this.#pointer);
        this.#pointer = 0;
    }

    #alive(): number {
        if (this.#pointer === 0) throw new EarshotError("scene: it has been freed");
        return this.#pointer;
    }
}

function parse(engine: Engine, text: Uint8Array): number {
    const copy = engine.copyOf(text);
    const pointer = engine.exports.earshot_web_scene_parse(copy, text.length);
    engine.free(copy);
    return engine.checked(pointer);
}

// Frames between two looks at the clock, and milliseconds between two pauses.
const CHUNK = 960;
const PATIENCE = 15;

// In memory of its own: the scene is read anew.
async function render(
    engine: Engine,
    text: Uint8Array,
    sounds: Int32Array[],
    head: LoadedHead,
    options: RenderOptions,
): Promise<RenderedWav> {
    const { bits = 24, dither = true, signal, onProgress } = options;
    const calls = engine.exports;
    const undo: (() => void)[] = [];
    const kept = (pointer: number, give: (pointer: number) => void): number => {
        undo.push(() => give(pointer));
        return pointer;
    };
    try {
        signal?.throwIfAborted();
        const headPointer = kept(head.use(engine), () => head.release());
        const free = (pointer: number): void => engine.free(pointer);
        const samples = kept(engine.allocate(CHUNK * 2 * 4), free);
        const packed = kept(engine.allocate(CHUNK * 2 * 4), free);
        const copies = new Map<Int32Array, number>();
        for (const sound of sounds)
            if (!copies.has(sound)) copies.set(sound, kept(engine.copyOf(sound), free));
        const scene = kept(parse(engine, text), calls.earshot_web_scene_free);
        const output = kept(
            engine.checked(calls.earshot_web_output_create(bits, dither ? 1 : 0)),
            calls.earshot_web_output_destroy,
        );
        sounds.forEach((sound, source) => {
            calls.earshot_web_scene_play(scene, source, copies.get(sound)!, sound.length, 1);
        });
        engine.checked(calls.earshot_web_scene_open(scene, headPointer));

        const frames = calls.earshot_web_scene_frames(scene);
        const { wav, samples: bytes } = emptyWav(frames, 2, bits);
        const digest = sha256.create();
        const pause = pauses(undo);
        const inside = new Clipping(bits, dither);
        let done = 0;
        let resumed = performance.now();
        while (done < frames) {
            const count = calls.earshot_web_scene_read(scene, samples, CHUNK);
            if (count < 0) throw engine.error();
            if (count === 0) throw new EarshotError(`frame ${done} of ${frames}: nothing is left`);
            inside.clip(engine.wordsAt(samples, 2 * count));
            calls.earshot_web_output_narrow(output, samples, 2 * count);
            calls.earshot_web_output_pack(output, samples, 2 * count, packed);
            digest.update(engine.bytesAt(samples, 8 * count));
            bytes.set(engine.bytesAt(packed, (count * 2 * bits) / 8), (done * 2 * bits) / 8);
            done += count;
            if (done < frames && performance.now() - resumed < PATIENCE) continue;
            onProgress?.(done, frames);
            if (done < frames) await pause();
            signal?.throwIfAborted();
            resumed = performance.now();
        }
        return {
            wav,
            digest: hexadecimal(digest.digest()),
            frames,
            clipped:
                calls.earshot_web_scene_clipped(scene) +
                inside.clipped +
                calls.earshot_web_output_clipped(output),
            peak: inside.peak / 2 ** 31,
        };
    } finally {
        for (const step of undo.reverse()) step();
    }
}

const LOWEST = -(2 ** 31);
const HIGHEST = 2 ** 31 - 1;

/**
 * Keeps samples where neither rounding nor dither, which adds less than a step of the file, takes
 * them beyond full scale, as the tool does. Those at full scale have been counted by the scene.
 */
class Clipping {
    clipped = 0;
    peak = 0;
    readonly #low: number;
    readonly #high: number;

    constructor(bits: SampleBits, dither: boolean) {
        const step = 2 ** (32 - bits);
        const dithered = dither && bits < 32 ? step : 0;
        this.#low = LOWEST + dithered;
        this.#high = 2 ** 31 - step - dithered;
    }

    clip(words: Int32Array): void {
        for (let i = 0; i < words.length; ++i) {
            const word = words[i];
            const kept = Math.min(Math.max(word, this.#low), this.#high);
            if (kept !== word && word > LOWEST && word < HIGHEST) ++this.clipped;
            words[i] = kept;
            this.peak = Math.max(this.peak, Math.abs(kept));
        }
    }
}

function hexadecimal(bytes: Uint8Array): string {
    return Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
}

/** Turns for the thread's other work; timers would wait longer, above all in a hidden page. */
function pauses(undo: (() => void)[]): () => Promise<void> {
    // Node takes all messages that are there before it looks at anything else.
    const { setImmediate } = globalThis as { setImmediate?: (resume: () => void) => void };
    if (setImmediate) return () => new Promise((resume) => setImmediate(resume));
    const { port1, port2 } = new MessageChannel();
    undo.push(() => port1.close());
    return () =>
        new Promise((resume) => {
            port1.onmessage = () => resume();
            port2.postMessage(null);
        });
}
