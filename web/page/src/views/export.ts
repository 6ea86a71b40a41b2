// Takes the scene away: as a ZIP file for the tool and this page, and as the WAV that both render.

import { command, fileNames, pack } from "../files/package";
import { toText } from "../model/json";
import { leftOut } from "../model/scene";
import type { RenderAnswer, RenderRequest } from "../render-worker";
import type { Session } from "../session";
import { RATE } from "../sounds/sound";
import { dialog } from "./dialog";
import { button, html, setText } from "./dom";

function save(bytes: Uint8Array<ArrayBuffer> | string, name: string, type: string): void {
    const url = URL.createObjectURL(new Blob([bytes], { type }));
    html("a", { href: url, download: name }).click();
    setTimeout(() => URL.revokeObjectURL(url), 60000);
}

const UNPACK = "unzip scene.zip -d scene";

export class Export {
    readonly #dialog: HTMLDialogElement;
    readonly #left = html("ul", { class: "left-out" });
    readonly #problem = html("p", { class: "problem", role: "alert", id: "export-problem" });
    readonly #render: HTMLButtonElement;
    readonly #cancel: HTMLButtonElement;
    readonly #progress = html("progress", {
        id: "render-progress",
        max: 1,
        "aria-label": "Rendered",
    });
    readonly #part = html("output", { class: "hint" });
    readonly #result = html("div", { class: "result", id: "render-result", role: "status" });
    #worker: Worker | null = null;
    #url = "";

    constructor(private readonly session: Session) {
        const zip = button(
            "Download scene.zip",
            { icon: "export", class: "primary", id: "export-zip" },
            () => this.#saveZip(),
        );
        const json = button("scene.json alone", { class: "plain", id: "export-json" }, () =>
            this.#saveJson(),
        );
        this.#render = button(
            "Render WAV",
            { icon: "export", class: "primary", id: "render" },
            () => this.#start(),
        );
        this.#cancel = button("Cancel", { id: "render-cancel" }, () => this.#stop());
        this.#dialog = dialog(
            "Take it with you",
            "export-dialog",
            this.#left,
            this.#problem,
            html("h3", {}, "The scene"),
            html(
                "p",
                {},
                "A ZIP file with scene.json and its sounds. Drop it here to go on, or render it with the earshot tool.",
            ),
            html("div", { class: "cluster" }, zip, json),
            html("h3", {}, "What you hear"),
            html(
                "p",
                {},
                "A WAV file for headphones: 48 kHz, 24 bits, one pass of the scene. The tool makes the same file of the same scene, byte for byte.",
            ),
            html(
                "div",
                { class: "cluster render-line" },
                this.#render,
                this.#cancel,
                this.#progress,
                this.#part,
            ),
            this.#result,
        );
        this.#busy(false);
    }

    open(): void {
        this.#left.replaceChildren(
            ...leftOut(this.session.scene).map((line) => html("li", {}, line)),
        );
        this.#left.hidden = this.#left.children.length === 0;
        this.#tell("");
        this.#dialog.showModal();
    }

    #tell(problem: string): void {
        setText(this.#problem, problem);
        this.#problem.hidden = problem === "";
    }

    /** The scene and its sounds; null, and said, where there is nothing to export. */
    #exported() {
        this.#tell("");
        const exported = this.session.exported();
        if (exported.scene.sources.length > 0) return exported;
        this.#tell("There is nothing to export: no source with a sound is heard.");
        return null;
    }

    #saveZip(): void {
        const exported = this.#exported();
        if (!exported) return;
        try {
            save(
                pack(exported.scene, exported.samples, this.session.head),
                "scene.zip",
                "application/zip",
            );
        } catch (error) {
            this.#tell(`scene.zip: ${error instanceof Error ? error.message : String(error)}`);
        }
    }

    #saveJson(): void {
        const exported = this.#exported();
        if (exported)
            save(
                toText(exported.scene, fileNames(exported.scene)),
                "scene.json",
                "application/json",
            );
    }

    // --- The WAV ---

    #busy(busy: boolean): void {
        this.#render.disabled = busy;
        this.#cancel.hidden = this.#progress.hidden = !busy;
        this.#part.hidden = !busy;
    }

    #start(): void {
        const exported = this.#exported();
        if (!exported) return;
        const { scene, samples } = exported;
        this.#result.replaceChildren();
        this.#progress.value = 0;
        setText(this.#part, "0 %");
        this.#busy(true);
        const worker = new Worker(new URL("../render-worker.ts", import.meta.url), {
            type: "module",
        });
        this.#worker = worker;
        worker.addEventListener("message", ({ data }: MessageEvent<RenderAnswer>) =>
            this.#answer(data),
        );
        worker.addEventListener("error", (event) => {
            this.#answer({
                kind: "failed",
                message: event.message || "the worker could not be started",
            });
        });
        const request: RenderRequest = {
            text: toText(scene, fileNames(scene)),
            sounds: samples,
            head: this.session.head.bytes,
        };
        worker.postMessage(request);
    }

    #stop(): void {
        this.#worker?.terminate();
        this.#worker = null;
        this.#busy(false);
        this.#render.focus();
    }

    #answer(answer: RenderAnswer): void {
        if (answer.kind === "progress") {
            const part = answer.frames > 0 ? answer.done / answer.frames : 0;
            this.#progress.value = part;
            setText(this.#part, `${Math.floor(100 * part)} %`);
            return;
        }
        this.#stop();
        if (answer.kind === "failed")
            this.#tell(`The WAV could not be rendered: ${answer.message}`);
        else this.#done(answer);
    }

    #done({ wav, digest, frames, clipped }: Extract<RenderAnswer, { kind: "done" }>): void {
        URL.revokeObjectURL(this.#url);
        this.#url = URL.createObjectURL(new Blob([wav], { type: "audio/wav" }));
        const link = html(
            "a",
            { class: "button primary", href: this.#url, download: "earshot.wav", id: "wav-link" },
            "Download earshot.wav",
        );
        const line = `${UNPACK}\n${command(this.session.head)}`;
        const copy = button("Copy", { class: "plain" }, () => void this.#copy(line, copy));
        const loud = clipped > 0 ? ` ${clipped} samples are clipped: lower the gains.` : "";
        const megabytes = (wav.length / 1e6).toFixed(1);
        this.#result.append(
            html(
                "div",
                { class: "cluster" },
                link,
                html(
                    "span",
                    { class: "hint" },
                    `${(frames / RATE).toFixed(2)} s, ${megabytes} MB.${loud}`,
                ),
            ),
            html("p", {}, "Its digest, SHA-256 of the samples:"),
            html("code", { id: "digest", tabindex: 0 }, digest),
            html(
                "div",
                { class: "panel-head" },
                html("p", {}, "The tool prints the same for the same scene:"),
                copy,
            ),
            html("pre", { tabindex: 0, "aria-label": "Commands" }, line),
        );
        link.focus();
    }

    async #copy(text: string, copy: HTMLButtonElement): Promise<void> {
        try {
            await navigator.clipboard.writeText(text);
            setText(copy, "Copied");
        } catch {
            this.#tell("The browser does not let the page copy; select the lines instead.");
        }
    }
}
