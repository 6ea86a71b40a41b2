// WAV files, as the tool writes them.

import { EarshotError } from "./errors.js";

/** Bits of a sample in a file. */
export type SampleBits = 16 | 24 | 32;

const RATE = 48000;
const PLAIN = 1;
const EXTENSIBLE = 0xfffe;
// From here on the tool makes an RF64 file, whose lengths have 64 bits.
const LONGEST = 0xffff0000 - 0x10000;

/** @throws EarshotError if files have no such samples. */
export function checkBits(bits: number): void {
    if (![16, 24, 32].includes(bits)) throw new EarshotError(`bits: ${bits} is not 16, 24 or 32`);
}

/**
 * The bytes of a file with its header in place and its samples still 0, and where these begin.
 * @throws EarshotError if it would be too long.
 */
export function emptyWav(
    frames: number,
    channels: number,
    bits: SampleBits,
): { wav: Uint8Array<ArrayBuffer>; samples: Uint8Array<ArrayBuffer> } {
    const frameBytes = (channels * bits) / 8;
    const size = frames * frameBytes;
    if (size > LONGEST)
        throw new EarshotError(`${frames} frames: more than a WAV file of 4 GiB has room for`);
    // More channels want a header that says that they belong to no loudspeakers.
    const formatBytes = channels > 2 ? 40 : 16;
    const begin = 12 + 8 + formatBytes + 8;
    const wav = roomFor(begin + size + (size & 1));
    const view = new DataView(wav.buffer);
    const text = (at: number, letters: string): void => {
        for (let i = 0; i < letters.length; ++i) wav[at + i] = letters.charCodeAt(i);
    };
    text(0, "RIFF");
    view.setUint32(4, wav.length - 8, true);
    text(8, "WAVEfmt ");
    view.setUint32(16, formatBytes, true);
    view.setUint16(20, channels > 2 ? EXTENSIBLE : PLAIN, true);
    view.setUint16(22, channels, true);
    view.setUint32(24, RATE, true);
    view.setUint32(28, RATE * frameBytes, true);
    view.setUint16(32, frameBytes, true);
    view.setUint16(34, bits, true);
    if (channels > 2) {
        view.setUint16(36, 22, true); // bytes that follow
        view.setUint16(38, bits, true);
        view.setUint32(40, 0, true); // loudspeakers
        // The identity of PCM: 00000001-0000-0010-8000-00AA00389B71.
        wav.set([PLAIN, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71], 44);
    }
    text(begin - 8, "data");
    view.setUint32(begin - 4, size, true);
    return { wav, samples: wav.subarray(begin, begin + size) };
}

function roomFor(bytes: number): Uint8Array<ArrayBuffer> {
    try {
        return new Uint8Array(bytes);
    } catch {
        throw new EarshotError(`a WAV file of ${bytes} bytes: no memory for it`);
    }
}

/**
 * A sound as a PCM WAV file at 48 kHz. Samples are rounded to the file's bits without dither, and
 * clipped at full scale; 24 bits take words with zeros below those as they are.
 * @param channels Words in Q31, all of one length.
 * @param bits 24 unless given.
 * @throws EarshotError without channels, with such of several lengths, or beyond 4 GiB.
 */
export function encodeWav(
    channels: Int32Array[],
    bits: SampleBits = 24,
): Uint8Array<ArrayBuffer> {
    checkBits(bits);
    const frames = channels[0]?.length;
    if (frames === undefined || channels.length > 0xffff)
        throw new EarshotError(`channels: ${channels.length}`);
    channels.forEach((channel, k) => {
        if (channel.length !== frames)
            throw new EarshotError(`channel ${k}: ${channel.length} samples, not ${frames}`);
    });
    const { wav, samples } = emptyWav(frames, channels.length, bits);
    const dropped = 32 - bits;
    const half = dropped > 0 ? 2 ** (dropped - 1) : 0;
    const most = 2 ** (bits - 1) - 1;
    let at = 0;
    for (let i = 0; i < frames; ++i)
        for (const channel of channels) {
            const sample = Math.min(Math.floor((channel[i] + half) / 2 ** dropped), most);
            for (let shift = 0; shift < bits; shift += 8) samples[at++] = sample >> shift;
        }
    return wav;
}
