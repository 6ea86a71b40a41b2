// Little synthesizers. Nothing but sums and products, which every browser rounds alike: the sounds
// are the same everywhere. They write onto a loop: what rings past its end rings on at its beginning.

import { RATE } from "./sound";

const SEMITONES = [
    1, 1.0594630943592953, 1.122462048309373, 1.189207115002721, 1.2599210498948732,
    1.3348398541700344, 1.4142135623730951, 1.4983070768766815, 1.5874010519681994,
    1.681792830507429, 1.7817974362806785, 1.8877486253633868,
];

/** The frequency of a note: 69 is the A of 440 Hz. */
export function frequency(note: number): number {
    const octave = Math.floor((note - 69) / 12);
    const semitone = SEMITONES[note - 69 - 12 * octave] ?? 1;
    return octave >= 0 ? 440 * semitone * (1 << octave) : (440 * semitone) / (1 << -octave);
}

/** The sine of a part of a turn, of which whole ones do not count. */
export function sine(turns: number): number {
    let part = turns - Math.floor(turns + 0.5);
    if (part > 0.25) part = 0.5 - part;
    if (part < -0.25) part = -0.5 - part;
    const x = part * 6.283185307179586;
    const s = x * x;
    return x * (1 - (s / 6) * (1 - (s / 20) * (1 - (s / 42) * (1 - (s / 72) * (1 - s / 110)))));
}

/** Noise between -1 and 1, the same for the same seed. */
export function noise(seed: number): () => number {
    let state = seed;
    return () => {
        state ^= state << 13;
        state ^= state >>> 17;
        state ^= state << 5;
        return state / 0x80000000;
    };
}

/** How much is left after each sample of what fades by 8.7 dB in so many seconds. */
const fading = (time: number) => 1 - 1 / (time * RATE);

/** One pole: passes what is below a frequency. */
export function lowpass(cutoff: number): (x: number) => number {
    const part = Math.min(1, (6.283185307179586 * cutoff) / RATE);
    let y = 0;
    return (x) => (y += part * (x - y));
}

/** Two poles: rings at a frequency, about as loud as what comes in. */
export function resonance(centre: number, width: number): (x: number) => number {
    const radius = 1 - (3.141592653589793 * width) / RATE;
    const a = 2 * radius * sine(0.25 + centre / RATE);
    const b = -radius * radius;
    const gain = 1 - radius;
    let y1 = 0;
    let y2 = 0;
    return (x) => {
        const y = gain * x + a * y1 + b * y2;
        y2 = y1;
        y1 = y;
        return y;
    };
}

export class Loop {
    readonly samples: Float64Array;

    constructor(readonly duration: number) {
        this.samples = new Float64Array(Math.round(duration * RATE));
    }

    /** Where a time is. */
    index(time: number): number {
        return Math.round(time * RATE) % this.samples.length;
    }

    /** Adds what a generator makes for so long, from a time on. */
    add(time: number, length: number, next: (k: number) => number): void {
        const { samples } = this;
        const count = Math.round(length * RATE);
        let at = this.index(time);
        for (let k = 0; k < count; ++k) {
            samples[at]! += next(k);
            if (++at === samples.length) at = 0;
        }
    }

    /** With its peak there, full scale at 1. */
    scaled(peak: number): Float64Array {
        let most = 0;
        for (const sample of this.samples) most = Math.max(most, Math.abs(sample));
        return most > 0 ? this.samples.map((sample) => (sample * peak) / most) : this.samples;
    }
}

// The two that are played most have their loops in line: captured variables are half as fast.

