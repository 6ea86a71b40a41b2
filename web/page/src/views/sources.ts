// The list of sources: how loud, whether heard, whether over and over; and where exactly the chosen one is.

import { clamp, fromPolar, NEAREST, FARTHEST, type Polar, toPolar } from "../model/geometry";
import { HIGHEST_GAIN, LOWEST_GAIN, type Source } from "../model/scene";
import type { Session } from "../session";
import { button, field, html, icon, set, setText, setValue } from "./dom";
import { colour } from "./plan";

interface Row {
    readonly element: HTMLLIElement;
    update(source: Source, index: number): void;
    frame(source: Source): void;
}

export class Sources {
    readonly element = html("section", {
        class: "panel sources",
        "aria-labelledby": "sources-title",
    });
    readonly #list = html("ol", { id: "sources" });
    readonly #rows = new Map<number, Row>();
    #revealed: number | null = null;
    readonly #empty = html(
        "p",
        { class: "hint" },
        "Nothing sounds yet. Add a sound, drop files anywhere, or open an example.",
    );

    constructor(
        private readonly session: Session,
        add: HTMLElement,
    ) {
        const head = html(
            "div",
            { class: "panel-head" },
            html("h2", { id: "sources-title" }, "Sources"),
            add,
        );
        this.element.append(head, this.#empty, this.#list);
    }

    update(): void {
        const { sources } = this.session.scene;
        for (const [id, row] of this.#rows) {
            if (sources.some((s) => s.id === id)) continue;
            row.element.remove();
            this.#rows.delete(id);
        }
        sources.forEach((source, index) => {
            let row = this.#rows.get(source.id);
            if (!row) {
                row = makeRow(this.session, source.id);
                this.#rows.set(source.id, row);
            }
            row.update(source, index);
            if (this.#list.children[index] !== row.element) {
                this.#list.insertBefore(row.element, this.#list.children[index] ?? null);
            }
        });
        this.#empty.hidden = sources.length > 0;
        this.#reveal();
        this.frame();
    }

    /** Scrolls the list, where it is one that scrolls, to what has been chosen. */
    #reveal(): void {
        const { selected } = this.session;
        if (selected === this.#revealed) return;
        this.#revealed = selected;
        const row = selected === null ? undefined : this.#rows.get(selected);
        if (!row) return;
        const list = this.#list.getBoundingClientRect();
        const box = row.element.getBoundingClientRect();
        const below = box.bottom - list.bottom;
        const above = list.top - box.top;
        if (below > 0) this.#list.scrollTop += below;
        else if (above > 0) this.#list.scrollTop -= above;
    }

    frame(): void {
        const { chosen } = this.session;
        if (chosen) this.#rows.get(chosen.id)?.frame(chosen);
    }
}

function toggle(word: string, label: string, onClick: () => void): HTMLButtonElement {
    const element = html("button", { type: "button", class: "toggle", title: label }, word);
    element.addEventListener("click", onClick);
    return element;
}

function makeRow(session: Session, id: number): Row {
    const source = () => session.scene.sources.find((s) => s.id === id)!;
    const badge = html("button", { type: "button", class: "badge" });
    badge.addEventListener("click", () => session.choose(id));
    const name = html("input", { type: "text", class: "name", maxlength: 60, spellcheck: "false" });
    name.addEventListener("change", () =>
        session.change(id, { name: name.value.trim() || source().name }),
    );
    name.addEventListener("input", () => session.choose(id));
    const mute = toggle("M", "Mute", () => session.change(id, { mute: !source().mute }));
    const solo = toggle("S", "Solo", () => session.change(id, { solo: !source().solo }));
    const loop = toggle("", "Loop", () => session.change(id, { loop: !source().loop }));
    loop.append(icon("loop"));
    const remove = button("Remove", { icon: "remove", quiet: true, class: "plain remove" }, () =>
        session.remove(id),
    );
    const gain = html("input", {
        type: "range",
        class: "gain",
        min: LOWEST_GAIN,
        max: HIGHEST_GAIN,
        step: 0.5,
    });
    gain.addEventListener("input", () =>
        session.change(id, { gain: gain.valueAsNumber }, `gain ${id}`),
    );
    gain.addEventListener("change", () => session.settle());
    const decibels = html("output", { class: "decibels" });
    const exact = makeExact(session, id);
    const element = html(
        "li",
        { class: "source" },
        html("div", { class: "source-line" }, badge, name, mute, solo, loop, remove),
        html("div", { class: "source-line" }, gain, decibels),
        exact.element,
    );
    element.addEventListener("pointerdown", () => session.choose(id));

    const press = (toggled: HTMLButtonElement, on: boolean, label: string) => {
        set(toggled, "aria-pressed", on ? "true" : "false");
        set(toggled, "aria-label", label);
    };
    const update = (s: Source, index: number) => {
        const chosen = session.selected === id;
        element.classList.toggle("chosen", chosen);
        set(element, "data-colour", colour(index));
        set(element, "data-source", index + 1);
        setText(badge, String(index + 1));
        set(badge, "aria-label", `${index + 1}: choose ${s.name}`);
        set(badge, "aria-pressed", chosen ? "true" : "false");
        setValue(name, s.name);
        set(name, "aria-label", `Name of source ${index + 1}`);
        press(mute, s.mute, `Mute ${s.name}`);
        press(solo, s.solo, `Solo ${s.name}`);
        press(loop, s.loop, `Loop ${s.name}`);
        loop.disabled = s.sound === null;
        set(remove, "aria-label", `Remove ${s.name}`);
        setValue(gain, String(s.gain));
        set(gain, "aria-label", `Gain of ${s.name}`);
        set(gain, "aria-valuetext", `${s.gain} decibels`);
        setText(decibels, `${s.gain > 0 ? "+" : ""}${s.gain.toFixed(1)} dB`);
        exact.element.hidden = !chosen;
        exact.update(s);
    };
    return { element, update, frame: exact.frame };
}

/** Numbers of the chosen source. */
function makeExact(session: Session, id: number) {
    const source = () => session.scene.sources.find((s) => s.id === id)!;
    const place = (change: Partial<Polar>) => {
        session.drag(id, fromPolar({ ...toPolar(session.place(source())), ...change }));
        session.drop(id);
    };
    const azimuth = field("Azimuth °", { step: "any", title: "Left is positive" }, (v) =>
        place({ azimuth: v }),
    );
    const elevation = field("Elevation °", { min: -90, max: 90, step: "any" }, (v) =>
        place({ elevation: clamp(v, -89.9, 89.9) }),
    );
    const distance = field("Distance m", { min: NEAREST, max: FARTHEST, step: "any" }, (v) => {
        place({ distance: clamp(v, NEAREST, FARTHEST) });
    });
    const start = field("Starts at s", { min: 0, max: 3600, step: "any" }, (v) =>
        session.change(id, { start: clamp(v, 0, 3600) }),
    );
    const note = html("p", { class: "hint" }, "Live, and left out of exports. Wear headphones.");
    const element = html(
        "div",
        { class: "exact" },
        azimuth.label,
        elevation.label,
        distance.label,
        start.label,
        note,
    );
    const frame = (s: Source) => {
        const polar = toPolar(session.place(s));
        setValue(azimuth.input, polar.azimuth.toFixed(1));
        setValue(elevation.input, polar.elevation.toFixed(1));
        setValue(distance.input, polar.distance.toFixed(2));
    };
    const update = (s: Source) => {
        setValue(start.input, String(s.start));
        start.label.hidden = s.sound === null;
        note.hidden = s.sound !== null;
    };
    return { element, frame, update };
}
