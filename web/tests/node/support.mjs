// What the tests share: the package as it is built, sounds made of integers, and the tool.
import { execFileSync, spawnSync } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

import { load } from "../../package/dist/index.js";

export const PROJECT = new URL("../../../", import.meta.url);
export const INSTRUCTION_SETS = ["wasm", "scalar"];

/** The library with each of the two modules, loaded once. */
export const libraries = await Promise.all(
    INSTRUCTION_SETS.map((instructionSet) => load({ instructionSet })),
);

/** Noise, uniform, `level` bits below full scale: that of tests/scene/sounds.hpp. */
export function noise(length, seed, level = 2) {
    let state = BigInt(seed);
    return Int32Array.from({ length }, () => {
        state = BigInt.asUintN(64, state * 6364136223846793005n + 1442695040888963407n);
        return Number(BigInt.asIntN(32, state >> 32n)) >> level;
    });
}

/** With zeros below its upper 24 bits, as files have it. */
export function ofFile(sound) {
    return sound.map((word) => word & ~0xff);
}

/** The earshot tool, or undefined: then tests that compare with it are skipped. */
export const TOOL = process.env.EARSHOT_TOOL;
export const needsTool = { skip: TOOL ? false : "EARSHOT_TOOL does not name the earshot tool" };

export function tool(folder, ...args) {
    return execFileSync(TOOL, args, { cwd: folder, encoding: "utf-8", stdio: "pipe" });
}

/** What it says of that which it refuses. */
export function refusal(folder, ...args) {
    const { status, stderr } = spawnSync(TOOL, args, { cwd: folder, encoding: "utf-8" });
    return { status, text: stderr.replace(/^earshot: /, "").trimEnd() };
}

/** Work in a folder that is removed afterwards. */
export async function inFolder(work) {
    const folder = mkdtempSync(join(tmpdir(), "earshot-web-"));
    try {
        return await work(folder);
    } finally {
        rmSync(folder, { recursive: true });
    }
}
