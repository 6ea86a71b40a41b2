// Ways through space and turns of the head: rows in the order of their times. Between rows a way is
// straight; before the first and after the last things stand still.

import { type Point, RADIANS, wrap } from "./geometry";

export interface Keyframe extends Point {
    readonly time: number;
}
export type Track = readonly Keyframe[];

export interface Turn {
    readonly yaw: number;
    readonly pitch: number;
    readonly roll: number;
}
export interface TurnRow extends Turn {
    readonly time: number;
}

/** Times are kept to a tenth of a millisecond, lengths to a millimetre, angles to a hundredth. */
export const roundTime = (time: number) => Math.round(time * 1e4) / 1e4 + 0; // no -0
export const roundLength = (metres: number) => Math.round(metres * 1e3) / 1e3 + 0;
export const roundAngle = (angle: number) => Math.round(angle * 1e2) / 1e2 + 0;

export function roundPoint<T extends Point>(p: T): T {
    return { ...p, x: roundLength(p.x), y: roundLength(p.y), z: roundLength(p.z) };
}

/** The last row that is not after a time, or -1. */
function rowBefore(rows: readonly { readonly time: number }[], time: number): number {
    let low = 0;
    let high = rows.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (rows[middle]!.time <= time) low = middle + 1;
        else high = middle;
    }
    return low - 1;
}

function between(a: Keyframe, b: Keyframe, time: number): Point {
    const part = (time - a.time) / (b.time - a.time);
    return {
        x: a.x + part * (b.x - a.x),
        y: a.y + part * (b.y - a.y),
        z: a.z + part * (b.z - a.z),
    };
}

/** Where a track, which has rows, is at a time. */
export function placeAt(track: Track, time: number): Point {
    const k = rowBefore(track, time);
    const here = track[Math.max(k, 0)]!;
    const next = track[k + 1];
    return k < 0 || !next ? here : between(here, next, time);
}

/** How the head is turned at a time; angles go the shorter way round. */
export function turnAt(rows: readonly TurnRow[], time: number): Turn {
    const k = rowBefore(rows, time);
    const here = rows[Math.max(k, 0)]!;
    const next = rows[k + 1];
    if (k < 0 || !next) return here;
    const part = (time - here.time) / (next.time - here.time);
    const angle = (from: number, to: number) => wrap(from + part * wrap(to - from));
    return {
        yaw: angle(here.yaw, next.yaw),
        pitch: angle(here.pitch, next.pitch),
        roll: angle(here.roll, next.roll),
    };
}

/** With a row at a time, in place of one that is there already. */
export function withKeyframe(track: Track, time: number, place: Point): Track {
    const row: Keyframe = roundPoint({
        time: roundTime(Math.max(time, 0)),
        x: place.x,
        y: place.y,
        z: place.z,
    });
    return [...track.filter((k) => k.time !== row.time), row].sort((a, b) => a.time - b.time);
}

export function withoutKeyframe(track: Track, index: number): Track {
    return track.filter((_, k) => k !== index);
}

/** With a row at another time, up to just before and after its neighbours. */
export function withKeyframeAt(track: Track, index: number, time: number, duration: number): Track {
    const apart = 0.01;
    const low = index > 0 ? track[index - 1]!.time + apart : 0;
    const high = index + 1 < track.length ? track[index + 1]!.time - apart : duration;
    if (high < low) return track;
    const at = roundTime(Math.min(high, Math.max(low, time)));
    return track.map((row, k) => (k === index ? { ...row, time: at } : row));
}

/** With a recorded part in place of what was there at its times. */
export function withPart(track: Track, part: Track): Track {
    const first = part[0];
    const last = part[part.length - 1];
    if (!first || !last) return track;
    return [
        ...track.filter((k) => k.time < first.time),
        ...part,
        ...track.filter((k) => k.time > last.time),
    ];
}

const NEAR = 0.01; // metres
const ALIKE = 1 / 3; // degrees

/**
 * Few rows that stay within a centimetre of every sample at its time, or, farther away, within what a
 * third of a degree is there. Rows are rounded; what rounding adds is within the bound.
 */
export function thin(samples: Track): Track {
    const raw = samples.filter(
        (s, k) => k === 0 || roundTime(s.time) > roundTime(samples[k - 1]!.time),
    );
    const rows = raw.map((s) => roundPoint({ ...s, time: roundTime(s.time) }));
    const kept = new Uint8Array(rows.length);
    const parts: [number, number][] = [[0, rows.length - 1]];
    if (rows.length > 0) kept[0] = kept[rows.length - 1] = 1;
    while (parts.length > 0) {
        const [from, to] = parts.pop()!;
        let worst = 1;
        let split = -1;
        for (let k = from + 1; k < to; ++k) {
            const off = distanceInBounds(between(rows[from]!, rows[to]!, raw[k]!.time), raw[k]!);
            if (off > worst) {
                worst = off;
                split = k;
            }
        }
        if (split < 0) continue;
        kept[split] = 1;
        parts.push([from, split], [split, to]);
    }
    return rows.filter((_, k) => kept[k] === 1);
}

/** How far apart two places are: up to 1, nobody hears it. */
function distanceInBounds(a: Point, b: Point): number {
    const metres = Math.hypot(a.x - b.x, a.y - b.y, a.z - b.z);
    return metres / Math.max(NEAR, ALIKE * RADIANS * Math.hypot(b.x, b.y, b.z));
}
