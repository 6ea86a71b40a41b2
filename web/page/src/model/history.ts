// Undo and redo over states that are never changed.

export class History<State> {
    #past: State[] = [];
    #future: State[] = [];
    #present: State;
    #key: unknown = undefined;

    constructor(
        present: State,
        private readonly most = 200,
    ) {
        this.#present = present;
    }

    get present(): State {
        return this.#present;
    }
    get canUndo(): boolean {
        return this.#past.length > 0;
    }
    get canRedo(): boolean {
        return this.#future.length > 0;
    }

    /** The next state. Changes in a row with the same key, those of a drag, are one step. */
    push(state: State, key?: unknown): void {
        if (state === this.#present) return;
        if (key === undefined || key !== this.#key) {
            this.#past.push(this.#present);
            if (this.#past.length > this.most) this.#past.shift();
        }
        this.#future = [];
        this.#key = key;
        this.#present = state;
    }

    /** What there is to begin with: nothing came before it. */
    begin(state: State): void {
        this.#past = [];
        this.#future = [];
        this.#key = undefined;
        this.#present = state;
    }

    /** What comes next is a step of its own. */
    settle(): void {
        this.#key = undefined;
    }

    undo(): void {
        this.#step(this.#past, this.#future);
    }
    redo(): void {
        this.#step(this.#future, this.#past);
    }

    #step(from: State[], to: State[]): void {
        const state = from.pop();
        if (state === undefined) return;
        to.push(this.#present);
        this.#present = state;
        this.#key = undefined;
    }
}
