// What is published: which files, how large, and that it works where it is installed.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { cpSync, mkdirSync, readFileSync, realpathSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";

import { libraries, inFolder, INSTRUCTION_SETS, PROJECT } from "./support.mjs";

const WEB = fileURLToPath(new URL("web/", PROJECT));
const PACKAGE = join(WEB, "package");
const read = (...names) => readFileSync(join(...names), "utf-8");
const run = (folder, program, ...args) =>
    execFileSync(program, args, { cwd: folder, encoding: "utf-8", stdio: "pipe" });
const node = (folder, ...args) => run(folder, process.execPath, ...args);

// The compiler has been run: what is built is tested, not what would be.
node(PACKAGE, "prepack.mjs");
const pack = (folder, ...args) =>
    JSON.parse(run(folder, "npm", "pack", PACKAGE, "--json", "--ignore-scripts", ...args))[0];

test("a module, which has the built-in head in it, is small when it is compressed", (t) => {
    for (const suffix of ["", "-scalar"]) {
        const bytes = readFileSync(join(PACKAGE, "dist", `earshot${suffix}.wasm`));
        const size = gzipSync(bytes, { level: 9 }).length;
        t.diagnostic(`earshot${suffix}.wasm: ${bytes.length} bytes, ${size} with gzip -9`);
        assert.ok(size <= 1.3e6, `${size} bytes`);
        assert.deepEqual(WebAssembly.Module.imports(new WebAssembly.Module(bytes)), []);
    }
});

test("the tarball has the files that belong there, and no more", () => {
    const modules = ["earshot", "engine", "errors", "heads", "index", "node", "offline", "scene",
        "wav", "worklet"];
    const expected = ["LICENSE", "NOTICE", "README.md", "package.json",
        ...modules.flatMap((name) => [`dist/${name}.js`, `dist/${name}.d.ts`]),
        ...INSTRUCTION_SETS.map((name) =>
            name === "wasm" ? "dist/earshot.wasm" : "dist/earshot-scalar.wasm")];
    const found = pack(PACKAGE, "--dry-run").files.map(({ path }) => path);
    assert.deepEqual(found.sort(), expected.sort());
});

test("its version is that of the project; it depends on one package and runs nothing", () => {
    const { version, dependencies, scripts } = JSON.parse(read(PACKAGE, "package.json"));
    assert.equal(libraries[0].version, version);
    assert.match(read(fileURLToPath(PROJECT), "CMakeLists.txt"),
        new RegExp(`project\\(earshot VERSION ${version} `));
    assert.deepEqual(Object.keys(dependencies), ["@noble/hashes"]);
    assert.deepEqual(Object.keys(scripts).filter((name) => /install|^prepare$/.test(name)), []);
});

/** The tarball beside what it depends on, in a folder of its own. */
function install(folder) {
    const target = join(folder, "node_modules", "earshot");
    mkdirSync(target, { recursive: true });
    const { filename } = pack(folder, "--pack-destination", folder);
    run(folder, "tar", "xzf", filename, "--strip-components=1", "-C", target);
    const noble = join(WEB, "node_modules", "@noble", "hashes");
    cpSync(noble, join(folder, "node_modules", "@noble", "hashes"), { recursive: true });
    writeFileSync(join(folder, "package.json"), '{"type": "module"}');
    return target;
}

test("it works where it is installed, and so do the manual's examples", () =>
    inFolder((folder) => {
        const installed = install(folder);
        const examples = [...read(installed, "README.md").matchAll(/^```ts\n([^]*?)^```$/gm)];
        assert.equal(examples.length, 4);
        const files = examples.map(([, text], k) => {
            writeFileSync(join(folder, `example${k}.ts`), text);
            return `example${k}.ts`;
        });
        const tsc = join(WEB, "node_modules", "typescript", "bin", "tsc");
        try {
            node(folder, tsc, "--strict", "--module", "es2022", "--target", "es2022", "--lib",
                "es2022,dom,dom.iterable", "--moduleResolution", "bundler", ...files);
        } catch (error) {
            assert.fail(error.stdout);
        }
        // Blocks and a scene need no page.
        const said = ["example1.js", "example2.js"].map((name) => node(folder, name));
        assert.match(said.join(""), /^100 %$/m);
        const { resolve } = createRequire(join(folder, "example.js"));
        for (const file of ["worklet.js", "earshot.wasm", "earshot-scalar.wasm"])
            assert.equal(resolve(`earshot/${file}`), realpathSync(join(installed, "dist", file)));
    }));
