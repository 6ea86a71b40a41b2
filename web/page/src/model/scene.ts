// What the page's scene is, and what can be done to it. A state is never changed: edits make a new
// one, so that undo is a list of states.

import { outside, type Point, wrap } from "./geometry";
import {
    placeAt,
    roundAngle,
    roundPoint,
    type Track,
    type Turn,
    type TurnRow,
    turnAt,
    withKeyframe,
} from "./track";

export interface Rolloff {
    readonly model: "inverse" | "linear" | "none";
    readonly minimum: number;
    readonly maximum: number;
}

export interface Source {
    readonly id: number;
    readonly name: string;
    /** Of a sound in the page's collection; null: the microphone. */
    readonly sound: number | null;
    /** Where it stands, unless it has a track. */
    readonly position: Point;
    readonly track: Track;
    readonly gain: number; // decibels
    readonly mute: boolean;
    readonly solo: boolean;
    readonly loop: boolean;
    readonly start: number; // seconds
    readonly rolloff: Rolloff | null;
}

export interface Scene {
    readonly sources: readonly Source[];
    readonly head: Turn;
    /** Where it has rows, they turn the head. */
    readonly headTrack: readonly TurnRow[];
    readonly duration: number; // seconds
}

export const MOST_SOURCES = 64;
export const LOWEST_GAIN = -40;
export const HIGHEST_GAIN = 12;
export const LONGEST = 3600;

/** Half as much for every doubling of the distance from a metre on. */
export const ROLLOFF: Rolloff = { model: "inverse", minimum: 1, maximum: 100 };

export const AHEAD: Turn = { yaw: 0, pitch: 0, roll: 0 };
export const EMPTY: Scene = { sources: [], head: AHEAD, headTrack: [], duration: 10 };

export function makeSource(given: Partial<Source> & Pick<Source, "id" | "name" | "sound">): Source {
    const defaults = {
        position: { x: 2, y: 0, z: 0 },
        track: [],
        gain: 0,
        start: 0,
        rolloff: ROLLOFF,
    };
    return { ...defaults, mute: false, solo: false, loop: true, ...given };
}

export function nextId(scene: Scene): number {
    return 1 + Math.max(0, ...scene.sources.map((s) => s.id));
}

export function findSource(scene: Scene, id: number | null): Source | undefined {
    return scene.sources.find((s) => s.id === id);
}

/** Where the next new source is best seen: around the head, from the front on. */
export function freePlace(scene: Scene): Point {
    const turns = [30, -30, 110, -110, 0, 180, 70, -70];
    const count = scene.sources.length;
    const angle = ((turns[count % turns.length] ?? 0) * Math.PI) / 180;
    const distance = 2 + 0.5 * Math.floor(count / turns.length);
    return roundPoint({ x: distance * Math.cos(angle), y: distance * Math.sin(angle), z: 0 });
}

export function withSource(scene: Scene, source: Source): Scene {
    return { ...scene, sources: [...scene.sources, source] };
}

export function withoutSource(scene: Scene, id: number): Scene {
    return { ...scene, sources: scene.sources.filter((s) => s.id !== id) };
}

export function changed(scene: Scene, id: number, change: Partial<Source>): Scene {
    return { ...scene, sources: scene.sources.map((s) => (s.id === id ? { ...s, ...change } : s)) };
}

/** A source put elsewhere: at a time, where it has a track. */
export function placed(scene: Scene, id: number, place: Point, time: number): Scene {
    const source = findSource(scene, id);
    if (!source) return scene;
    const position = roundPoint(outside(place));
    if (source.track.length === 0) return changed(scene, id, { position });
    return changed(scene, id, { track: withKeyframe(source.track, time, position) });
}

/** The head turned by hand, which ends what a track had it do. */
export function turned(scene: Scene, head: Turn): Scene {
    const angle = (value: number) => roundAngle(wrap(value));
    const turn = { yaw: angle(head.yaw), pitch: angle(head.pitch), roll: angle(head.roll) };
    return { ...scene, head: turn, headTrack: [] };
}

export function sourceAt(source: Source, time: number): Point {
    return source.track.length > 0 ? placeAt(source.track, time) : source.position;
}

export function headAt(scene: Scene, time: number): Turn {
    return scene.headTrack.length > 0 ? turnAt(scene.headTrack, time) : scene.head;
}

/** Whether a source is heard, by its own switches and the others' solo. */
export function audible(scene: Scene, source: Source): boolean {
    const solo = scene.sources.some((s) => s.solo);
    return !source.mute && (!solo || source.solo);
}

/** What goes into files and the WAV: what is heard, but for the microphone. */
export function exported(scene: Scene): Scene {
    return {
        ...scene,
        sources: scene.sources.filter((s) => s.sound !== null && audible(scene, s)),
    };
}

/** The sources that are left out there, and why; empty for none. */
export function leftOut(scene: Scene): string[] {
    return scene.sources.flatMap((s) => {
        if (s.sound === null) return [`${s.name}: a microphone is live and cannot be exported.`];
        return audible(scene, s) ? [] : [`${s.name} is muted, or another source is solo.`];
    });
}
