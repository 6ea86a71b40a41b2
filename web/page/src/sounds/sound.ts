// A sound of the page: mono at 48 kHz, Q31 words of 24 significant bits, so that what is heard, what
// is exported as 24-bit WAV and what the tool reads are the same numbers.

export const RATE = 48000;

export interface Sound {
    readonly samples: Int32Array;
    /** The largest magnitude in each of PEAKS parts of the sound, 0 to 1. */
    readonly peaks: Float32Array;
}

export const PEAKS = 600;

const FULL = 0x800000;

function to24(value: number): number {
    const rounded = Math.round(value);
    return Math.min(FULL - 1, Math.max(-FULL, rounded)) * 256;
}

/** Full scale at 1. */
export function fromFloats(values: ArrayLike<number>, gain = 1): Int32Array {
    const words = new Int32Array(values.length);
    for (let k = 0; k < words.length; ++k) words[k] = to24(values[k]! * gain * FULL);
    return words;
}

/** The mean of channels: what has several becomes one sound at one place. */
export function mixed(channels: readonly Int32Array[]): Int32Array {
    if (channels.length === 1) return channels[0]!;
    const words = new Int32Array(channels[0]!.length);
    for (let k = 0; k < words.length; ++k) {
        let sum = 0;
        for (const channel of channels) sum += channel[k]!;
        words[k] = to24(sum / (channels.length * 256));
    }
    return words;
}

export function makeSound(samples: Int32Array): Sound {
    const peaks = new Float32Array(PEAKS);
    for (let part = 0; part < PEAKS; ++part) {
        const end = Math.floor(((part + 1) * samples.length) / PEAKS);
        let peak = 0;
        for (let k = Math.floor((part * samples.length) / PEAKS); k < end; ++k) {
            peak = Math.max(peak, Math.abs(samples[k]!));
        }
        peaks[part] = peak / 0x80000000;
    }
    return { samples, peaks };
}

export function toFloats(samples: Int32Array): Float32Array<ArrayBuffer> {
    const floats = new Float32Array(samples.length);
    for (let k = 0; k < floats.length; ++k) floats[k] = samples[k]! / 0x80000000;
    return floats;
}

export const seconds = (sound: Sound) => sound.samples.length / RATE;