/** A plucked string: a delay of one period, fed with noise, that loses its treble as it goes round. */
export function pluck(
    loop: Loop,
    time: number,
    note: number,
    level: number,
    brightness = 0.5,
): void {
    const period = RATE / frequency(note) - 0.5;
    const length = Math.floor(period - 0.2);
    const delay = period - length;
    const allpass = (1 - delay) / (1 + delay);
    const random = noise(note * 7919 + 17);
    const soften = lowpass(1200 + 9000 * brightness);
    const string = new Float64Array(length);
    for (let k = 0; k < length; ++k) string[k] = soften(random());
    const comb = Math.floor(length / 5); // plucked at a fifth of its length
    const excitation = string.map((x, k) => x - string[(k + length - comb) % length]!);
    const loss = 1 - 0.9 / frequency(note);
    let before = 0;
    let tuned = 0;
    let tunedFrom = 0;
    let along = 0;
    const { samples } = loop;
    let at = loop.index(time);
    const count = Math.round(3.2 * RATE);
    for (let k = 0; k < count; ++k) {
        const x = excitation[along]!;
        const averaged = loss * 0.5 * (x + before);
        before = x;
        tuned = allpass * (averaged - tuned) + tunedFrom;
        tunedFrom = averaged;
        excitation[along] = tuned;
        if (++along === length) along = 0;
        samples[at]! += level * x * (k < 60 ? k / 60 : 1);
        if (++at === samples.length) at = 0;
    }
}

export interface Mode {
    readonly ratio: number;
    readonly level: number;
    readonly ring: number; // seconds
}

export const MARIMBA: readonly Mode[] = [
    { ratio: 1, level: 1, ring: 0.32 },
    { ratio: 3.93, level: 0.35, ring: 0.09 },
    { ratio: 9.2, level: 0.12, ring: 0.03 },
];
export const BELL: readonly Mode[] = [
    { ratio: 0.5, level: 0.16, ring: 0.9 },
    { ratio: 1, level: 1, ring: 0.8 },
    { ratio: 2.01, level: 0.4, ring: 0.5 },
    { ratio: 3.01, level: 0.25, ring: 0.3 },
    { ratio: 5.43, level: 0.16, ring: 0.14 },
    { ratio: 8.1, level: 0.08, ring: 0.07 },
];

/** A bar, a tube or a bell that is struck: a few tones, each of which fades in its own time. */
export function strike(
    loop: Loop,
    time: number,
    note: number,
    level: number,
    modes: readonly Mode[],
): void {
    for (const mode of modes) {
        const turn = (frequency(note) * mode.ratio) / RATE;
        if (turn > 0.4) continue;
        const left = fading(mode.ring);
        const re = left * sine(0.25 + turn);
        const im = left * sine(turn);
        let x = mode.level * level;
        let y = 0;
        const { samples } = loop;
        let at = loop.index(time);
        for (let k = Math.round(5 * mode.ring * RATE); k > 0; --k) {
            const next = x * re - y * im;
            y = x * im + y * re;
            x = next;
            samples[at]! += y;
            if (++at === samples.length) at = 0;
        }
    }
}

/** A burst of noise around a frequency. */
export function burst(
    loop: Loop,
    time: number,
    given: {
        centre: number;
        width: number;
        level: number;
        attack: number;
        decay: number;
        seed: number;
    },
): void {
    const random = noise(given.seed);
    const filter = resonance(given.centre, given.width);
    const left = fading(given.decay);
    const attack = given.attack * RATE;
    let level = given.level;
    loop.add(time, given.attack + 6 * given.decay, (k) => {
        if (k >= attack) level *= left;
        return level * Math.min(1, (k + 1) / (attack + 1)) * filter(random());
    });
}

/** A skin or a floor that is hit: a low tone that falls. */
export function thump(
    loop: Loop,
    time: number,
    from: number,
    to: number,
    level: number,
    ring: number,
): void {
    const left = fading(ring);
    const falling = fading(ring / 3);
    let above = from - to;
    let turn = 0;
    let loud = level;
    loop.add(time, 6 * ring, (k) => {
        turn += (to + above) / RATE;
        above *= falling;
        loud *= left;
        return loud * Math.min(1, k / 24) * sine(turn);
    });
}

/** Endless noise: the filter has gone round once before what is kept, so that the loop has no seam. */
export function wash(loop: Loop, seed: number, level: number, filter: (x: number) => number): void {
    const random = noise(seed);
    const raw = loop.samples.map(() => random());
    for (const x of raw) filter(x);
    raw.forEach((x, k) => (loop.samples[k]! += level * filter(x)));
}
