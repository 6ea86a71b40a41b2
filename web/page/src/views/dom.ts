// Elements, made in a line.

type Child = Node | string;
type Attributes = Record<string, string | number | boolean | undefined>;

function apply(element: Element, attributes: Attributes, children: Child[]): void {
    for (const [name, value] of Object.entries(attributes)) set(element, name, value);
    element.append(...children);
}

/** An attribute, touched only where it changes; false and undefined take it away, true is empty. */
export function set(
    element: Element,
    name: string,
    value: string | number | boolean | undefined,
): void {
    if (value === undefined || value === false) {
        if (element.hasAttribute(name)) element.removeAttribute(name);
        return;
    }
    const text = value === true ? "" : String(value);
    if (element.getAttribute(name) !== text) element.setAttribute(name, text);
}

export function html<Tag extends keyof HTMLElementTagNameMap>(
    tag: Tag,
    attributes: Attributes = {},
    ...children: Child[]
): HTMLElementTagNameMap[Tag] {
    const element = document.createElement(tag);
    apply(element, attributes, children);
    return element;
}

export function svg<Tag extends keyof SVGElementTagNameMap>(
    tag: Tag,
    attributes: Attributes = {},
    ...children: Child[]
): SVGElementTagNameMap[Tag] {
    const element = document.createElementNS("http://www.w3.org/2000/svg", tag);
    apply(element, attributes, children);
    return element;
}

export function setText(element: Element, text: string): void {
    if (element.textContent !== text) element.textContent = text;
}

/** The value of a field, unless somebody is typing in it. */
export function setValue(field: HTMLInputElement, value: string): void {
    if (document.activeElement === field && field.type !== "range") return;
    if (field.value !== value) field.value = value;
}

/** Icons of 20 by 20, in lines of the text's colour. */
const ICONS = {
    play: "M6 4.5v11l9-5.5z",
    pause: "M6.5 4.5v11M13.5 4.5v11",
    start: "M5.5 4.5v11M15 5l-6.5 5 6.5 5z",
    record: "M10 5a5 5 0 1 0 0 10 5 5 0 0 0 0-10z",
    loop: "M4 9V8a3 3 0 0 1 3-3h8l-2.5-2.5M16 11v1a3 3 0 0 1-3 3H5l2.5 2.5",
    undo: "M7.5 4L4 7.5 7.5 11M4 7.5h7.5a4.25 4.25 0 0 1 0 8.5H8",
    redo: "M12.5 4L16 7.5 12.5 11M16 7.5H8.5a4.25 4.25 0 0 0 0 8.5H12",
    add: "M10 4v12M4 10h12",
    remove: "M5 5l10 10M15 5L5 15",
    keyframe: "M10 4l6 6-6 6-6-6z",
    export: "M10 3v9.5M6 9l4 4 4-4M4 16.5h12",
    help: "M7.5 7.5a2.5 2.5 0 1 1 3.6 2.2c-.7.4-1.1.8-1.1 1.8M10 14.8v.2",
    theme: "M10 3a7 7 0 1 0 7 7 5.5 5.5 0 0 1-7-7z",
    scenes: "M3.5 5.5h13M3.5 10h13M3.5 14.5h8",
    speaker: "M4 8v4h2.5L10 15V5L6.5 8zM13 7.5a3.5 3.5 0 0 1 0 5M15 5a7 7 0 0 1 0 10",
    muted: "M4 8v4h2.5L10 15V5L6.5 8zM13 8l4 4M17 8l-4 4",
    head: "M10 3.5a6 6 0 1 0 0 12 6 6 0 0 0 0-12zM8.5 4L10 1.5 11.5 4",
    phone: "M6.5 2.5h7v15h-7zM9 15.5h2",
} as const;

export type Icon = keyof typeof ICONS;
const FILLED: readonly Icon[] = ["play", "record"];

export function icon(name: Icon): SVGSVGElement {
    const drawing = svg("svg", { viewBox: "0 0 20 20", class: "icon", "aria-hidden": "true" });
    drawing.append(
        svg("path", { d: ICONS[name], class: FILLED.includes(name) ? "filled" : undefined }),
    );
    return drawing;
}

/** A button with an icon, and with words or, `quiet`, a name for who cannot see it. */
export function button(
    name: string,
    given: { icon?: Icon; quiet?: boolean; id?: string; class?: string; title?: string },
    onClick: (event: MouseEvent) => void,
): HTMLButtonElement {
    const element = html("button", {
        type: "button",
        id: given.id,
        class: given.class,
        title: given.title,
    });
    if (given.icon) element.append(icon(given.icon));
    if (given.quiet) {
        element.setAttribute("aria-label", name);
        if (!given.title) element.title = name;
    } else {
        element.append(html("span", {}, name));
    }
    element.addEventListener("click", onClick);
    return element;
}

export function field(
    label: string,
    given: Attributes,
    onChange: (value: number, field: HTMLInputElement) => void,
): { label: HTMLLabelElement; input: HTMLInputElement } {
    const input = html("input", { type: "number", ...given });
    input.addEventListener("change", () => {
        if (input.value !== "" && Number.isFinite(input.valueAsNumber))
            onChange(input.valueAsNumber, input);
    });
    input.addEventListener("keydown", (event) => {
        if (event.key === "Enter") input.blur();
    });
    return { label: html("label", { class: "field" }, html("span", {}, label), input), input };
}

/** What can be remembered, where the browser lets the page do so. */
export const memory = {
    get(key: string): string | null {
        try {
            return localStorage.getItem(`earshot.${key}`);
        } catch {
            return null;
        }
    },
    set(key: string, value: string): void {
        try {
            localStorage.setItem(`earshot.${key}`, value);
        } catch {
            // then it is not remembered
        }
    },
};
