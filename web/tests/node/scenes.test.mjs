// Scenes: the same bits as everywhere, errors that name the place, and rendering beside other work.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { EarshotError } from "../../package/dist/index.js";
import { INSTRUCTION_SETS, libraries, noise, PROJECT } from "./support.mjs";

/** Those of tests/scene, which every target renders; digests have 64 bits. */
function pinnedScenes() {
    const file = new URL("tests/scene/pinned_scenes.json", PROJECT);
    const text = readFileSync(file, "utf-8").replace(/: (\d{16,})/g, ': "$1"');
    const { scenes, tables } = JSON.parse(text);
    for (const { scene } of Object.values(scenes))
        for (const source of scene.sources)
            if (typeof source.track === "string")
                source.track = tables[source.track].trim().split("\n").slice(1).map((row) =>
                    row.split(",").map(Number));
    return Object.entries(scenes);
}

/** FNV-1a over words of 64 bits, low byte first: tests/support/digest.hpp. */
function fnv(words) {
    let value = 0xcbf29ce484222325n;
    for (const word of words) {
        const bits = BigInt.asUintN(64, BigInt(word));
        for (let shift = 0n; shift < 64n; shift += 8n)
            value = BigInt.asUintN(64, (value ^ ((bits >> shift) & 0xffn)) * 0x100000001b3n);
    }
    return value;
}

const steps = Int32Array.from({ length: 9000 }, (_, i) =>
    ((Math.floor(i / 300) % 7) << 27) + 0x10000000);
const SOUNDS = [noise(9600, 1), steps, noise(4000, 2, 0)];

/** Words of a rendered scene, interleaved. */
async function wordsOf(scene, sounds, options = {}) {
    const { wav } = await scene.render(sounds, { bits: 32, ...options });
    return new Int32Array(wav.slice(44).buffer);
}

const soundsFor = (scene) => scene.sources.map((_, k) => SOUNDS[k % SOUNDS.length]);

for (const [k, library] of libraries.entries())
    test(`scenes have their digests: ${INSTRUCTION_SETS[k]}`, async () => {
        assert.equal(library.instructionSet, INSTRUCTION_SETS[k]);
        const found = {};
        const pinned = {};
        for (const [name, entry] of pinnedScenes()) {
            const scene = library.parseScene(JSON.stringify(entry.scene));
            found[name] = fnv(await wordsOf(scene, soundsFor(scene)));
            pinned[name] = BigInt(entry.continuous);
            scene.free();
        }
        assert.equal(Object.keys(pinned).length, 10);
        assert.deepEqual(found, pinned);
    });

test("what a scene says of its sources, and where they are heard", () => {
    const scene = libraries[0].parseScene(JSON.stringify({
        version: 1,
        duration: 2.5,
        listener: { orientation_track: [[0, 0, 0, 0], [1, 90, 0, 0]] },
        sources: [
            { file: "straße.wav", channel: 2, direction: [30, 10], gain: -20 },
            { file: "film.wav", layout: "stereo" },
            { file: "a", track: [[0, 0, 4, 0], [1, 0, 2, 0]],
              rolloff: { model: "inverse", minimum: 1, maximum: 30000 } },
        ],
    }));
    assert.equal(scene.duration, 2.5);
    assert.deepEqual(scene.sources, [
        { file: "straße.wav", channel: 2, entry: 0 },
        { file: "film.wav", channel: 1, entry: 1 },
        { file: "film.wav", channel: 2, entry: 1 },
        { file: "a", channel: 0, entry: 2 },
    ]);
    const near = (heard, azimuth, elevation, distance, gain) => {
        for (const [key, value] of Object.entries({ azimuth, elevation, distance, gain }))
            assert.ok(Math.abs(heard[key] - value) < 1e-3, `${key}: ${heard[key]}, not ${value}`);
    };
    near(scene.heard(0)[0], 30, 10, -1, 0.1);
    near(scene.heard(0)[2], -30, 0, -1, 1);
    near(scene.heard(0)[3], 90, 0, 4, 0.25);
    near(scene.heard(0.5)[3], 45, 0, 3, 1 / 3);
    near(scene.heard(100)[3], 0, 0, 2, 0.5);
    assert.throws(() => scene.heard(NaN), EarshotError);
    scene.free();
    assert.throws(() => scene.heard(0), /freed/);
});

