// WAV files, byte for byte those of the tool.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";

import { EarshotError, encodeWav } from "../../package/dist/index.js";
import { inFolder, libraries, needsTool, noise, ofFile, refusal, TOOL, tool } from "./support.mjs";

const SOUNDS = {
    "left.wav": ofFile(noise(7001, 21)),
    "right.wav": ofFile(noise(9000, 22, 3)),
    "noise.wav": ofFile(noise(4001, 23, 4)),
};
const rolloff = { model: "inverse", minimum: 1, maximum: 60 };

/** Two people and a car, who pass a listener who turns. */
const STREET = {
    version: 1,
    duration: 1.7,
    listener: { position: [0, 0, 1.7], orientation_track: [[0, 0, 0, 0], [1.5, -60, 5, 2]] },
    sources: [
        { file: "left.wav", loop: true, gain: 6, rolloff,
          track: [[0, 2, 9, 1.7], [1.7, 2, -9, 1.7]] },
        { file: "right.wav", loop: true, start: 0.7, gain: 9, rolloff,
          track: [[0, 7, -6, 1.7], [0.5, 7, -1, 1.7], [0.8, 7, -1, 1.7], [1.7, 7, 8, 1.7]] },
        { file: "noise.wav", loop: true, dc_block: true, gain: 10, rolloff,
          track: [[0, 4.5, 50, 0.5], [1.7, 4.5, -70, 0.5]] },
        { file: "left.wav", start: 0.2, direction: [-120, 30], gain: -3.25 },
    ],
};
/** The same until it is over, much too loud. */
const LOUD = { ...STREET, sources: STREET.sources.map((source) =>
    ({ ...source, loop: false, gain: 24 })), duration: undefined };

/** The scene and its sounds as files. */
function exported(folder, scene) {
    for (const [name, sound] of Object.entries(SOUNDS))
        writeFileSync(join(folder, name), encodeWav([sound]));
    writeFileSync(join(folder, "scene.json"), JSON.stringify(scene));
}

/** What differs, without printing whole files. */
function assertSameBytes(found, expected, what) {
    assert.equal(found.length, expected.length, what);
    const at = found.findIndex((byte, i) => byte !== expected[i]);
    assert.equal(at, -1, `${what}: byte ${at} of ${found.length}`);
}

function toolRender(folder, bits, dither) {
    const args = ["render", "scene.json", "-o", "out.wav", "--digest", "--bits", `${bits}`];
    const made = spawnSync(TOOL, dither ? args : [...args, "--no-dither"],
        { cwd: folder, encoding: "utf-8" });
    const said = made.stderr.match(/(\d+) samples clipped at full scale/);
    return { line: made.stdout.trim(), clipped: said ? Number(said[1]) : 0 };
}

test("scenes are rendered to the tool's files", needsTool, async () =>
    inFolder(async (folder) => {
        for (const [name, content] of Object.entries({ street: STREET, loud: LOUD })) {
            exported(folder, content);
            for (const bits of [16, 24, 32])
                for (const dither of [true, false]) {
                    const { line, clipped } = toolRender(folder, bits, dither);
                    const file = readFileSync(join(folder, "out.wav"));
                    for (const library of libraries) {
                        const scene = library.parseScene(JSON.stringify(content));
                        const sounds = scene.sources.map(({ file }) => SOUNDS[file]);
                        const made = await scene.render(sounds, { bits, dither });
                        scene.free();
                        const what = `${name}, ${bits} bits, ${library.instructionSet}`;
                        assertSameBytes(made.wav, file, what);
                        assert.equal(`${made.digest}  out.wav`, line, what);
                        assert.equal(made.wav.length, 44 + (made.frames * 2 * bits) / 8);
                        assert.equal(made.clipped, clipped, what);
                        assert.equal(clipped > 0, name === "loud");
                        assert.ok(name === "loud" ? made.peak > 0.999 : made.peak < 0.9);
                    }
                }
        }
    }));

test("what is no scene is refused in the tool's words", needsTool, async () =>
    inFolder(async (folder) => {
        exported(folder, STREET);
        const street = JSON.stringify(STREET);
        const texts = ["{", "[]", '{"version": 2, "sources": []}', street.replace("{", '{"x": 1,'),
            street.replace("60", "1e999"), street.replace("1.7", "-1"),
            street.replace('"gain":6', '"gain":61')];
        for (const text of texts) {
            writeFileSync(join(folder, "scene.json"), text);
            const expected = refusal(folder, "render", "scene.json", "-o", "out.wav");
            assert.throws(() => libraries[0].parseScene(text), (error) => {
                assert.equal(`scene.json: ${error.message}`, expected.text);
                return true;
            });
        }
    }));

/** What the tool reads in a file, as words. */
function wordsIn(folder, name, channel) {
    const place = `${name}${channel ? `:${channel}` : ""}@0,0`;
    return tool(folder, "encode", "-s", place, "--order", "1", "-o", "field.wav", "--bits", "32",
        "--digest", "-q");
}

test("files of sounds are read as what went into them", needsTool, async () =>
    inFolder((folder) => {
        const sound = noise(333, 9, 0); // an odd number of bytes, and full scale
        const write = (name, channels, bits) =>
            writeFileSync(join(folder, name), encodeWav(channels, bits));
        const four = [noise(333, 1), noise(333, 2), sound, noise(333, 3)].map(ofFile);
        write("one.wav", [ofFile(sound)], 24);
        write("four.wav", four, 24);
        assert.equal(wordsIn(folder, "one.wav"), wordsIn(folder, "four.wav", 3));
        write("wide.wav", [ofFile(sound)], 32);
        assert.equal(wordsIn(folder, "one.wav"), wordsIn(folder, "wide.wav"));
        for (const [name, channels] of [["one.wav", 1], ["four.wav", 4]])
            assert.match(tool(folder, "info", name),
                new RegExp(`^format +WAV, 24-bit\nchannels +${channels}\n(.*\n)+frames +333\n`));
    }));

test("samples are rounded and clipped to a file's bits", () => {
    const words = [0, 0x7fff, 0x8000, -0x8000, -0x8001, 0x7fffffff, -0x80000000, 0x7fff7fff];
    const samples = (bits) => {
        const view = new DataView(encodeWav([Int32Array.from(words)], bits).buffer, 44);
        return words.map((_, k) => bits === 16 ? view.getInt16(2 * k, true)
            : view.getUint8(3 * k) + 256 * view.getInt16(3 * k + 1, true));
    };
    assert.deepEqual(samples(16), [0, 0, 1, 0, -1, 32767, -32768, 32767]);
    assert.deepEqual(samples(24),
        [0, 128, 128, -128, -128, 8388607, -8388608, 8388480]);
    for (const [channels, bits] of [[[], 24], [[new Int32Array(2), new Int32Array(3)], 24],
                                    [[new Int32Array(2)], 8]])
        assert.throws(() => encodeWav(channels, bits), EarshotError);
});
