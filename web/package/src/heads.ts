import type { Engine } from "./engine.js";
import { EarshotError } from "./errors.js";

/** Whose ears listen: the built-in head, or one that `earshot head` has prepared. */
export interface Head {
    /** What was measured. */
    readonly name: string;
    /** A copy of the bytes of its file; null: the built-in one, which has none. */
    readonly bytes: Uint8Array<ArrayBuffer> | null;
    /**
     * Gives its memory back, at the latest when nothing that was made with it is at work any more.
     * Nothing can be made with it afterwards. The built-in head stays.
     */
    free(): void;
}

/** A head in an engine's memory. */
export class LoadedHead implements Head {
    readonly name: string;
    #users = 0;
    #freed = false;

    private constructor(
        private readonly engine: Engine,
        private readonly pointer: number,
        private readonly content: { readonly pointer: number; readonly size: number } | null,
    ) {
        this.name = engine.textAt(engine.exports.earshot_web_head_name(pointer));
    }

    static builtin(engine: Engine): LoadedHead {
        const pointer = engine.checked(engine.exports.earshot_web_builtin_head());
        return new LoadedHead(engine, pointer, null);
    }

    static of(engine: Engine, bytes: ArrayBuffer | Uint8Array): LoadedHead {
        const size = bytes.byteLength;
        const copy = engine.copyOf(bytes instanceof Uint8Array ? bytes : new Uint8Array(bytes));
        const pointer = engine.exports.earshot_web_open_head(copy, size);
        if (pointer === 0) {
            const reason = engine.error().message;
            engine.free(copy);
            throw new EarshotError(`head: ${reason}`);
        }
        return new LoadedHead(engine, pointer, { pointer: copy, size });
    }

    get bytes(): Uint8Array<ArrayBuffer> | null {
        this.#checkAlive();
        return this.content && this.engine.bytesAt(this.content.pointer, this.content.size).slice();
    }

    free(): void {
        if (this.content === null || this.#freed) return;
        this.#freed = true;
        this.#freeUnused();
    }

    /** Its address, for a user in the same engine who gives it back by `release`. */
    use(engine: Engine): number {
        this.#checkAlive();
        if (engine !== this.engine)
            throw new EarshotError(`head ${this.name}: another module has loaded it`);
        ++this.#users;
        return this.pointer;
    }
    release(): void {
        --this.#users;
        this.#freeUnused();
    }

    #checkAlive(): void {
        if (this.#freed) throw new EarshotError(`head ${this.name}: it has been freed`);
    }
    #freeUnused(): void {
        if (this.#freed && this.#users === 0 && this.content)
            this.engine.free(this.content.pointer);
    }
}

/** @throws EarshotError if it is none that was loaded. */
export function loadedHead(head: Head): LoadedHead {
    if (!(head instanceof LoadedHead))
        throw new EarshotError("head: neither builtinHead nor what loadHead has returned");
    return head;
}
