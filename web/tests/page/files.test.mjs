import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import test from "node:test";
import { fileURLToPath } from "node:url";

import page from "./sources.mjs";

const SCHEMA = fileURLToPath(new URL("../../../docs/scene.schema.json", import.meta.url));
const VALIDATE = `
import json, sys, jsonschema
scenes = json.load(sys.stdin)
validator = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))
print(json.dumps([[e.message for e in validator.iter_errors(s)] for s in scenes]))`;

/** What docs/scene.schema.json finds wrong with each scene. */
function complaints(scenes) {
    const run = spawnSync("python3", ["-c", VALIDATE, SCHEMA], { input: JSON.stringify(scenes) });
    assert.equal(run.status, 0, String(run.stderr));
    return JSON.parse(String(run.stdout));
}

const names = (scene) => scene.sources.map((source, k) => page.fileOfName(source.name, k));
const asText = (scene) => page.toText(scene, names(scene));

const mixed = {
    ...page.EMPTY,
    head: { yaw: -30.5, pitch: 2, roll: 0 },
    sources: [
        page.makeSource({ id: 1, name: 'A/"B"', sound: 0, gain: -3.5, loop: false, start: 1.25 }),
        page.makeSource({
            id: 2,
            name: "Two",
            sound: 1,
            rolloff: null,
            position: { x: -1, y: 0.001, z: 3 },
        }),
        page.makeSource({ id: 3, name: "3", sound: 2, track: [{ time: 0.5, x: 1, y: 0, z: 0 }] }),
    ],
};

