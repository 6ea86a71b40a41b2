// The WebAssembly module: its functions, and what goes in and out of its memory.

import { EarshotError } from "./errors.js";

/** Which of the two modules: "wasm" has vector instructions (simd128). Both give the same bits. */
export type InstructionSet = "wasm" | "scalar";

type EngineFunction =
    | "earshot_version"
    | "earshot_instruction_set"
    | "earshot_web_error"
    | "earshot_web_allocate"
    | "earshot_web_free"
    | "earshot_web_builtin_head"
    | "earshot_web_open_head"
    | "earshot_web_head_name"
    | "earshot_live_create"
    | "earshot_live_destroy"
    | "earshot_live_latency"
    | "earshot_live_block"
    | "earshot_live_input"
    | "earshot_live_input_words"
    | "earshot_live_places"
    | "earshot_live_output"
    | "earshot_live_output_words"
    | "earshot_live_silent"
    | "earshot_live_process"
    | "earshot_live_process_words"
    | "earshot_live_clipped"
    | "earshot_web_scene_parse"
    | "earshot_web_scene_free"
    | "earshot_web_scene_sources"
    | "earshot_web_scene_duration"
    | "earshot_web_scene_file"
    | "earshot_web_scene_channel"
    | "earshot_web_scene_entry"
    | "earshot_web_scene_heard"
    | "earshot_web_scene_play"
    | "earshot_web_scene_open"
    | "earshot_web_scene_frames"
    | "earshot_web_scene_read"
    | "earshot_web_scene_clipped"
    | "earshot_web_output_create"
    | "earshot_web_output_destroy"
    | "earshot_web_output_narrow"
    | "earshot_web_output_clipped"
    | "earshot_web_output_pack";

/** What the module exports: earshot_web.h tells what each function does. */
export type EngineExports = Record<EngineFunction, (...values: number[]) => number> & {
    readonly memory: WebAssembly.Memory;
    _initialize(): void;
};

// A function without arguments that returns a vector: where it is valid, vectors are known.
const VECTOR_PROBE = new Uint8Array([
    ...[0x00, 0x61, 0x73, 0x6d, 0x01, 0x00, 0x00, 0x00], // magic number and version
    ...[0x01, 0x05, 0x01, 0x60, 0x00, 0x01, 0x7b], // type: () -> v128
    ...[0x03, 0x02, 0x01, 0x00], // a function of that type
    ...[0x0a, 0x08, 0x01, 0x06, 0x00], // its code, without locals:
    ...[0x41, 0x00, 0xfd, 0x0f, 0x0b], // i32.const 0, i8x16.splat, end
]);

/** The faster module that this machine's WebAssembly can run. */
export function bestInstructionSet(): InstructionSet {
    return WebAssembly.validate(VECTOR_PROBE) ? "wasm" : "scalar";
}

/** The module at work. Pointers are addresses in its memory, whose views last until it grows. */
export class Engine {
    readonly exports: EngineExports;

    private constructor(
        instance: WebAssembly.Instance,
        /** The module's, for the audio thread to compile its own. */
        readonly bytes: Uint8Array<ArrayBuffer>,
    ) {
        this.exports = instance.exports as EngineExports;
        this.exports._initialize();
    }

    static async start(bytes: Uint8Array<ArrayBuffer>): Promise<Engine> {
        const { instance } = await WebAssembly.instantiate(bytes, {});
        return new Engine(instance, bytes);
    }

    bytesAt(pointer: number, count: number): Uint8Array<ArrayBuffer> {
        return new Uint8Array(this.#buffer, pointer >>> 0, count);
    }
    wordsAt(pointer: number, count: number): Int32Array<ArrayBuffer> {
        return new Int32Array(this.#buffer, pointer >>> 0, count);
    }
    floatsAt(pointer: number, count: number): Float32Array<ArrayBuffer> {
        return new Float32Array(this.#buffer, pointer >>> 0, count);
    }
    textAt(pointer: number): string {
        const all = new Uint8Array(this.#buffer, pointer >>> 0);
        return new TextDecoder().decode(all.subarray(0, all.indexOf(0)));
    }

    /** @throws EarshotError if there is no more memory. */
    allocate(count: number): number {
        // Nothing has the address 0, and an empty sound has one all the same.
        const pointer = this.exports.earshot_web_allocate(Math.max(count, 1));
        if (pointer === 0)
            throw new EarshotError(`${count} bytes: the module's memory has no room for them`);
        return pointer;
    }
    free(pointer: number): void {
        this.exports.earshot_web_free(pointer);
    }
    /** @throws EarshotError if there is no more memory. */
    copyOf(data: Uint8Array | Int32Array): number {
        const pointer = this.allocate(data.byteLength);
        this.bytesAt(pointer, data.byteLength).set(
            new Uint8Array(data.buffer, data.byteOffset, data.byteLength),
        );
        return pointer;
    }

    /**
     * What a call has returned, unless that is 0.
     * @throws EarshotError with the cause that the call has left.
     */
    checked(result: number): number {
        if (result === 0) throw this.error();
        return result;
    }
    error(): EarshotError {
        return new EarshotError(this.textAt(this.exports.earshot_web_error()));
    }

    get #buffer(): ArrayBuffer {
        return this.exports.memory.buffer;
    }
}
