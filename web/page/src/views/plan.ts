// What the view from above and that from the side have in common: a picture of rings and ways, and
// over it handles, which are dragged, and moved by keys.

import { clamp, describe, type Point, toPolar } from "../model/geometry";
import { changed, HIGHEST_GAIN, LOWEST_GAIN, type Source } from "../model/scene";
import type { Session } from "../session";
import { html, set, svg } from "./dom";

/** Places of the page, in its pixels. */
export interface Spot {
    readonly x: number;
    readonly y: number;
}

export const RINGS = [1, 2, 4, 8];
const OUTER = 9; // metres at the edge of the smaller side
const spread = (metres: number) => Math.log1p(metres) / Math.log1p(OUTER);
const gather = (part: number) => Math.expm1(part * Math.log1p(OUTER));

/** How a view flattens space: to the right and up, in metres, and back, keeping what it does not show. */
export interface Projection {
    readonly name: string; // added to those of handles
    /** What a handle is a slider of. */
    value(p: Point): number;
    range: readonly [number, number];
    flatten(p: Point): { right: number; up: number };
    place(right: number, up: number, before: Point): Point;
}

export const FROM_ABOVE: Projection = {
    name: "",
    value: (p) => toPolar(p).azimuth,
    range: [-180, 180],
    flatten: (p) => ({ right: -p.y, up: p.x }),
    place: (right, up, before) => ({ x: up, y: -right, z: before.z }),
};

export const FROM_THE_SIDE: Projection = {
    name: ", from the side",
    value: (p) => toPolar(p).elevation,
    range: [-90, 90],
    flatten: (p) => ({ right: p.x, up: p.z }),
    place: (right, up, before) => ({ x: right, y: before.y, z: up }),
};

export const colour = (index: number) => String(index % 8);

const MARGIN = 22;

interface Handle {
    readonly element: HTMLDivElement;
    readonly badge: HTMLSpanElement;
    readonly name: HTMLSpanElement;
    readonly height: HTMLSpanElement;
    at: string;
}

export class Plan {
    readonly element: HTMLDivElement;
    protected readonly picture = svg("svg", { "aria-hidden": "true" });
    readonly #rings = svg("g");
    readonly #ways = svg("g");
    readonly #handles = new Map<number, Handle>();
    protected width = 0;
    protected height = 0;
    #spoken = 0;

    constructor(
        protected readonly session: Session,
        private readonly projection: Projection,
        id: string,
        label: string,
    ) {
        this.element = html("div", { class: "plan", id, role: "group", "aria-label": label });
        this.picture.append(this.#rings, this.#ways);
        this.element.append(this.picture);
        new ResizeObserver(() => this.#resize()).observe(this.element);
    }

    // --- Between metres and pixels ---

    protected get centre(): Spot {
        return { x: this.width / 2, y: this.height / 2 };
    }
    protected get radius(): number {
        return Math.max(40, Math.min(this.width, this.height) / 2 - MARGIN / 2);
    }

    protected spot(p: Point): Spot {
        const { right, up } = this.projection.flatten(p);
        const metres = Math.hypot(right, up);
        const scale = metres > 0 ? (spread(metres) * this.radius) / metres : 0;
        return { x: this.centre.x + right * scale, y: this.centre.y - up * scale };
    }

    /** What is farther away stays at the edge. */
    #inside({ x, y }: Spot): Spot {
        return {
            x: clamp(x, MARGIN, this.width - MARGIN),
            y: clamp(y, MARGIN, this.height - MARGIN),
        };
    }

    protected place({ x, y }: Spot, before: Point): Point {
        const right = x - this.centre.x;
        const up = this.centre.y - y;
        const pixels = Math.hypot(right, up);
        const scale = pixels > 0 ? gather(pixels / this.radius) / pixels : 0;
        return this.projection.place(right * scale, up * scale, before);
    }

    spotOf(event: PointerEvent): Spot {
        const box = this.element.getBoundingClientRect();
        return { x: event.clientX - box.left, y: event.clientY - box.top };
    }

    // --- The picture ---

    #resize(): void {
        this.width = this.element.clientWidth;
        this.height = this.element.clientHeight;
        set(this.picture, "viewBox", `0 0 ${this.width} ${this.height}`);
        this.#drawRings();
        this.drawHead();
        this.update();
        this.frame();
    }

