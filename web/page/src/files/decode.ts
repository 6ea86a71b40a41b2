// Sound files as the page's sounds.

import { fromFloats, mixed, RATE } from "../sounds/sound";
import { readWav } from "./wav";

const LONGEST = 20 * 60 * RATE; // a sound of the page is held in memory, twice

/** The channels of a file at 48 kHz, by the browser's decoders and, where it has another rate, its resampler. */
async function decode(bytes: Uint8Array): Promise<Int32Array[]> {
    const exact = readWav(bytes);
    if (exact) return exact;
    const context = new OfflineAudioContext(1, 1, RATE);
    const copy = bytes.slice().buffer; // decoding takes it away
    const decoded = await context.decodeAudioData(copy).catch(() => {
        throw new Error("this browser cannot read it as sound");
    });
    return Array.from({ length: decoded.numberOfChannels }, (_, channel) =>
        fromFloats(decoded.getChannelData(channel)),
    );
}

/** One sound: a channel, counted from 1, or the mean of all. Tells how many there were. */
export async function readSound(
    bytes: Uint8Array,
    channel = 0,
): Promise<{ samples: Int32Array; channels: number }> {
    const channels = await decode(bytes);
    const chosen = channel > 0 ? channels.slice(channel - 1, channel) : channels;
    if (chosen.length === 0) throw new Error(`it has no channel ${channel}`);
    if (chosen[0]!.length === 0) throw new Error("it is empty");
    if (chosen[0]!.length > LONGEST)
        throw new Error("it is longer than 20 minutes, the most that the page takes");
    return { samples: mixed(chosen), channels: channels.length };
}
