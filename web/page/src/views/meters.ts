// Level meters of the ears, in dBFS: a bar for the level, a line and a number for the peak.

import { type Ears, SILENCE } from "../audio/engine";
import type { Session } from "../session";
import { html, set, setText } from "./dom";

const LOW = -60;
const HOLD = 1500; // milliseconds
const FALL = 20; // decibels a second
const part = (decibels: number) => Math.min(1, Math.max(0, (decibels - LOW) / -LOW));

class Ear {
    readonly element: HTMLElement;
    readonly #bar = html("div", { class: "meter-bar" });
    readonly #line = html("div", { class: "meter-peak" });
    readonly #number = html("output", { class: "meter-number", "aria-live": "off" });
    readonly #meter: HTMLElement;
    #level = SILENCE;
    #peak = SILENCE;
    #held = 0; // since when
    #spoken = 0;

    constructor(name: string, id: string) {
        this.#meter = html(
            "div",
            {
                class: "meter",
                id,
                role: "meter",
                "aria-label": `Level of the ${name} ear, dBFS`,
                "aria-valuemin": SILENCE,
                "aria-valuemax": 0,
            },
            this.#bar,
            this.#line,
        );
        const label = html(
            "span",
            { class: "meter-name", "aria-hidden": "true" },
            name === "left" ? "L" : "R",
        );
        this.element = html("div", { class: "meter-row" }, label, this.#meter, this.#number);
    }

    show(ear: Ears, now: number, passed: number): void {
        this.#level = Math.max(ear.level, this.#level - FALL * passed);
        if (ear.peak >= this.#peak || now - this.#held > HOLD) {
            if (ear.peak >= this.#peak) this.#held = now;
            this.#peak = Math.max(ear.peak, this.#peak - FALL * passed);
        }
        this.#bar.style.clipPath = `inset(0 ${(100 * (1 - part(this.#level))).toFixed(2)}% 0 0)`;
        this.#line.style.transform = `translateX(${(100 * part(this.#peak)).toFixed(2)}%)`;
        if (now - this.#spoken < 150) return;
        this.#spoken = now;
        const silent = this.#level <= SILENCE;
        const peak =
            this.#peak <= LOW
                ? "−∞"
                : `${this.#peak < -0.05 ? "−" : ""}${Math.abs(this.#peak).toFixed(1)}`;
        set(this.#meter, "aria-valuenow", ear.level.toFixed(1));
        set(this.#meter, "aria-valuetext", silent ? "silence" : `${this.#level.toFixed(1)} dBFS`);
        this.#meter.classList.toggle("over", this.#peak >= -0.05);
        setText(this.#number, peak);
    }
}

export class Meters {
    readonly element = html("section", {
        class: "panel meters",
        "aria-labelledby": "meters-title",
    });
    readonly #ears: [Ear, Ear] = [new Ear("left", "meter-left"), new Ear("right", "meter-right")];
    #last = 0;

    constructor(private readonly session: Session) {
        const scale = html("div", { class: "meter-scale", "aria-hidden": "true" });
        for (const mark of [-60, -48, -36, -24, -12, 0])
            scale.append(html("span", {}, String(mark).replace("-", "−")));
        const head = html(
            "div",
            { class: "panel-head" },
            html("h2", { id: "meters-title" }, "Ears"),
            html("span", { class: "hint" }, "dBFS, peak held"),
        );
        this.element.append(head, this.#ears[0].element, this.#ears[1].element, scale);
    }

    frame(): void {
        const now = performance.now();
        const passed = Math.min(1, (now - this.#last) / 1000);
        this.#last = now;
        const silence = { level: SILENCE, peak: SILENCE };
        const [left, right] = this.session.engine?.ears() ?? [silence, silence];
        this.#ears[0].show(left, now, passed);
        this.#ears[1].show(right, now, passed);
    }
}