const scene = (source) => `{"version": 1, "sources": [{"file": "a", ${source}}]}`;

test("what is no scene is refused with the place", () => {
    const table = [
        ["", /is empty/],
        ['{"version": 1,\n "sources": [}', /^line 2, column 14: /],
        ['{"version": 1}', /'sources' is missing/],
        [scene('"position": [1, 2]'), /^sources\[0\]\.position: /],
        [scene('"track": [[1, 0, 0], [0, 0, 0]]'), /^sources\[0\]\.track row 2: /],
        [scene('"track": "way.csv"'), /way\.csv/],
    ];
    for (const library of libraries)
        for (const [text, message] of table)
            assert.throws(() => library.parseScene(text), (error) => {
                assert.ok(error instanceof EarshotError);
                assert.match(error.message, message);
                assert.doesNotMatch(error.message, /\n/);
                return true;
            });
});

test("sounds and options that do not fit are refused", async () => {
    const [library, other] = libraries;
    const one = library.parseScene(scene('"direction": [0, 0]'));
    const loop = library.parseScene(
        scene('"direction": [0, 0], "loop": true').replace("{", '{"duration": 1, '));
    const table = [
        [one, [], {}, /0 instead of 1/],
        [one, [new Float32Array(3)], {}, /sound 0/],
        [one, [SOUNDS[0]], { bits: 20 }, /bits/],
        [one, [SOUNDS[0]], { head: other.builtinHead }, /another module/],
        [loop, [new Int32Array(0)], {}, /./],
    ];
    for (const [work, sounds, options, message] of table)
        await assert.rejects(work.render(sounds, options), (error) => {
            assert.ok(error instanceof EarshotError, String(error));
            assert.match(error.message, message);
            return true;
        });
    assert.equal((await one.render([new Int32Array(0)])).wav.length, 44 + 127 * 6);
});

/** A scene that takes a while: many sources, all of one sound. */
function longScene(library, seconds) {
    const sources = Array.from({ length: 24 }, (_, k) =>
        ({ file: "a", loop: true, gain: -20, track: [[0, 15 * k, 0], [1, 15 * k + 90, 0]] }));
    return library.parseScene(JSON.stringify({ version: 1, duration: seconds, sources }));
}

test("rendering leaves the thread to others, tells its progress, ends when asked to", async () => {
    const long = longScene(libraries[0], 4);
    const sounds = long.sources.map(() => SOUNDS[0]);
    let turns = 0;
    const timer = setInterval(() => ++turns, 1);
    const told = [];
    // Two at once, of a scene that is freed: neither disturbs the other.
    const [first, second] = await Promise.all([
        long.render(sounds, { onProgress: (done, frames) => told.push([done, frames]) }),
        long.render(sounds),
        Promise.resolve().then(() => long.free()),
    ]);
    clearInterval(timer);
    assert.deepEqual(first.wav, second.wav);
    assert.equal(first.frames, 192000);
    assert.ok(turns > 3 && told.length > 3, `${turns} turns, told ${told.length} times`);
    assert.ok(told.every(([done, of], k) => of === 192000 && done > (told[k - 1]?.[0] ?? 0)));
    assert.deepEqual(told.at(-1), [192000, 192000]);

    const again = longScene(libraries[0], 4);
    const stop = new AbortController();
    const reason = new Error("enough");
    await assert.rejects(
        again.render(sounds, { signal: stop.signal, onProgress: () => stop.abort(reason) }),
        reason,
    );
    await assert.rejects(again.render(sounds, { signal: AbortSignal.abort(reason) }), reason);
    // Whoever listens to the progress may fail, too, and the scene is none the worse.
    const failure = new Error("no window left");
    await assert.rejects(
        again.render(sounds, { onProgress: () => { throw failure; } }), failure);
    assert.equal((await again.render(sounds)).digest, first.digest);
});