    #drawRings(): void {
        const { x, y } = this.centre;
        this.#rings.replaceChildren();
        this.#rings.append(
            svg("line", { x1: x, x2: x, y1: 0, y2: this.height, class: "axis" }),
            svg("line", { x1: 0, x2: this.width, y1: y, y2: y, class: "axis" }),
        );
        for (const metres of RINGS) {
            const r = spread(metres) * this.radius;
            this.#rings.append(svg("circle", { cx: x, cy: y, r, class: "ring" }));
        }
        for (const metres of RINGS) {
            const r = spread(metres) * this.radius; // a little right of straight behind: few put things there
            const label = svg(
                "text",
                { x: x + 0.31 * r, y: y + 0.95 * r, class: "ring-label" },
                `${metres} m`,
            );
            this.#rings.append(label);
        }
    }

    protected drawHead(): void {}

    /** The scene has changed. */
    update(): void {
        const { scene } = this.session;
        scene.sources.forEach((source, index) => this.#updateHandle(source, index));
        for (const [id, handle] of this.#handles) {
            if (scene.sources.some((s) => s.id === id)) continue;
            handle.element.remove();
            this.#handles.delete(id);
        }
        this.#drawWays();
        this.#spoken = 0; // what has been changed is told at once
        this.frame();
    }

    #drawWays(): void {
        this.#ways.replaceChildren();
        if (this.width === 0) return;
        this.session.scene.sources.forEach((source, index) => {
            if (source.track.length < 2) return;
            const chosen = source.id === this.session.selected;
            const attributes = {
                "data-colour": colour(index),
                class: chosen ? "way chosen" : "way",
            };
            this.#ways.append(svg("path", { d: this.#way(source), ...attributes }));
            if (!chosen) return;
            for (const k of source.track) {
                const { x, y } = this.spot(k);
                this.#ways.append(
                    svg("circle", {
                        cx: x,
                        cy: y,
                        r: 3,
                        class: "way-point",
                        "data-colour": colour(index),
                    }),
                );
            }
        });
    }

    /** Straight ways are curves where the distance is drawn by its logarithm. */
    #way({ track }: Source): string {
        const points: string[] = [];
        track.forEach((row, k) => {
            const next = track[k + 1];
            const parts = clamp(Math.ceil(512 / track.length), 1, 256);
            for (let part = 0; part < (next ? parts : 1); ++part) {
                const along = part / parts;
                const to = next ?? row;
                const p = {
                    x: row.x + along * (to.x - row.x),
                    y: row.y + along * (to.y - row.y),
                    z: row.z + along * (to.z - row.z),
                };
                const { x, y } = this.spot(p);
                points.push(`${x.toFixed(1)} ${y.toFixed(1)}`);
            }
        });
        return `M${points.join("L")}`;
    }

    // --- Handles ---

    #updateHandle(source: Source, index: number): void {
        let handle = this.#handles.get(source.id);
        if (!handle) {
            handle = this.#makeHandle(source.id);
            this.#handles.set(source.id, handle);
        }
        const { element, badge, name } = handle;
        const { session } = this;
        badge.textContent = String(index + 1);
        name.textContent = source.name;
        set(element, "data-colour", colour(index));
        set(element, "data-source", index + 1);
        set(element, "aria-label", source.name + this.projection.name);
        element.classList.toggle("chosen", source.id === session.selected);
        element.classList.toggle(
            "silent",
            source.mute || (!source.solo && session.scene.sources.some((s) => s.solo)),
        );
        element.classList.toggle("armed", source.id === session.armed);
        if (this.element.children[index + 1] !== element)
            this.element.insertBefore(element, this.element.children[index + 1] ?? null);
    }

    #makeHandle(id: number): Handle {
        const badge = html("span", { class: "badge" });
        const name = html("span", { class: "handle-name" });
        const height = html("span", { class: "handle-height" });
        const [low, high] = this.projection.range;
        const element = html(
            "div",
            {
                class: "handle",
                role: "slider",
                tabindex: 0,
                "aria-valuemin": low,
                "aria-valuemax": high,
            },
            badge,
            html("span", { class: "handle-text" }, name, height),
        );
        element.addEventListener("keydown", (event) => this.#key(event, id));
        this.#dragging(element, id);
        return { element, badge, name, height, at: "" };
    }

    #dragging(element: HTMLElement, id: number): void {
        let off: Spot | null = null; // from the pointer to the middle of the handle
        const source = () => this.session.scene.sources.find((s) => s.id === id);
        element.addEventListener("pointerdown", (event) => {
            const dragged = source();
            if (!dragged || event.button !== 0) return;
            element.setPointerCapture(event.pointerId);
            element.focus({ preventScroll: true });
            this.session.choose(id);
            const pointer = this.spotOf(event);
            const here = this.#inside(this.spot(this.session.place(dragged)));
            off = { x: here.x - pointer.x, y: here.y - pointer.y };
            event.preventDefault();
        });
        element.addEventListener("pointermove", (event) => {
            const dragged = source();
            if (!off || !dragged) return;
            const pointer = this.spotOf(event);
            const to = this.#inside({ x: pointer.x + off.x, y: pointer.y + off.y });
            this.session.drag(id, this.place(to, this.session.place(dragged)));
        });
        const end = () => {
            if (!off) return;
            off = null;
            this.session.drop(id);
        };
        element.addEventListener("pointerup", end);
        element.addEventListener("pointercancel", end);
    }

    #key(event: KeyboardEvent, id: number): void {
        if (event.ctrlKey || event.metaKey || event.altKey) return;
        const { session } = this;
        const fine = event.shiftKey;
        const angle = fine ? 1 : 5;
        const metres = fine ? 0.05 : 0.25;
        const source = session.scene.sources.find((s) => s.id === id);
        if (!source) return;
        const louder = (decibels: number) => {
            const gain = clamp(
                Math.round(10 * (source.gain + decibels)) / 10,
                LOWEST_GAIN,
                HIGHEST_GAIN,
            );
            session.edit(changed(session.scene, id, { gain }), `gain ${id}`);
            session.say(`${source.name}: ${gain} dB`);
        };
        const keys: Record<string, () => void> = {
            ArrowLeft: () => session.nudge(id, { azimuth: angle }),
            ArrowRight: () => session.nudge(id, { azimuth: -angle }),
            ArrowUp: () => session.nudge(id, { distance: metres }),
            ArrowDown: () => session.nudge(id, { distance: -metres }),
            PageUp: () => session.nudge(id, { elevation: angle }),
            PageDown: () => session.nudge(id, { elevation: -angle }),
            "+": () => louder(1),
            "=": () => louder(1),
            "-": () => louder(-1),
            m: () => session.change(id, { mute: !source.mute }),
            s: () => session.change(id, { solo: !source.solo }),
            Delete: () => session.remove(id),
            Enter: () => {},
        };
        // Not the focus chooses, which passes by on its way to what is done to the chosen one.
        if (event.key !== "Tab" && event.key !== "Shift") session.choose(id);
        const act = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
        if (!act) return;
        event.preventDefault();
        event.stopPropagation();
        act();
    }

    /** Shows where things are now. */
    frame(): void {
        if (this.width === 0) return;
        const now = performance.now();
        const speak = !this.session.playing || now - this.#spoken > 500;
        if (speak) this.#spoken = now;
        for (const source of this.session.scene.sources) {
            const handle = this.#handles.get(source.id);
            if (handle) this.#show(handle, this.session.place(source), speak);
        }
    }

    #show(handle: Handle, p: Point, speak: boolean): void {
        const wanted = this.spot(p);
        const { x, y } = this.#inside(wanted);
        const at = `translate(${Math.round(x)}px, ${Math.round(y)}px)`;
        if (handle.at !== at) {
            handle.at = at;
            handle.element.style.transform = at;
            handle.element.classList.toggle("away", x !== wanted.x || y !== wanted.y);
            handle.element.classList.toggle("to-the-left", x > this.width - 96);
        }
        if (!speak) return;
        set(handle.element, "aria-valuenow", Math.round(this.projection.value(p)));
        set(handle.element, "aria-valuetext", describe(p));
        const elevation = Math.round(toPolar(p).elevation);
        handle.height.textContent =
            Math.abs(elevation) < 3 ? "" : `${elevation > 0 ? "↑" : "↓"} ${Math.abs(elevation)}°`;
    }

    /** Puts the focus on a source, counted from 0. */
    focus(index: number): void {
        const source = this.session.scene.sources[index];
        if (!source) return;
        this.session.choose(source.id);
        this.#handles.get(source.id)?.element.focus();
    }
}
