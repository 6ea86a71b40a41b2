// A scene and its sounds as one ZIP file, which the page and, unpacked, the tool read.

import { type Earshot, encodeWav, type Head } from "earshot";
import { strFromU8, strToU8, unzipSync, zipSync, type Zippable } from "fflate";

import { fileOfName, fromText, toText } from "../model/json";
import type { Scene } from "../model/scene";
import { readSound } from "./decode";

const MOST_BYTES = 1 << 30;

export const SCENE_FILE = "scene.json";

export const fileNames = (scene: Scene) =>
    scene.sources.map((source, k) => fileOfName(source.name, k));
export const headFile = (head: Head) =>
    `${head.name.replace(/[^\w.-]+/g, "-").replace(/\.head$/, "") || "own"}.head`;

/** What to type to have the same WAV, and the digest that the page shows. */
export function command(head: Head): string {
    const ears = head.bytes ? ` --head scene/${headFile(head)}` : "";
    return `earshot render scene/scene.json${ears} -o out.wav --digest`;
}

function readme(head: Head): string {
    return [
        "A scene for earshot: scene.json says what is heard from where, sounds/ has the sounds.",
        "",
        "Unpack it into a folder named scene, and next to that:",
        "",
        `    ${command(head)}`,
        "",
        "This writes the WAV file that the page renders, and prints the digest that it shows.",
        "The page opens this ZIP file again: drop it there.",
        "",
    ].join("\n");
}

/** `samples` are those of the scene's sources, in their order. */
export function pack(
    scene: Scene,
    samples: readonly Int32Array[],
    head: Head,
): Uint8Array<ArrayBuffer> {
    const names = fileNames(scene);
    const files: Zippable = {
        [SCENE_FILE]: strToU8(toText(scene, names)),
        "README.txt": strToU8(readme(head)),
    };
    names.forEach((name, k) => (files[name] = encodeWav([samples[k]!])));
    if (head.bytes) files[headFile(head)] = head.bytes;
    return zipSync(files, { level: 0 }) as Uint8Array<ArrayBuffer>;
}

export interface Unpacked {
    readonly scene: Scene;
    readonly samples: Int32Array[];
    readonly head: Uint8Array | null;
}

function unpackFiles(bytes: Uint8Array): Record<string, Uint8Array> {
    let size = 0;
    const filter = (file: { originalSize: number }) => (size += file.originalSize) <= MOST_BYTES;
    let files: Record<string, Uint8Array>;
    try {
        files = unzipSync(bytes, { filter });
    } catch {
        throw new Error("it is damaged, or no ZIP file");
    }
    if (size > MOST_BYTES) throw new Error("it has more than 1 GiB");
    return files;
}

/** The scene of a ZIP file, wherever in it scene.json is. Errors say what is wrong. */
export async function unpack(bytes: Uint8Array, earshot: Earshot): Promise<Unpacked> {
    const files = unpackFiles(bytes);
    const path = Object.keys(files).find(
        (name) => name === SCENE_FILE || name.endsWith(`/${SCENE_FILE}`),
    );
    if (path === undefined) throw new Error(`it has no ${SCENE_FILE}`);
    const text = strFromU8(files[path]!);
    try {
        earshot.parseScene(text).free();
    } catch (error) {
        throw new Error(`${SCENE_FILE}: ${error instanceof Error ? error.message : String(error)}`);
    }
    const folder = path.slice(0, path.length - SCENE_FILE.length);
    const { scene, parts } = fromText(text);
    const samples: Int32Array[] = [];
    for (const { file, channel } of parts) {
        const found = files[folder + file];
        if (!found) throw new Error(`${SCENE_FILE} names ${file}, which is not in it`);
        try {
            samples.push((await readSound(found, channel)).samples);
        } catch (error) {
            throw new Error(`${file}: ${error instanceof Error ? error.message : String(error)}`);
        }
    }
    const head = Object.entries(files).find(([name]) => name.endsWith(".head"))?.[1] ?? null;
    return { scene, samples, head };
}
