// Moves the sources of the node as those of the scene: the engine that renders files tells how each is
// heard, sixty times a second, a little ahead of the sound.

import type { Earshot, Scene as Parsed } from "earshot";

import { wrap } from "../model/geometry";
import { toText } from "../model/json";
import { audible, type Scene } from "../model/scene";
import type { Engine } from "./engine";

const STEP = 1 / 60;
const AHEAD = 0.1;
const AHEAD_HIDDEN = 2.5; // browsers wake pages that nobody sees once a second

const NAMES = ["azimuth", "elevation", "gain"] as const;

/** What was scheduled for a time of the context. */
type Row = Record<(typeof NAMES)[number] | "at", number>;

/** What rows say of a time: browsers do not agree on what a parameter's value is meanwhile. */
function rowAt(rows: readonly Row[], at: number): Row {
    const next = rows.findIndex((row) => row.at > at);
    const to = rows[next];
    const from = rows[next - 1];
    if (!to) return { ...rows.at(-1)!, at };
    if (!from) return { ...to, at };
    const part = (at - from.at) / (to.at - from.at);
    const between = (name: (typeof NAMES)[number]) => from[name] + part * (to[name] - from[name]);
    const [azimuth, elevation, gain] = NAMES.map(between) as [number, number, number];
    return { at, azimuth, elevation, gain };
}

export class Motion {
    #parsed: Parsed | null = null;
    #scene: Scene | null = null;
    #next: Scene | null = null;
    #until = 0; // of the context: how far things are scheduled
    #ways = new Map<number, Row[]>(); // from what is now to what is scheduled last

    constructor(
        private readonly earshot: Earshot,
        private readonly engine: Engine,
        private readonly timeAt: (context: number) => number,
    ) {}

    /** What is heard from now on: read when it is next wanted, as drags bring many. */
    change(scene: Scene): void {
        this.#next = scene;
    }

    #read(scene: Scene): void {
        this.#next = null;
        this.#parsed?.free();
        this.#parsed = null;
        this.#scene = scene;
        if (scene.sources.length > 0) {
            const names = scene.sources.map((s) => s.name || "-");
            this.#parsed = this.earshot.parseScene(toText(scene, names));
        }
        const there = new Set(scene.sources.map((s) => s.id));
        for (const id of this.#ways.keys()) if (!there.has(id)) this.#ways.delete(id);
        this.restart();
    }

    /** What was scheduled does not hold any more: the time has jumped, or the scene is another. */
    restart(): void {
        const now = this.engine.context.currentTime;
        this.#until = now;
        for (const [id, rows] of this.#ways) {
            const params = this.engine.node.sources[this.engine.slot(id)];
            if (!params) continue;
            const here = rowAt(rows, now);
            for (const name of NAMES) {
                params[name].cancelScheduledValues(now);
                params[name].setValueAtTime(here[name], now);
            }
            this.#ways.set(id, [here]);
        }
    }

    /** A new node knows nothing. */
    forget(): void {
        this.#ways.clear();
        this.restart();
    }

    /** To be called many times a second. */
    tick(): void {
        if (this.#next) this.#read(this.#next);
        const now = this.engine.context.currentTime;
        const ahead = document.hidden ? AHEAD_HIDDEN : AHEAD;
        if (this.#until < now) this.#until = now;
        while (this.#until < now + ahead) {
            this.#until += STEP;
            this.#schedule(this.#until);
        }
    }

    #schedule(at: number): void {
        const heard = this.#parsed?.heard(this.timeAt(at)) ?? [];
        this.#scene?.sources.forEach((source, k) => {
            const place = heard[k];
            if (!place) return;
            const gain = audible(this.#scene!, source) ? place.gain : 0;
            this.#move(source.id, { at, azimuth: place.azimuth, elevation: place.elevation, gain });
        });
    }

    #move(id: number, to: Row): void {
        const params = this.engine.node.sources[this.engine.slot(id)];
        if (!params) return;
        const rows = this.#ways.get(id);
        const last = rows?.at(-1);
        if (!rows || !last) {
            for (const name of NAMES) params[name].setValueAtTime(to[name], to.at - STEP);
            this.#ways.set(id, [to]);
            return;
        }
        // Any number of turns, so that a ramp goes the shorter way.
        to.azimuth = last.azimuth + wrap(to.azimuth - last.azimuth);
        for (const name of NAMES) {
            if (to[name] === last[name]) continue;
            // A ramp begins at the event before it, however long ago.
            params[name].setValueAtTime(last[name], to.at - STEP);
            params[name].linearRampToValueAtTime(to[name], to.at);
        }
        rows.push(to);
        const now = this.engine.context.currentTime;
        while (rows.length > 1 && rows[1]!.at <= now) rows.shift();
    }
}
