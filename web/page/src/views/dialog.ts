import { button, html } from "./dom";

/** A dialog that the browser keeps the focus in, closed by Escape, its button or a click beside it. */
export function dialog(title: string, id: string, ...content: Node[]): HTMLDialogElement {
    const heading = html("h2", { id: `${id}-title` }, title);
    const close = button("Close", { icon: "remove", quiet: true, class: "plain" }, () =>
        element.close(),
    );
    const body = html(
        "div",
        { class: "dialog-body" },
        html("div", { class: "panel-head" }, heading, close),
        ...content,
    );
    const element = html("dialog", { id, "aria-labelledby": `${id}-title` }, body);
    element.addEventListener("click", (event) => {
        if (event.target === element) element.close();
    });
    document.body.append(element);
    return element;
}
