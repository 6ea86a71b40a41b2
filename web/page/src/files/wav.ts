// Reads WAV files of PCM at 48 kHz exactly, which browsers do not promise: what the page has written
// comes back as it was.

import { RATE } from "../sounds/sound";

const PCM = 1;
const FLOAT = 3;
const EXTENSIBLE = 0xfffe;

interface Format {
    readonly kind: number;
    readonly channels: number;
    readonly bits: number;
}

/** 24 significant bits of what is of 16, 24 or 32, whole or floating. */
function reader(view: DataView, { kind, bits }: Format): ((at: number) => number) | null {
    const round = (x: number) => Math.min(0x7fffff, Math.max(-0x800000, Math.round(x))) * 256;
    if (kind === PCM && bits === 16) return (at) => view.getInt16(at, true) << 16;
    if (kind === PCM && bits === 24)
        return (at) => (view.getUint16(at, true) << 8) | (view.getInt8(at + 2) << 24);
    if (kind === PCM && bits === 32) return (at) => round(view.getInt32(at, true) / 256);
    if (kind === FLOAT && bits === 32)
        return (at) => round((view.getFloat32(at, true) || 0) * 0x800000);
    return null;
}

/** A sound's channels; null for what is no such file, or of another rate. */
export function readWav(bytes: Uint8Array): Int32Array[] | null {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const name = (at: number) => String.fromCharCode(...bytes.subarray(at, at + 4));
    if (bytes.length < 44 || name(0) !== "RIFF" || name(8) !== "WAVE") return null;
    let format: Format | null = null;
    for (let at = 12; at + 8 <= bytes.length;) {
        const size = view.getUint32(at + 4, true);
        const body = at + 8;
        if (name(at) === "fmt " && size >= 16 && body + size <= bytes.length) {
            if (view.getUint32(body + 4, true) !== RATE) return null;
            const given = view.getUint16(body, true);
            const kind =
                given === EXTENSIBLE && size >= 26 ? view.getUint16(body + 24, true) : given;
            format = {
                kind,
                channels: view.getUint16(body + 2, true),
                bits: view.getUint16(body + 14, true),
            };
        }
        if (name(at) === "data") {
            return format && samples(view, format, body, Math.min(size, bytes.length - body));
        }
        at = body + size + (size % 2);
    }
    return null;
}

function samples(view: DataView, format: Format, from: number, size: number): Int32Array[] | null {
    const read = reader(view, format);
    const { channels, bits } = format;
    if (!read || channels === 0) return null;
    const width = bits / 8;
    const frames = Math.floor(size / (channels * width));
    return Array.from({ length: channels }, (_, channel) => {
        const words = new Int32Array(frames);
        for (let k = 0; k < frames; ++k) words[k] = read(from + (k * channels + channel) * width);
        return words;
    });
}
