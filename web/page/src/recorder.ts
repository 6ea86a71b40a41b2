// Writes a drag down while the scene plays: where something is at which time.

import type { Point } from "./model/geometry";
import type { Keyframe, Track } from "./model/track";

/** What has not moved for so long has stood still, and did not creep to where it went next. */
const STILL = 0.1; // seconds
const SUDDEN = 0.02;

export class Recorder {
    #samples: Keyframe[] = [];

    get empty(): boolean {
        return this.#samples.length === 0;
    }

    /** Whether a time is before what has been recorded: the scene has begun anew. */
    isBefore(time: number): boolean {
        const last = this.#samples.at(-1);
        return last !== undefined && time < last.time;
    }

    /** It has been moved to a place. */
    add(time: number, { x, y, z }: Point): void {
        const last = this.#samples.at(-1);
        if (last && time - last.time > STILL) this.#samples.push({ ...last, time: time - SUDDEN });
        if (!last || time > last.time) this.#samples.push({ time, x, y, z });
        else this.#samples[this.#samples.length - 1] = { time: last.time, x, y, z };
    }

    /** All of it; until its end it has stood still. */
    take(end: number): Track {
        const samples = this.#samples;
        const last = samples.at(-1);
        if (last && end > last.time) samples.push({ ...last, time: end });
        this.#samples = [];
        return samples;
    }
}
