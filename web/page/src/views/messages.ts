// What there is to say, a line each: errors stay until they are closed.

import type { Session, Tone } from "../session";
import { button, html } from "./dom";

const SHOWN = 6000;

export class Messages {
    readonly element = html("div", { class: "messages", id: "messages" });
    readonly #informations = html("div", { role: "status" });
    readonly #errors = html("div", { role: "alert" });

    constructor(session: Session) {
        this.element.append(this.#errors, this.#informations);
        session.onWord((text, tone) => this.#show(text, tone));
    }

    #show(text: string, tone: Tone): void {
        const place = tone === "error" ? this.#errors : this.#informations;
        const line = html("p", { class: `message ${tone}` }, html("span", {}, text));
        line.append(
            button("Close", { icon: "remove", quiet: true, class: "plain" }, () => line.remove()),
        );
        if (tone === "information") {
            place.replaceChildren(line);
            setTimeout(() => line.remove(), SHOWN);
        } else {
            place.append(line);
            while (place.children.length > 3) place.firstElementChild!.remove();
        }
    }
}
