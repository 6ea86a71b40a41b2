// Where the module comes from, and heads.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { fileURLToPath, pathToFileURL } from "node:url";

import { EarshotError, load } from "../../package/dist/index.js";
import { inFolder, libraries, noise, PROJECT, TOOL, tool } from "./support.mjs";

const MODULE = new URL("../../package/dist/earshot-scalar.wasm", import.meta.url);

test("the module is taken from anywhere", async () => {
    const bytes = readFileSync(MODULE);
    const padded = new Uint8Array([1, 2, 3, ...bytes]).subarray(3);
    const data = `data:application/wasm;base64,${bytes.toString("base64")}`;
    const alone = padded.slice().buffer;
    for (const module of [MODULE, fileURLToPath(MODULE), bytes, padded, alone, data]) {
        const library = await load({ module });
        assert.equal(library.instructionSet, "scalar");
        assert.equal(library.builtinHead.name, libraries[0].builtinHead.name);
    }
    // This machine's node has vectors.
    assert.equal((await load()).instructionSet, "wasm");
});

test("what is no module is refused by name", async () =>
    inFolder(async (folder) => {
        const broken = join(folder, "broken.wasm");
        writeFileSync(broken, readFileSync(MODULE).subarray(0, 5000));
        for (const module of [join(folder, "none.wasm"), broken, pathToFileURL(broken)])
            await assert.rejects(load({ module }), (error) => {
                assert.ok(error instanceof EarshotError);
                assert.ok(error.message.startsWith(`${module}: `), error.message);
                return true;
            });
        await assert.rejects(load({ module: new ArrayBuffer(9) }), EarshotError);
    }));

const python = ["/usr/bin/python3", "python3"].find((program) =>
    spawnSync(program, ["-c", "import h5py, numpy"]).status === 0);
const skip = !TOOL ? "EARSHOT_TOOL does not name the earshot tool"
    : !python ? "there is no h5py to make a measurement with" : false;

/** A head file, made by the tool of a measurement of a round head. */
function makeHead(folder) {
    const make = `
import sys
sys.path.insert(0, sys.argv[1])
import sofa
directions = sofa.grid(60)
sofa.write("me.sofa", directions, sofa.responses(directions, 48000, 128))`;
    const tests = fileURLToPath(new URL("tests/tool", PROJECT));
    execFileSync(python, ["-c", make, tests], { cwd: folder });
    tool(folder, "head", "me.sofa", "-o", "me.head", "--name", "round, söft", "-q");
    return readFileSync(join(folder, "me.head"));
}

test("heads that the tool has prepared are heard, damaged ones refused", { skip }, async () =>
    inFolder(async (folder) => {
        const bytes = makeHead(folder);
        const sound = noise(4800, 3);
        const digests = [];
        for (const library of libraries) {
            const head = library.loadHead(bytes);
            assert.equal(head.name, "round, söft");
            assert.deepEqual(head.bytes, new Uint8Array(bytes));
            assert.equal(library.builtinHead.bytes, null);

            const renderer = library.offlineRenderer({ sources: 1, head });
            const builtin = library.offlineRenderer({ sources: 1 });
            for (const each of [renderer, builtin]) each.place(0, { azimuth: 50 });
            assert.notDeepEqual(renderer.process([sound]), builtin.process([sound]));

            const scene = library.parseScene(
                '{"version": 1, "sources": [{"file": "a", "direction": [50, 0]}]}');
            digests.push((await scene.render([sound], { head })).digest);
            // It stays for what was made with it, and for nothing else.
            head.free();
            assert.throws(() => head.bytes, /freed/);
            assert.throws(() => library.offlineRenderer({ sources: 1, head }), /freed/);
            library.loadHead(bytes);
            renderer.process([sound]);
            renderer.free();
        }
        assert.equal(digests[0], digests[1]);

        const flipped = (at) => bytes.map((byte, i) => (i === at ? byte ^ 4 : byte));
        const damaged = [bytes.subarray(0, bytes.length - 4), bytes.subarray(0, 3),
            new Uint8Array(0), flipped(0), flipped(40), flipped(bytes.length >> 1),
            flipped(bytes.length - 1)];
        for (const content of damaged)
            for (const library of libraries)
                assert.throws(() => library.loadHead(content), (error) => {
                    assert.ok(error instanceof EarshotError);
                    assert.match(error.message, /^head: .*damaged.*'earshot head'/);
                    return true;
                });
    }));
