import assert from "node:assert/strict";
import test from "node:test";

import page, { random } from "./sources.mjs";

const near = (a, b, within = 1e-9) => assert.ok(Math.abs(a - b) <= within, `${a} is not ${b}`);

test("places in words", () => {
    const cases = [
        [{ azimuth: 30, elevation: 10, distance: 2 }, "30 degrees left, 2.0 m, 10 degrees up"],
        [{ azimuth: -1, elevation: -45, distance: 0.5 }, "1 degree right, 0.5 m, 45 degrees down"],
        [{ azimuth: 0.2, elevation: 0, distance: 12 }, "straight ahead, 12.0 m"],
        [{ azimuth: 179.9, elevation: 1, distance: 1 }, "behind, 1.0 m, 1 degree up"],
    ];
    for (const [polar, words] of cases) assert.equal(page.describe(page.fromPolar(polar)), words);
});

test("places are turned and moved, and stay outside the head and below the zenith", () => {
    const left = page.moved({ x: 2, y: 0, z: 0 }, { azimuth: 90 });
    near(left.x, 0, 1e-12);
    near(left.y, 2);
    let p = { x: 1, y: 0, z: 0 };
    for (let k = 0; k < 40; ++k) p = page.moved(p, { elevation: 5, distance: -0.25 });
    const polar = page.toPolar(p);
    near(polar.distance, page.NEAREST);
    near(polar.elevation, 89.9, 1e-6);
    near(polar.azimuth, 0, 1e-6);
    const pushed = page.outside({ x: 0, y: -0.01, z: 0 });
    near(pushed.y, -page.NEAREST);
});

test("a thinned track stays within a centimetre or a third of a degree of every sample", () => {
    for (let seed = 1; seed <= 12; ++seed) {
        const next = random(seed);
        const jitter = seed % 3 === 0 ? 0.2 : 0.002;
        const samples = [];
        for (let k = 0; k < 400; ++k) {
            const angle = k * 0.02 * (seed % 4) + next() * jitter;
            const polar = {
                azimuth: 57 * angle,
                elevation: 20 * Math.sin(k / 50),
                distance: 0.3 + seed / 2,
            };
            samples.push({ time: k / 60 + next() / 2000, ...page.fromPolar(polar) });
        }
        const track = page.thin(samples);
        assert.ok(track.every((row, k) => k === 0 || row.time > track[k - 1].time));
        if (jitter < 0.1) assert.ok(track.length < 160, `seed ${seed}: ${track.length} rows`);
        for (const sample of samples) {
            const kept = page.placeAt(track, sample.time);
            const metres = Math.hypot(kept.x - sample.x, kept.y - sample.y, kept.z - sample.z);
            const bound = Math.max(
                0.01,
                page.toPolar(sample).distance * Math.sin(page.RADIANS / 3),
            );
            assert.ok(metres <= bound + 0.001, `seed ${seed}: ${metres} m`);
        }
    }
    const straight = Array.from({ length: 100 }, (_, k) => ({
        time: k,
        x: 1 + k / 10,
        y: 2,
        z: 3 - k / 50,
    }));
    assert.deepEqual(page.thin(straight), [straight[0], straight[99]]);
    assert.deepEqual(page.thin([]), []);
});

test("a recording replaces what was there at its times; what stands still does not creep", () => {
    const recorder = new page.Recorder();
    const at = (x) => ({ x, y: 0, z: 0 });
    recorder.add(2, at(1));
    recorder.add(3, at(5));
    assert.ok(recorder.isBefore(1) && !recorder.isBefore(3.5));
    const part = page.thin(recorder.take(4));
    near(page.placeAt(part, 2.9).x, 1);
    near(page.placeAt(part, 3.9).x, 5);
    assert.ok(recorder.empty);
    const before = [0, 2.5, 4, 6].map((time) => ({ time, ...at(-1) }));
    assert.deepEqual(
        page.withPart(before, part).map((row) => row.time),
        [0, 2, 2.98, 3, 4, 6],
    );
});

test("keyframes are put, moved between their neighbours, and taken away", () => {
    let track = [];
    for (const time of [2, 0, 4, 2])
        track = page.withKeyframe(track, time, { x: time, y: 1, z: 0 });
    assert.deepEqual(
        track.map((row) => row.time),
        [0, 2, 4],
    );
    assert.equal(page.withKeyframeAt(track, 1, 9, 10)[1].time, 3.99);
    assert.equal(page.withKeyframeAt(track, 2, 99, 10)[2].time, 10);
    assert.deepEqual(
        page.withoutKeyframe(track, 1).map((row) => row.time),
        [0, 4],
    );
    const turns = [
        { time: 0, yaw: 170, pitch: 0, roll: 0 },
        { time: 1, yaw: -170, pitch: 20, roll: 0 },
    ];
    near(Math.abs(page.turnAt(turns, 0.5).yaw), 180);
    near(page.turnAt(turns, 7).pitch, 20);
});

test("undo goes back by steps, of which a drag is one", () => {
    const history = new page.History("a");
    history.push("b");
    for (const state of ["c", "d", "e"]) history.push(state, "drag");
    history.settle();
    history.push("f", "drag");
    const seen = [];
    while (history.canUndo) {
        history.undo();
        seen.push(history.present);
    }
    assert.deepEqual(seen, ["e", "b", "a"]);
    history.redo();
    assert.ok(history.canRedo);
    history.push("g");
    assert.ok(!history.canRedo);
    history.undo();
    assert.equal(history.present, "b");
});
