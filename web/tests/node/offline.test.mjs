// Sounds in blocks: the same bits however they are cut and by either module, and those of scenes.
import assert from "node:assert/strict";
import { test } from "node:test";

import { EarshotError } from "../../package/dist/index.js";
import { libraries, noise } from "./support.mjs";

const [library] = libraries;
const LENGTH = 20000;
const SOUNDS = [noise(LENGTH, 11), noise(LENGTH, 12), noise(LENGTH, 13)];
const FLOATS = SOUNDS.map((sound) => Float32Array.from(sound, (word) => word / 2 ** 31));

/** Moves sources at a few instants; between them blocks of the lengths given, in turns. */
function perform(from, sounds, lengths) {
    const renderer = from.offlineRenderer({ sources: sounds.length });
    const kind = sounds[0].constructor;
    const ears = [[], []];
    let turn = 0;
    const take = (made) => made.forEach((samples, ear) => ears[ear].push(...samples));
    for (const [moment, end] of [[0, 4001], [4001, 4100], [4100, 15007], [15007, LENGTH]]) {
        sounds.forEach((_, k) => {
            const place = { azimuth: 100 * k + moment / 7, elevation: 20 * k - 10 };
            if (k !== 1 || moment > 0) renderer.place(k, { ...place, gain: k === 2 ? 1.5 : 1 });
        });
        for (let at = moment; at < end;) {
            const length = Math.min(end - at, lengths[turn++ % lengths.length]);
            // The last source falls silent for a while, said or unsaid.
            take(renderer.process(sounds.map((sound, k) =>
                k === 2 && moment === 4100 ? null : sound.subarray(at, at + length))));
            at += length;
        }
    }
    take(kind === Int32Array ? renderer.flush("int32") : renderer.flush());
    const clipped = renderer.clipped;
    renderer.free();
    return { ears: ears.map((samples) => kind.from(samples)), clipped };
}

test("blocks of any length and both modules give the same bits", () => {
    for (const sounds of [SOUNDS, FLOATS]) {
        const whole = perform(library, sounds, [LENGTH]);
        assert.equal(whole.ears[0].length, LENGTH + 242);
        assert.ok(whole.ears.every((ear) => ear.some((sample) => sample !== 0)));
        for (const from of libraries)
            for (const lengths of [[96], [128], [1, 95, 97, 0, 2047], [1023, 1024, 1025]])
                assert.deepEqual(perform(from, sounds, lengths), whole, lengths.join());
    }
});

test("floats are words rounded, and come out as such", () => {
    const rounded = FLOATS.map((sound) => Int32Array.from(sound, (value) => value * 2 ** 31));
    const words = perform(library, rounded, [500]).ears;
    const floats = perform(library, FLOATS, [500]).ears;
    words.forEach((ear, k) =>
        assert.deepEqual(floats[k], Float32Array.from(ear, (word) => word / 2 ** 31)));
});

test("a source that stands still sounds as it does in a scene", async () => {
    for (const [azimuth, elevation] of [[30, 10], [-100, -35], [180, 90], [725, 0]]) {
        const scene = library.parseScene(JSON.stringify(
            { version: 1, sources: [{ file: "a", direction: [azimuth % 360, elevation] }] }));
        const { wav, frames } = await scene.render([SOUNDS[0]], { bits: 32 });
        const pairs = new Int32Array(wav.slice(44).buffer);
        const renderer = library.offlineRenderer({ sources: 1 });
        assert.equal(renderer.latency, 115);
        renderer.place(0, { azimuth, elevation });
        const parts = [renderer.process([SOUNDS[0]]), renderer.flush("int32")];
        for (const ear of [0, 1]) {
            const heard = [...parts[0][ear], ...parts[1][ear]];
            const expected = Array.from({ length: frames }, (_, i) => pairs[2 * i + ear]);
            assert.deepEqual(heard.slice(115), expected, `${azimuth}, ear ${ear}`);
        }
        renderer.free();
        scene.free();
    }
});

test("what is never placed is silent, gains ramp to 0, and what is too loud is counted", () => {
    const loud = new Int32Array(4800).fill(0x7fffffff);
    const renderer = library.offlineRenderer({ sources: 1 });
    assert.ok(renderer.process([loud])[0].every((sample) => sample === 0));
    assert.equal(renderer.clipped, 0);
    renderer.place(0, { azimuth: 90, gain: 16 });
    const [left] = renderer.process([loud]);
    assert.ok(renderer.clipped >= 4800);
    assert.equal(Math.max(...left), 0x7fffffff);
    renderer.place(0, { azimuth: 90, gain: 0 });
    renderer.process([loud]);
    assert.ok(renderer.process([loud])[0].every((sample) => sample === 0));

    const floats = library.offlineRenderer({ sources: 1 });
    floats.place(0, { azimuth: 0, gain: 0.01 });
    floats.process([Float32Array.of(0, 1, -1, 1.5, -7, 0.5)]);
    assert.equal(floats.clipped, 3); // 1 is a step beyond the highest word
});

test("what a renderer cannot do is refused", () => {
    const renderer = library.offlineRenderer({ sources: 2 });
    const words = new Int32Array(5);
    const table = [
        [() => library.offlineRenderer({ sources: 0 }), /sources: 0/],
        [() => library.offlineRenderer({ sources: 1.5 }), /sources: 1.5/],
        [() => library.offlineRenderer({ sources: 257 }), /sources: 257/],
        [() => renderer.place(2, { azimuth: 0 }), /source: 2/],
        [() => renderer.place(0, { azimuth: Infinity }), /source 0: azimuth/],
        [() => renderer.place(1, { azimuth: 0, elevation: 91 }), /source 1: elevation/],
        [() => renderer.place(1, { azimuth: 0, gain: -1 }), /source 1: gain/],
        [() => renderer.place(1, { azimuth: 0, gain: NaN }), /source 1: gain/],
        [() => renderer.process([words]), /1 instead of 2/],
        [() => renderer.process([words, new Int32Array(6)]), /block 1: 6 samples, not 5/],
        [() => renderer.process([words, new Float32Array(5)]), /block 1: not of the kind/],
        [() => renderer.process([null, null]), /length/],
        [() => { renderer.free(); renderer.process([words, words]); }, /freed/],
    ];
    for (const [attempt, message] of table)
        assert.throws(attempt, (error) => {
            assert.ok(error instanceof EarshotError);
            assert.match(error.message, message);
            return true;
        });
    renderer.free();
});
