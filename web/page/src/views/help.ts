// Keys, and what runs here.

import type { Session } from "../session";
import { dialog } from "./dialog";
import { html, memory, setText } from "./dom";

const KEYS: [string, [string, string][]][] = [
    [
        "A source (Tab goes to it, or its number)",
        [
            ["← →", "turn it around the head, by 5°"],
            ["↑ ↓", "farther, nearer, by 0.25 m"],
            ["Page Up, Down", "higher, lower, by 5°"],
            ["Shift", "with these: small steps"],
            ["+ −", "louder, softer"],
            ["M, S", "mute, solo"],
            ["Enter", "choose it, as every key here does"],
            ["Delete", "remove it"],
        ],
    ],
    [
        "The head (Tab goes to its nose)",
        [
            ["← →", "turn it, by 5°, with Shift by 1°"],
            ["Home", "to the front"],
        ],
    ],
    [
        "Time",
        [
            ["Space", "listen, pause"],
            ["R", "record what the chosen source is made to do"],
            ["K", "a keyframe where the chosen source is"],
            ["← →", "on the playhead: by 1 s, with Shift by 0.1 s"],
            ["← →", "on a keyframe: move it by 0.1 s, with Shift by 0.01 s"],
            ["↑ ↓", "on a keyframe: to the next one, the one before"],
            ["Enter, Delete", "on a keyframe: go there, delete it"],
        ],
    ],
    [
        "Everywhere",
        [
            ["Ctrl Z", "undo; with Shift: redo"],
            ["1 to 9", "to a source"],
            ["?", "this help"],
        ],
    ],
];

/** Whether keys of one letter do anything; people who speak to their computer turn them off. */
export const letters = { on: memory.get("letters") !== "off" };

export class Help {
    readonly #dialog: HTMLDialogElement;
    readonly #facts = html("dl", { class: "facts", id: "facts" });
    #timer = 0;

    constructor(private readonly session: Session) {
        const keys = KEYS.map(([title, rows]) => {
            const list = html("dl", { class: "keys" });
            for (const [key, what] of rows)
                list.append(
                    html("div", {}, html("dt", {}, html("kbd", {}, key)), html("dd", {}, what)),
                );
            return html("section", {}, html("h3", {}, title), list);
        });
        const single = html("input", { type: "checkbox", id: "letters" });
        single.checked = letters.on;
        single.addEventListener("change", () => {
            letters.on = single.checked;
            memory.set("letters", letters.on ? "on" : "off");
        });
        this.#dialog = dialog(
            "Help",
            "help-dialog",
            html(
                "p",
                {},
                "Put headphones on. Drag sources around the head, in the view from above or, for their height, from the side. Drop sound files anywhere. A file of several channels is mixed to one: it sounds from one place.",
            ),
            html(
                "p",
                {},
                "A source moves along its keyframes: pause, go to a time and drag it; or choose it, press Record and drag it while it plays.",
            ),
            html("div", { class: "key-grid" }, ...keys),
            html(
                "label",
                { class: "check" },
                single,
                "Keys of a single letter or digit do something",
            ),
            html("h3", {}, "What runs here"),
            this.#facts,
        );
        this.#dialog.addEventListener("close", () => clearInterval(this.#timer));
    }

    open(): void {
        void this.#show();
        this.#timer = window.setInterval(() => void this.#show(), 1000);
        this.#dialog.showModal();
    }

    async #show(): Promise<void> {
        const { earshot, engine, head } = this.session;
        const instructions =
            earshot.instructionSet === "wasm"
                ? "with vector instructions"
                : "without vector instructions";
        const facts: [string, string][] = [
            ["earshot", `${earshot.version}, WebAssembly ${instructions}`],
            ["Head", head.name],
        ];
        if (!engine) facts.push(["Sound", "not started"]);
        else facts.push(...(await this.#sound()));
        for (const [k, [name, value]] of facts.entries()) {
            let row = this.#facts.children[k];
            if (!row) this.#facts.append((row = html("div", {}, html("dt"), html("dd"))));
            setText(row.children[0]!, name);
            setText(row.children[1]!, value);
        }
        while (this.#facts.children.length > facts.length) this.#facts.lastElementChild!.remove();
    }

    async #sound(): Promise<[string, string][]> {
        const engine = this.session.engine!;
        const counts = await engine.node.statistics();
        const latency = engine.context.baseLatency + (engine.context.outputLatency || 0);
        return [
            ["Sample rate", rates(engine.context.sampleRate, engine.deviceRate)],
            ["Latency", `${(1000 * latency + 115 / 48).toFixed(0)} ms`],
            ["Quanta of 128 samples", String(counts.quanta)],
            ["Missed", String(counts.missed)],
            ["Late", String(counts.late)],
            ["Longest", `${counts.longest.toFixed(2)} ms of 2.67`],
            ["Clipped samples", String(counts.clipped)],
        ];
    }
}

/** What is known of the rates, in a line. */
export function rates(context: number, device: number | null): string {
    if (device === null) return `${context} Hz; what the device has, the browser does not tell`;
    if (device === context) return `${context} Hz, and so does the device`;
    return `${context} Hz; the device has ${device} Hz, the browser resamples`;
}
