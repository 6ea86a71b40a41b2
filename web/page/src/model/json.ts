// Scenes as the tool reads them (docs/scenes.md), there and back.

import { type Point, RADIANS } from "./geometry";
import { AHEAD, makeSource, type Rolloff, type Scene, type Source } from "./scene";
import type { Keyframe, Turn, TurnRow } from "./track";

type Row = number[];

interface SourceJson {
    file: string;
    channel?: number;
    start?: number;
    gain?: number;
    loop?: boolean;
    position?: Row;
    direction?: Row;
    track?: Row[] | string;
    layout?: string;
    dc_block?: boolean;
    rolloff?: Rolloff;
}

interface SceneJson {
    version: 1;
    duration?: number;
    listener?: {
        position?: Row;
        position_track?: Row[] | string;
        orientation?: { yaw?: number; pitch?: number; roll?: number; quaternion?: Row };
        orientation_track?: Row[] | string;
    };
    sources: SourceJson[];
}

function sourceJson(source: Source, file: string): SourceJson {
    const { position: p, track } = source;
    const rows = track.map((k) => [k.time, k.x, k.y, k.z]);
    return {
        file,
        ...(source.start > 0 ? { start: source.start } : {}),
        ...(source.gain !== 0 ? { gain: source.gain } : {}),
        ...(source.loop ? { loop: true } : {}),
        ...(track.length > 0 ? { track: rows } : { position: [p.x, p.y, p.z] }),
        ...(source.rolloff ? { rolloff: source.rolloff } : {}),
    };
}

function listenerJson({ head, headTrack }: Scene): SceneJson["listener"] {
    if (headTrack.length > 0) {
        return { orientation_track: headTrack.map((r) => [r.time, r.yaw, r.pitch, r.roll]) };
    }
    if (head.yaw === 0 && head.pitch === 0 && head.roll === 0) return undefined;
    return { orientation: { yaw: head.yaw, pitch: head.pitch, roll: head.roll } };
}

/** A scene, whose sources' sounds are in files of these names, as JSON. */
export function toJson(scene: Scene, files: readonly string[]): SceneJson {
    const listener = listenerJson(scene);
    return {
        version: 1,
        duration: scene.duration,
        ...(listener ? { listener } : {}),
        sources: scene.sources.map((source, k) => sourceJson(source, files[k]!)),
    };
}

/** The same as a text that people can read: a row of a track is a line. */
export function toText(scene: Scene, files: readonly string[]): string {
    const text = JSON.stringify(toJson(scene, files), null, 2);
    const onLine = text.replace(
        /\[\s+(-?[\d.e+-]+(?:,\s+-?[\d.e+-]+)*)\s+\]/g,
        (_, numbers: string) => {
            return `[${numbers.replace(/\s+/g, " ")}]`;
        },
    );
    return `${onLine}\n`;
}

/** A file of a scene that a source of the page would play, and how it is named. */
export interface Part {
    readonly file: string;
    readonly channel: number; // counted from 1; 0: the only one
}

/** What a scene may say and the page has no place for: an error says so. */
function refuse(what: string): never {
    throw new Error(`${what}, which the page cannot show; earshot render can`);
}

function point(row: Row): Point {
    return { x: row[0]!, y: row[1]!, z: row[2]! };
}

function rows(track: Row[] | string, what: string): Row[] {
    if (typeof track === "string") refuse(`${what} is in a table of its own`);
    return track;
}

/** Where a source that has a direction and no place is shown. */
function towards([azimuth = 0, elevation = 0]: Row): Point {
    const level = 2 * Math.cos(elevation * RADIANS);
    const turn = azimuth * RADIANS;
    const z = 2 * Math.sin(elevation * RADIANS);
    return { x: level * Math.cos(turn), y: level * Math.sin(turn), z };
}

function sourceTrack(json: SourceJson, where: string): Keyframe[] {
    if (!json.track) return [];
    const track = rows(json.track, `${where}.track`);
    if (track[0]?.length === 3) refuse(`${where}.track is one of directions`);
    return track.map(([time, ...place]) => ({ time: time!, ...point(place) }));
}

function headTurn(json: SceneJson): Turn {
    const orientation = json.listener?.orientation;
    if (orientation?.quaternion) refuse("the listener's orientation is a quaternion");
    return { ...AHEAD, ...orientation };
}

function headRows(json: SceneJson): TurnRow[] {
    const given = json.listener?.orientation_track;
    if (!given) return [];
    const track = rows(given, "the listener's orientation_track");
    if (track[0]?.length === 5) refuse("the listener's orientation_track is one of quaternions");
    return track.map(([time, yaw, pitch, roll]) => ({
        time: time!,
        yaw: yaw!,
        pitch: pitch!,
        roll: roll!,
    }));
}

/** "sounds/2 Bells.wav" is the sound of a source named Bells. */
export function nameOfFile(file: string): string {
    const base = file.slice(file.lastIndexOf("/") + 1).replace(/\.[^.]*$/, "");
    return base.replace(/^\d+ +/, "") || base || "Sound";
}

/** The name of a source's file, which any system can have. */
export function fileOfName(name: string, index: number): string {
    const plain = name
        .replace(/[\\/:*?"<>|\u0000-\u001f]/g, " ")
        .replace(/\s+/g, " ")
        .trim();
    return `sounds/${index + 1} ${plain.slice(0, 60).trim() || "Sound"}.wav`;
}

/**
 * The scene of a text that the engine has found to be one. Which files its sources play is told
 * beside it, as are their sounds' numbers, which are the sources' own: 0, 1, 2...
 */
export function fromText(text: string): { scene: Scene; parts: Part[] } {
    const json = JSON.parse(text) as SceneJson;
    const { position, position_track } = json.listener ?? {};
    if (position_track || position?.some((c) => c !== 0))
        refuse("the listener is not at the origin");
    const sources = json.sources.map((s, k): Source => {
        const where = `sources[${k}]`;
        if (s.layout) refuse(`${where} has a layout of loudspeakers`);
        if (s.dc_block) refuse(`${where} has a dc_block`);
        return makeSource({
            id: k + 1,
            name: nameOfFile(s.file),
            sound: k,
            position: s.position ? point(s.position) : towards(s.direction ?? []),
            track: sourceTrack(s, where),
            gain: s.gain ?? 0,
            loop: s.loop ?? false,
            start: s.start ?? 0,
            rolloff: s.rolloff ?? null,
        });
    });
    const parts = json.sources.map((s) => ({ file: s.file, channel: s.channel ?? 0 }));
    const scene = {
        sources,
        head: headTurn(json),
        headTrack: headRows(json),
        duration: json.duration ?? 0,
    };
    return { scene, parts };
}
