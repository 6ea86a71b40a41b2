// The examples: scenes of sounds that the page makes itself.

import { fromPolar, type Point } from "../model/geometry";
import { AHEAD, makeSource, type Scene } from "../model/scene";
import { type Keyframe, roundPoint, roundTime } from "../model/track";
import type { Instrument } from "./instruments";

export interface Preset {
    readonly id: string;
    readonly name: string;
    readonly about: string;
    /** The number of a source's sound is its place among the instruments. */
    readonly scene: Scene;
    readonly instruments: readonly Instrument[];
}

type Voice = {
    instrument: Instrument;
    name?: string;
    gain?: number;
    position?: Point;
    track?: Keyframe[];
};

type Played = Pick<Preset, "scene" | "instruments">;

function makeScene(duration: number, voices: Voice[], turns: [number, number][] = []): Played {
    const sources = voices.map(({ instrument, name, ...given }, k) => {
        return makeSource({ id: k + 1, name: name ?? instrument, sound: k, ...given });
    });
    const headTrack = turns.map(([time, yaw]) => ({ time, yaw, pitch: 0, roll: 0 }));
    const instruments = voices.map((voice) => voice.instrument);
    return { scene: { sources, head: AHEAD, headTrack, duration }, instruments };
}

const corner = (azimuth: number) => roundPoint(fromPolar({ azimuth, elevation: 0, distance: 2 }));

function quartet(): Played {
    return makeScene(
        20,
        [
            { instrument: "Guitar", position: corner(45) },
            { instrument: "Marimba", position: corner(-45) },
            { instrument: "Bells", position: corner(135) },
            { instrument: "Drums", position: corner(-135) },
        ],
        [
            [0, 0],
            [2, 0],
            [4, 45],
            [6, 45],
            [8.5, 135],
            [10, 135],
            [12.5, -135],
            [14, -135],
            [16.5, -45],
            [18, -45],
            [20, 0],
        ],
    );
}

function street(): Played {
    const walk = (time: number, x: number, y: number, z = -1.5): Keyframe => ({ time, x, y, z });
    return makeScene(12, [
        {
            instrument: "Steps",
            name: "Walker",
            gain: 8,
            track: [walk(0, 1.6, 6), walk(12, 1.4, -9)],
        },
        {
            instrument: "Soft steps",
            name: "Passer-by",
            gain: 9,
            track: [walk(0, -1.8, -5), walk(4, -1.4, -1.2), walk(6, -1.2, 0.4), walk(12, -2, 7)],
        },
        { instrument: "Car", gain: 9, track: [walk(0, 4.5, -60, -1), walk(12, 4.5, 66, -1)] },
    ]);
}

/** Three turns, out to nearly three metres and from below the ears to well above. */
function spiral(): Played {
    const track: Keyframe[] = [];
    for (let k = 0; k <= 48; ++k) {
        const elevation = -10 + (50 * k) / 48;
        const place = fromPolar({ azimuth: 22.5 * k, elevation, distance: 0.9 + (1.8 * k) / 48 });
        track.push(roundPoint({ time: roundTime(k / 3), ...place }));
    }
    return makeScene(16, [{ instrument: "Melody", gain: 4, track }]);
}

export const PRESETS: readonly Preset[] = [
    {
        id: "quartet",
        name: "Four instruments",
        about: "In the corners of a room, and a head that turns to each.",
        ...quartet(),
    },
    {
        id: "street",
        name: "A street",
        about: "Two people walk by, a car drives past.",
        ...street(),
    },
    {
        id: "spiral",
        name: "A spiral",
        about: "A melody that circles, wider and higher.",
        ...spiral(),
    },
];
