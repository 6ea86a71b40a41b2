import { bestInstructionSet, Engine, type InstructionSet } from "./engine.js";
import { EarshotError, reasonOf } from "./errors.js";
import { type Head, LoadedHead, loadedHead } from "./heads.js";
import { OfflineRenderer } from "./offline.js";
import { Scene } from "./scene.js";

/** How the library is loaded. */
export interface LoadOptions {
    /** Which of the package's modules; that with vectors where they can run, unless given. */
    instructionSet?: InstructionSet;
    /** Instead, a module's bytes, or where they are. */
    module?: URL | string | ArrayBuffer | Uint8Array;
}

/** The library, with a memory of its own. */
export interface Earshot {
    /** Of the library, and the package. */
    readonly version: string;
    /** Of the module that was loaded. */
    readonly instructionSet: InstructionSet;
    /** That of KEMAR. */
    readonly builtinHead: Head;
    /**
     * Takes a head from the bytes of a file that `earshot head` has prepared.
     * @throws EarshotError if they are no head, or a damaged one.
     */
    loadHead(bytes: ArrayBuffer | Uint8Array): Head;
    /**
     * A renderer for sounds that arrive in blocks.
     * @throws EarshotError unless there are 1 to 256 sources.
     */
    offlineRenderer(options: { sources: number; head?: Head }): OfflineRenderer;
    /**
     * Reads a scene from its JSON text, whose tracks have to be in it, not in tables.
     * @throws EarshotError whose message names the place: "line 3, column 7: ...".
     */
    parseScene(text: string): Scene;
}

class LoadedEarshot implements Earshot {
    readonly version: string;
    readonly instructionSet: InstructionSet;
    readonly builtinHead: LoadedHead;

    constructor(readonly engine: Engine) {
        const { earshot_version, earshot_instruction_set } = engine.exports;
        this.version = engine.textAt(earshot_version());
        this.instructionSet = engine.textAt(earshot_instruction_set()) as InstructionSet;
        this.builtinHead = LoadedHead.builtin(engine);
    }

    loadHead(bytes: ArrayBuffer | Uint8Array): Head {
        return LoadedHead.of(this.engine, bytes);
    }

    offlineRenderer({
        sources,
        head = this.builtinHead,
    }: {
        sources: number;
        head?: Head;
    }): OfflineRenderer {
        return OfflineRenderer.of(this.engine, sources, loadedHead(head));
    }

    parseScene(text: string): Scene {
        return Scene.of(this.engine, this.builtinHead, text);
    }
}

/** @throws EarshotError if it is none that was loaded. */
export function engineOf(earshot: Earshot): Engine {
    if (!(earshot instanceof LoadedEarshot))
        throw new EarshotError("earshot: not what load() has returned");
    return earshot.engine;
}

/**
 * Loads the library, in pages, workers and node.
 * @throws EarshotError if the module cannot be read or is none.
 */
export async function load(options: LoadOptions = {}): Promise<Earshot> {
    const module = options.module ?? besideThis(options.instructionSet ?? bestInstructionSet());
    if (module instanceof URL || typeof module === "string")
        return naming(module, read(module).then(start));
    return naming("module", start(new Uint8Array(module).slice()));
}

// Written out, so that bundlers find them.
function besideThis(instructionSet: InstructionSet): URL {
    return instructionSet === "wasm"
        ? new URL("./earshot.wasm", import.meta.url)
        : new URL("./earshot-scalar.wasm", import.meta.url);
}

async function start(bytes: Uint8Array<ArrayBuffer>): Promise<Earshot> {
    return new LoadedEarshot(await Engine.start(bytes));
}

async function naming<T>(what: URL | string, work: Promise<T>): Promise<T> {
    try {
        return await work;
    } catch (error) {
        throw new EarshotError(`${String(what)}: ${reasonOf(error)}`, { cause: error });
    }
}

async function read(place: URL | string): Promise<Uint8Array<ArrayBuffer>> {
    if (isFile(place)) {
        const files = "node:fs/promises"; // a page's bundler need not look for it
        const { readFile } = (await import(/* @vite-ignore */ /* webpackIgnore: true */ files)) as {
            readFile(file: URL | string): Promise<Uint8Array>;
        };
        return new Uint8Array(await readFile(place));
    }
    const response = await fetch(place);
    if (!response.ok) throw new Error(`${response.status} ${response.statusText}`.trimEnd());
    return new Uint8Array(await response.arrayBuffer());
}

/** Whether to read it from the disk: in node, anything without a protocol of its own. */
function isFile(place: URL | string): boolean {
    const { process } = globalThis as { process?: { versions?: { node?: string } } };
    if (!process?.versions?.node) return false;
    return place instanceof URL ? place.protocol === "file:" : !/^\w{2,}:/.test(place);
}