test("scenes are what the schema asks for, and come back as they were", () => {
    const scenes = [mixed, ...page.PRESETS.map((preset) => preset.scene)];
    const texts = scenes.map(asText);
    const wrong = complaints([
        ...texts.map((text) => JSON.parse(text)),
        { version: 1, sources: [] },
    ]);
    assert.ok(wrong.pop().length > 0, "the schema refuses a scene without sources");
    assert.deepEqual(
        wrong,
        scenes.map(() => []),
    );
    scenes.forEach((scene, k) => {
        const { scene: back, parts } = page.fromText(texts[k]);
        const expected = scene.sources.map((source, n) => ({
            ...source,
            id: n + 1,
            sound: n,
            name: source.name.replace(/[/"]/g, " ").replace(/\s+/g, " ").trim(),
            position: source.track.length > 0 ? back.sources[n].position : source.position,
        }));
        const head = scene.headTrack.length > 0 ? page.AHEAD : scene.head;
        assert.deepEqual(back, { ...scene, head, sources: expected });
        assert.deepEqual(
            parts.map((part) => part.file),
            names(scene),
        );
    });
});

test("what the page has no place for is refused by name", () => {
    const source = { file: "a.wav", position: [1, 0, 0] };
    const cases = [
        [{ sources: [{ file: "a.wav", layout: "5.1" }] }, /sources\[0\] has a layout/],
        [{ sources: [source, { file: "a.wav", track: [[0, 90, 0]] }] }, /sources\[1\]\.track/],
        [{ sources: [{ file: "a.wav", track: "way.csv" }] }, /table/],
        [{ listener: { position: [0, 0, 1] }, sources: [source] }, /origin/],
        [{ listener: { orientation_track: [[0, 1, 0, 0, 0]] }, sources: [source] }, /quaternions/],
    ];
    for (const [json, said] of cases)
        assert.throws(() => page.fromText(JSON.stringify(json)), said);
    const north = page.fromText(
        JSON.stringify({ sources: [{ file: "b/c d.flac", direction: [90, 0] }] }),
    ).scene;
    assert.equal(page.describe(north.sources[0].position), "90 degrees left, 2.0 m");
    assert.equal(north.sources[0].name, "c d");
});

test("exports leave out what is not heard, and the microphone, and say so", () => {
    const source = (id, change) => page.makeSource({ id, name: `s${id}`, sound: id, ...change });
    const kept = (sources) => page.exported({ ...page.EMPTY, sources }).sources.map((s) => s.id);
    assert.deepEqual(kept([source(1), source(2, { mute: true }), source(3, { sound: null })]), [1]);
    assert.deepEqual(
        kept([source(1), source(2, { solo: true }), source(3, { solo: true, mute: true })]),
        [2],
    );
    const said = page.leftOut({
        ...page.EMPTY,
        sources: [source(1), source(2, { mute: true }), source(3, { sound: null })],
    });
    assert.equal(said.length, 2);
    assert.match(said[1], /s3.*microphone/);
});

/** A WAV file of one chunk more than it needs, whose size is odd. */
function wav(kind, bits, channels, rate, write) {
    const data = write();
    const bytes = Buffer.alloc(54 + data.length);
    bytes.write("RIFF", 0);
    bytes.writeUInt32LE(46 + data.length, 4);
    bytes.write("WAVEfmt ", 8);
    bytes.writeUInt32LE(16, 16);
    [kind, channels].forEach((value, k) => bytes.writeUInt16LE(value, 20 + 2 * k));
    bytes.writeUInt32LE(rate, 24);
    bytes.writeUInt16LE((channels * bits) / 8, 32);
    bytes.writeUInt16LE(bits, 34);
    bytes.write("note", 36);
    bytes.writeUInt32LE(1, 40);
    bytes.write("data", 46);
    bytes.writeUInt32LE(data.length, 50);
    data.copy(bytes, 54);
    return new Uint8Array(bytes);
}

test("WAV files of PCM at 48 kHz are read exactly", () => {
    const s16 = wav(1, 16, 2, 48000, () => Buffer.from(Int16Array.of(1, -32768, 32767, -2).buffer));
    assert.deepEqual(
        page.readWav(s16).map((c) => [...c]),
        [
            [65536, 32767 * 65536],
            [-(2 ** 31), -131072],
        ],
    );
    const s24 = wav(1, 24, 1, 48000, () =>
        Buffer.from([1, 0, 0, 255, 255, 255, 0, 0, 128, 255, 255, 127]),
    );
    assert.deepEqual([...page.readWav(s24)[0]], [256, -256, -(2 ** 31), 2 ** 31 - 256]);
    const f32 = wav(3, 32, 1, 48000, () => Buffer.from(Float32Array.of(0.5, -1, 2, NaN).buffer));
    assert.deepEqual([...page.readWav(f32)[0]], [2 ** 30, -(2 ** 31), 2 ** 31 - 256, 0]);
    const other = wav(1, 16, 1, 44100, () => Buffer.alloc(8));
    for (const bytes of [
        other,
        new Uint8Array(0),
        s16.subarray(0, 45),
        new TextEncoder().encode("RIFF"),
    ]) {
        assert.equal(page.readWav(bytes), null);
    }
    assert.deepEqual(
        [...page.mixed([Int32Array.of(256, -512), Int32Array.of(768, 256)])],
        [512, 0],
    );
});

test("the page's own sounds loop without a click, are loud enough and not too loud", () => {
    for (const instrument of page.INSTRUMENTS) {
        const samples = page.play(instrument);
        let step = 0;
        let peak = 0;
        for (let k = 1; k < samples.length; ++k) {
            step = Math.max(step, Math.abs(samples[k] - samples[k - 1]));
            peak = Math.max(peak, Math.abs(samples[k]));
        }
        assert.ok(peak > 0.3 * 2 ** 31 && peak < 0.8 * 2 ** 31, `${instrument}: peak`);
        assert.ok(
            Math.abs(samples[0] - samples[samples.length - 1]) <= 1.5 * step,
            `${instrument}: seam`,
        );
        assert.ok(
            samples.every((word) => word % 256 === 0),
            `${instrument}: 24 bits`,
        );
    }
    assert.deepEqual(page.play("Drums"), page.play("Drums"));
});
