// A button with a list of things to do under it.

import { button, html, type Icon, set } from "./dom";

export interface Entry {
    readonly name: string;
    readonly about?: string;
    readonly id?: string;
    act(): void;
}

export function menu(
    name: string,
    given: { icon: Icon; id: string; class?: string },
    groups: Entry[][],
): HTMLElement {
    const list = html("div", { class: "menu", role: "menu", "aria-label": name });
    const opener = button(name, given, () => show(list.hidden));
    set(opener, "aria-haspopup", "menu");
    const box = html("div", { class: "menu-box" }, opener, list);
    list.hidden = true;
    const items: HTMLButtonElement[] = [];

    function show(open: boolean): void {
        list.hidden = !open;
        set(opener, "aria-expanded", open ? "true" : "false");
        if (open) items[0]?.focus();
    }
    set(opener, "aria-expanded", "false");

    groups.forEach((entries, k) => {
        if (k > 0) list.append(html("div", { class: "menu-line", role: "separator" }));
        for (const entry of entries) {
            const item = html(
                "button",
                { type: "button", role: "menuitem", tabindex: -1, id: entry.id },
                html("span", {}, entry.name),
            );
            if (entry.about) item.append(html("small", {}, entry.about));
            item.addEventListener("click", () => {
                show(false);
                opener.focus();
                entry.act();
            });
            items.push(item);
            list.append(item);
        }
    });

    list.addEventListener("keydown", (event) => {
        const at = items.indexOf(document.activeElement as HTMLButtonElement);
        const to: Record<string, number> = {
            ArrowDown: at + 1,
            ArrowUp: at - 1,
            Home: 0,
            End: items.length - 1,
        };
        const wanted = to[event.key];
        if (wanted !== undefined) {
            event.preventDefault();
            items[(wanted + items.length) % items.length]?.focus();
        } else if (event.key === "Escape") {
            event.stopPropagation();
            show(false);
            opener.focus();
        } else if (event.key === "Tab") {
            show(false);
        }
    });
    document.addEventListener("pointerdown", (event) => {
        if (!list.hidden && !box.contains(event.target as Node)) show(false);
    });
    return box;
}
