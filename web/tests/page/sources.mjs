// The page's modules that know no browser, as one that node can import.
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";

import { build } from "esbuild";

const MODULES = [
    "model/geometry",
    "model/track",
    "model/scene",
    "model/history",
    "model/json",
    "recorder",
    "files/wav",
    "sounds/sound",
    "sounds/instruments",
    "sounds/presets",
];

const source = fileURLToPath(new URL("../../page/src/", import.meta.url));
const folder = mkdtempSync(join(tmpdir(), "earshot-page-"));
const outfile = join(folder, "page.mjs");
const contents = MODULES.map((name) => `export * from "./${name}";`).join("\n");
await build({ stdin: { contents, resolveDir: source }, bundle: true, format: "esm", outfile });
const page = await import(pathToFileURL(outfile).href);
rmSync(folder, { recursive: true });
export default page;

/** Numbers from 0 to 1, the same in every run. */
export function random(seed) {
    let state = seed;
    return () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return state / 2 ** 32;
    };
}
