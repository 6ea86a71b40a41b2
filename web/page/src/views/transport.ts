// Play, record, loop, and how long the scene is.

import { LONGEST } from "../model/scene";
import type { Session } from "../session";
import { button, field, html, icon, set, setText, setValue } from "./dom";
import type { TimeAxis } from "./time-axis";

export class Transport {
    readonly element = html("section", { class: "panel transport", "aria-label": "Time" });
    readonly #play: HTMLButtonElement;
    readonly #record: HTMLButtonElement;
    readonly #loop: HTMLButtonElement;
    readonly #remove: HTMLButtonElement;
    readonly #duration: HTMLInputElement;
    readonly #time = html("span", { class: "clock", id: "clock", "aria-hidden": "true" });
    #shown = "";

    constructor(
        private readonly session: Session,
        axis: TimeAxis,
    ) {
        this.#play = button("Listen", { icon: "play", id: "play", class: "primary" }, () =>
            this.toggle(),
        );
        const start = button("To the start", { icon: "start", quiet: true, id: "to-start" }, () =>
            session.seek(0),
        );
        this.#record = button(
            "Record",
            { icon: "record", id: "record", title: "Record the drag of the chosen source (R)" },
            () => {
                void session.toggleRecording();
            },
        );
        this.#loop = button("Loop the scene", { icon: "loop", quiet: true, id: "loop" }, () =>
            session.setLooping(!session.looping),
        );
        const add = button(
            "Keyframe",
            {
                icon: "keyframe",
                id: "add-keyframe",
                title: "A keyframe where the chosen source is now (K)",
            },
            () => axis.add(),
        );
        this.#remove = button(
            "Delete the nearest keyframe",
            { icon: "remove", quiet: true, id: "remove-keyframe" },
            () => axis.removeNearest(),
        );
        const length = field(
            "Length s",
            { min: 0.1, max: LONGEST, step: "any", id: "duration" },
            (v) => session.setDuration(v),
        );
        this.#duration = length.input;
        const line = html(
            "div",
            { class: "transport-line" },
            html("div", { class: "cluster" }, start, this.#play, this.#record, this.#loop),
            this.#time,
            html("div", { class: "cluster end" }, add, this.#remove, length.label),
        );
        this.element.append(line, axis.element);
    }

    toggle(): void {
        if (this.session.playing) this.session.pause();
        else void this.session.play();
    }

    update(): void {
        const { playing, armed, looping, chosen, scene } = this.session;
        const word = playing ? "Pause" : "Listen";
        if (word !== this.#shown) {
            this.#shown = word;
            this.#play.replaceChildren(icon(playing ? "pause" : "play"), html("span", {}, word));
        }
        set(this.#record, "aria-pressed", armed !== null ? "true" : "false");
        set(this.#loop, "aria-pressed", looping ? "true" : "false");
        this.#record.disabled = armed === null && !chosen;
        this.#remove.disabled = !chosen || chosen.track.length === 0;
        setValue(this.#duration, String(scene.duration));
        this.frame();
    }

    frame(): void {
        const { time, scene } = this.session;
        setText(this.#time, `${time.toFixed(1)} / ${scene.duration.toFixed(1)} s`);
    }
}
