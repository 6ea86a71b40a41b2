// What the page plays without files. Music: four bars in C at 96 beats a minute, ten seconds.

import { fromFloats } from "./sound";
import {
    BELL,
    burst,
    lowpass,
    Loop,
    MARIMBA,
    pluck,
    resonance,
    sine,
    strike,
    thump,
    wash,
} from "./synth";

const BEAT = 0.625;
const BARS = 4 * 4 * BEAT;

const CHORDS = [
    [48, 55, 60, 64, 67],
    [45, 52, 57, 60, 64],
    [41, 48, 53, 57, 60],
    [43, 50, 55, 59, 62],
];

function guitar(): Float64Array {
    const loop = new Loop(BARS);
    const order = [0, 1, 2, 3, 4, 3, 2, 1];
    CHORDS.forEach((chord, bar) => {
        order.forEach((string, k) => {
            const loud = k === 0 ? 1 : 0.62 + 0.12 * ((k * 5) % 3);
            pluck(loop, (4 * bar + k / 2) * BEAT, chord[string]! + 12, loud, 0.35);
        });
    });
    return loop.scaled(0.5);
}

function marimba(): Float64Array {
    const loop = new Loop(BARS);
    const beats = [0.5, 1.5, 1.75, 2.5, 3.5];
    CHORDS.forEach((chord, bar) => {
        beats.forEach((beat, k) => {
            const time = (4 * bar + beat) * BEAT;
            strike(loop, time, chord[3]! + 12, 0.8, MARIMBA);
            strike(loop, time + 0.008, chord[k === 2 ? 2 : 4]! + 12, 0.65, MARIMBA);
        });
    });
    return loop.scaled(0.5);
}

function bells(): Float64Array {
    const loop = new Loop(BARS);
    const tune: [number, number][] = [
        [0, 76],
        [1.5, 79],
        [2.5, 76],
        [3, 74],
        [4, 72],
        [5.5, 76],
        [6.5, 72],
        [7, 69],
        [8, 69],
        [9.5, 72],
        [10.5, 77],
        [11, 76],
        [12, 74],
        [13.5, 71],
        [14.5, 74],
        [15, 79],
    ];
    for (const [beat, note] of tune)
        strike(loop, beat * BEAT, note, beat % 4 === 0 ? 1 : 0.75, BELL);
    return loop.scaled(0.42);
}

function drums(): Float64Array {
    const loop = new Loop(BARS);
    for (let half = 0; half < 32; ++half) {
        const time = (half / 2) * BEAT;
        const loud = half % 2 === 1 ? 0.8 : 0.45;
        burst(loop, time, {
            centre: 6500,
            width: 3500,
            level: loud,
            attack: 0.025,
            decay: 0.03,
            seed: 101 + half,
        });
        const bar = half % 8;
        if (bar === 0 || bar === 5) thump(loop, time, 190, 85, 0.9, 0.11);
        if (bar === 3 || bar === 6) thump(loop, time, 330, 190, 0.45, 0.06);
    }
    return loop.scaled(0.45);
}

/** Sixteen seconds of one bright voice that hardly rests. */
function melody(): Float64Array {
    const loop = new Loop(16);
    const scale = [62, 64, 66, 69, 71, 74, 76, 78, 81, 83];
    const steps = [
        0, 2, 4, 5, 7, 5, 4, 2, 3, 5, 6, 8, 9, 8, 6, 5, 7, 5, 4, 2, 1, 3, 4, 6, 5, 4, 2, 3, 1, 2, 0,
        4,
    ];
    steps.forEach((step, k) => {
        const note = scale[step]!;
        const loud = k % 4 === 0 ? 1 : 0.7;
        strike(loop, k / 2, note + 12, loud, BELL);
        pluck(loop, k / 2, note, 0.9 * loud, 0.8);
        if (k % 4 === 2) pluck(loop, k / 2 + 0.25, note + 12, 0.4, 0.9);
    });
    return loop.scaled(0.5);
}

/** Two steps a second or so: heel, then toe. */
function steps(given: {
    pace: number;
    floor: number;
    click: number;
    scuff: number;
    seed: number;
}): Float64Array {
    const loop = new Loop(given.pace * 8);
    for (let step = 0; step < 8; ++step) {
        const time = step * given.pace + (step % 2) * 0.012;
        const seed = given.seed + 31 * step;
        const loud = 0.85 + (0.15 * ((step * 3) % 4)) / 3;
        thump(loop, time, given.floor * 1.6, given.floor, 0.55 * loud, 0.035);
        burst(loop, time, {
            centre: given.click,
            width: 1100,
            level: 2.4 * loud,
            attack: 0.001,
            decay: 0.012,
            seed,
        });
        burst(loop, time + 0.085, {
            centre: given.click * 0.7,
            width: 1500,
            level: 0.9 * loud,
            attack: 0.004,
            decay: 0.02,
            seed: seed + 7,
        });
        burst(loop, time + 0.05, {
            centre: 4200,
            width: 3000,
            level: given.scuff * loud,
            attack: 0.04,
            decay: 0.03,
            seed: seed + 13,
        });
    }
    return loop.scaled(0.6);
}

/** Tyres, wind and an engine. Tones that go round a whole number of times have no seam. */
function car(): Float64Array {
    const loop = new Loop(6);
    const tyres = resonance(850, 900);
    const wind = lowpass(2600);
    wash(loop, 4711, 1, (x) => tyres(x) + 0.22 * wind(x));
    const rumble = lowpass(160);
    wash(loop, 815, 1.5, rumble);
    for (let harmonic = 1; harmonic <= 9; ++harmonic) {
        const rounds = 6 * 38 * harmonic;
        const level = (harmonic % 2 === 0 ? 0.3 : 0.16) / harmonic;
        const count = loop.samples.length;
        const shake = 6 + harmonic;
        loop.add(
            0,
            6,
            (k) => level * (1 + 0.3 * sine((shake * k) / count)) * sine((rounds * k) / count),
        );
    }
    return loop.scaled(0.7);
}

const shoes = { pace: 0.52, floor: 95, click: 1900, scuff: 0.25, seed: 271 };
const trainers = { pace: 0.6, floor: 75, click: 950, scuff: 0.9, seed: 577 };

const MAKERS = {
    Guitar: guitar,
    Marimba: marimba,
    Bells: bells,
    Drums: drums,
    Melody: melody,
    Steps: () => steps(shoes),
    "Soft steps": () => steps(trainers),
    Car: car,
};

export type Instrument = keyof typeof MAKERS;
export const INSTRUMENTS = Object.keys(MAKERS) as Instrument[];

export function play(instrument: Instrument): Int32Array {
    return fromFloats(MAKERS[instrument]());
}
