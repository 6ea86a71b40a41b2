// Dark or light: as the system has it, until somebody says otherwise.

import { button, memory, set } from "./dom";

type Theme = "dark" | "light";

const system = matchMedia("(prefers-color-scheme: dark)");

export function themeSwitch(): HTMLButtonElement {
    let chosen = memory.get("theme") as Theme | null;
    const shown = (): Theme => chosen ?? (system.matches ? "dark" : "light");
    const element = button(
        "Theme",
        { icon: "theme", quiet: true, id: "theme", class: "plain" },
        () => {
            chosen = shown() === "dark" ? "light" : "dark";
            memory.set("theme", chosen);
            show();
        },
    );
    const show = () => {
        document.documentElement.dataset["theme"] = shown();
        const name = shown() === "dark" ? "Light theme" : "Dark theme";
        set(element, "aria-label", name);
        element.title = name;
    };
    system.addEventListener("change", show);
    show();
    return element;
}
