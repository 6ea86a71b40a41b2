// The time axis: the chosen source's sound and keyframes, and the playhead.

import { clamp, describe } from "../model/geometry";
import type { Source } from "../model/scene";
import { withKeyframe, withKeyframeAt, withoutKeyframe } from "../model/track";
import type { Session } from "../session";
import { PEAKS, seconds, type Sound } from "../sounds/sound";
import { html, set, svg } from "./dom";
import { colour } from "./plan";

/** Room for what stands at the beginning and the end. */
const EDGE = 10; // pixels
const STEPS = [0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 30, 60, 120, 300, 600];

export class TimeAxis {
    readonly element = html("div", {
        class: "axis-box",
        id: "time-axis",
        role: "group",
        "aria-label": "Time axis",
    });
    readonly #picture = svg("svg", { "aria-hidden": "true", class: "axis-picture" });
    readonly #keyframes = html("div", { class: "keyframes", role: "group" });
    readonly #playhead = html("div", {
        class: "playhead",
        id: "playhead",
        role: "slider",
        tabindex: 0,
        "aria-label": "Time",
        "aria-valuemin": 0,
    });
    #width = 0;
    #height = 0;
    #current = 0; // the keyframe that the tabulator reaches
    #spoken = 0;

    constructor(private readonly session: Session) {
        this.element.append(this.#picture, this.#keyframes, this.#playhead);
        new ResizeObserver(() => this.#resize()).observe(this.element);
        this.#scrubbing();
        this.#playhead.addEventListener("keydown", (event) => this.#playheadKey(event));
    }

    #resize(): void {
        this.#width = this.element.clientWidth;
        this.#height = this.element.clientHeight;
        set(this.#picture, "viewBox", `0 0 ${this.#width} ${this.#height}`);
        this.update();
    }

    #x(time: number): number {
        return EDGE + (time / this.session.scene.duration) * this.#length;
    }

    get #length(): number {
        return Math.max(1, this.#width - 2 * EDGE);
    }

    #time(x: number): number {
        return clamp((x - EDGE) / this.#length, 0, 1) * this.session.scene.duration;
    }

    #timeOf(event: PointerEvent): number {
        const box = this.element.getBoundingClientRect();
        return this.#time(event.clientX - box.left);
    }

    // --- The playhead ---

    #scrubbing(): void {
        let scrubs = false;
        this.element.addEventListener("pointerdown", (event) => {
            if (event.button !== 0 || (event.target as Element).closest(".keyframe")) return;
            scrubs = true;
            this.element.setPointerCapture(event.pointerId);
            this.session.seek(this.#timeOf(event));
        });
        this.element.addEventListener("pointermove", (event) => {
            if (scrubs) this.session.seek(this.#timeOf(event));
        });
        const end = () => (scrubs = false);
        this.element.addEventListener("pointerup", end);
        this.element.addEventListener("pointercancel", end);
    }

    #playheadKey(event: KeyboardEvent): void {
        if (event.ctrlKey || event.metaKey || event.altKey) return;
        const { time, scene } = this.session;
        const step = event.shiftKey ? 0.1 : 1;
        const to: Record<string, number> = {
            ArrowLeft: time - step,
            ArrowRight: time + step,
            PageUp: time + 5,
            PageDown: time - 5,
            Home: 0,
            End: scene.duration,
        };
        const wanted = to[event.key];
        if (wanted === undefined) return;
        event.preventDefault();
        this.session.seek(clamp(wanted, 0, scene.duration));
    }

    frame(): void {
        const { time, scene, playing } = this.session;
        this.#playhead.style.transform = `translateX(${this.#x(time).toFixed(1)}px)`;
        const now = performance.now();
        if (playing && now - this.#spoken < 500) return;
        this.#spoken = now;
        set(this.#playhead, "aria-valuemax", scene.duration);
        set(this.#playhead, "aria-valuenow", time.toFixed(1));
        set(this.#playhead, "aria-valuetext", `${time.toFixed(1)} of ${scene.duration} seconds`);
    }

    // --- The picture ---

    update(): void {
        if (this.#width === 0) return;
        this.#picture.replaceChildren(...this.#ticks());
        const { chosen, scene } = this.session;
        const sound = chosen && this.session.sound(chosen);
        if (chosen && sound) {
            const tone = colour(scene.sources.indexOf(chosen));
            this.#picture.append(
                svg("path", { d: this.#wave(chosen, sound), class: "wave", "data-colour": tone }),
            );
        }
        this.#showKeyframes(chosen);
        this.frame();
    }

    #ticks(): SVGElement[] {
        const { duration } = this.session.scene;
        const room = (duration * 56) / this.#length;
        const step = STEPS.find((s) => s >= room) ?? 3600;
        const ticks: SVGElement[] = [];
        for (let k = 0; k * step <= duration + 1e-9; ++k) {
            const x = this.#x(k * step);
            ticks.push(svg("line", { x1: x, x2: x, y1: 0, y2: this.#height, class: "tick" }));
            if (x > this.#width - 32) continue;
            const label = step < 1 ? (k * step).toFixed(1) : String(k * step);
            ticks.push(svg("text", { x: x + 4, y: 12, class: "tick-label" }, `${label} s`));
        }
        return ticks;
    }

    /** The peaks of the sound where it sounds. */
    #wave(source: Source, sound: Sound): string {
        const { duration } = this.session.scene;
        const length = seconds(sound);
        const middle = (this.#height + 16) / 2;
        const high = this.#height / 2 - 12;
        const up: string[] = [];
        const down: string[] = [];
        for (let x = Math.ceil(this.#x(source.start)); x <= this.#width - EDGE; x += 2) {
            const time = this.#time(x) - source.start;
            if (time >= length && !source.loop) break;
            const from = Math.floor(((time % length) / length) * PEAKS);
            const to = Math.max(
                from + 1,
                from + Math.floor(((2 / this.#length) * duration * PEAKS) / length),
            );
            let peak = 0.01;
            for (let k = from; k < Math.min(to, PEAKS); ++k) peak = Math.max(peak, sound.peaks[k]!);
            up.push(`${x} ${(middle - high * peak).toFixed(1)}`);
            down.push(`${x} ${(middle + high * peak).toFixed(1)}`);
        }
        return up.length > 0 ? `M${up.join("L")}L${down.reverse().join("L")}Z` : "";
    }

    // --- Keyframes ---

    #showKeyframes(source: Source | undefined): void {
        const track = source?.track ?? [];
        this.#current = clamp(this.#current, 0, Math.max(0, track.length - 1));
        set(this.#keyframes, "aria-label", source ? `Keyframes of ${source.name}` : "Keyframes");
        set(
            this.#keyframes,
            "data-colour",
            source ? colour(this.session.scene.sources.indexOf(source)) : undefined,
        );
        while (this.#keyframes.children.length > track.length)
            this.#keyframes.lastElementChild!.remove();
        while (this.#keyframes.children.length < track.length) {
            this.#keyframes.append(this.#makeKeyframe(this.#keyframes.children.length));
        }
        track.forEach((row, k) => {
            const element = this.#keyframes.children[k] as HTMLElement;
            element.style.transform = `translateX(${this.#x(row.time).toFixed(1)}px)`;
            set(element, "tabindex", k === this.#current ? 0 : -1);
            set(
                element,
                "aria-label",
                `Keyframe ${k + 1} of ${track.length}, at ${row.time.toFixed(2)} s: ${describe(row)}`,
            );
        });
    }

    #makeKeyframe(index: number): HTMLElement {
        const element = html("button", {
            type: "button",
            class: "keyframe",
            "data-keyframe": index + 1,
        });
        element.addEventListener("focus", () => (this.#current = index));
        element.addEventListener("click", (event) => {
            if (event.detail === 0 || !element.dataset["moved"]) this.#goTo(index);
        });
        element.addEventListener("keydown", (event) => this.#keyframeKey(event, index));
        let grips = false;
        element.addEventListener("pointerdown", (event) => {
            if (event.button !== 0) return;
            element.setPointerCapture(event.pointerId);
            grips = true;
            delete element.dataset["moved"];
        });
        element.addEventListener("pointermove", (event) => {
            const row = this.session.chosen?.track[index];
            if (!grips || !row) return;
            const time = this.#timeOf(event);
            if (!element.dataset["moved"] && Math.abs(this.#x(time) - this.#x(row.time)) < 4)
                return;
            element.dataset["moved"] = "yes";
            this.#move(index, time);
        });
        const end = () => {
            grips = false;
            this.session.settle();
        };
        element.addEventListener("pointerup", end);
        element.addEventListener("pointercancel", end);
        return element;
    }

    #goTo(index: number): void {
        const row = this.session.chosen?.track[index];
        if (row) this.session.seek(row.time);
    }

    #move(index: number, time: number): void {
        const { chosen, scene } = this.session;
        if (!chosen) return;
        const track = withKeyframeAt(chosen.track, index, time, scene.duration);
        this.session.change(chosen.id, { track }, `keyframe ${chosen.id} ${index}`);
    }

    #focusKeyframe(index: number): void {
        const count = this.#keyframes.children.length;
        if (count === 0) return;
        this.#current = clamp(index, 0, count - 1);
        this.update();
        (this.#keyframes.children[this.#current] as HTMLElement).focus();
    }

    #keyframeKey(event: KeyboardEvent, index: number): void {
        if (event.ctrlKey || event.metaKey || event.altKey) return;
        const row = this.session.chosen?.track[index];
        if (!row) return;
        const step = event.shiftKey ? 0.01 : 0.1;
        const keys: Record<string, () => void> = {
            ArrowLeft: () => this.#move(index, row.time - step),
            ArrowRight: () => this.#move(index, row.time + step),
            ArrowUp: () => this.#focusKeyframe(index + 1),
            ArrowDown: () => this.#focusKeyframe(index - 1),
            Home: () => this.#focusKeyframe(0),
            End: () => this.#focusKeyframe(Infinity),
            Delete: () => this.#remove(index),
            Backspace: () => this.#remove(index),
        };
        const act = keys[event.key];
        if (!act) return;
        event.preventDefault();
        act();
    }

    #remove(index: number): void {
        const { chosen } = this.session;
        if (!chosen) return;
        const track = withoutKeyframe(chosen.track, index);
        const last = chosen.track[index]!;
        const position = track.length === 0 ? { x: last.x, y: last.y, z: last.z } : chosen.position;
        this.session.change(chosen.id, { track, position });
        if (track.length > 0) this.#focusKeyframe(Math.min(index, track.length - 1));
        else this.#playhead.focus();
    }

    /** A keyframe where the chosen source is now. */
    add(): void {
        const { session } = this;
        const { chosen, time } = session;
        if (!chosen) {
            session.say("Choose a source first: keyframes are of one.", "error");
            return;
        }
        session.change(chosen.id, {
            track: withKeyframe(chosen.track, time, session.place(chosen)),
        });
        session.say(`${chosen.name}: a keyframe at ${time.toFixed(1)} s.`);
    }

    /** Takes away the keyframe that is nearest to the playhead. */
    removeNearest(): void {
        const { chosen, time } = this.session;
        if (!chosen || chosen.track.length === 0) return;
        const away = chosen.track.map((k) => Math.abs(k.time - time));
        this.#remove(away.indexOf(Math.min(...away)));
    }
}
