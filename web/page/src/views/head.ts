// Whose ears, and how the head is turned: by hand, or by a phone.

import { RADIANS, wrap } from "../model/geometry";
import { AHEAD } from "../model/scene";
import type { Turn } from "../model/track";
import type { Session } from "../session";
import { button, html, set, setText, setValue } from "./dom";

/** iOS asks; others have no such function. */
type Asking = { requestPermission?: () => Promise<PermissionState> };

/** How a phone is held, as a head whose face is where its screen's back points to. */
function turnOf(alpha: number, beta: number, gamma: number, screenTurn: number): Turn {
    const [ca, cb, cg] = [alpha, beta, gamma].map((a) => Math.cos(a * RADIANS)) as [
        number,
        number,
        number,
    ];
    const [sa, sb, sg] = [alpha, beta, gamma].map((a) => Math.sin(a * RADIANS)) as [
        number,
        number,
        number,
    ];
    // The device's axes in the room's, z up: columns of the turns about z, then x, then y.
    const right = [ca * cg - sa * sb * sg, sa * cg + ca * sb * sg, -cb * sg];
    const top = [-sa * cb, ca * cb, sb];
    const out = [ca * sg + sa * sb * cg, sa * sg - ca * sb * cg, cb * cg];
    const [cs, ss] = [Math.cos(screenTurn * RADIANS), Math.sin(screenTurn * RADIANS)];
    const across = right[2]! * cs - top[2]! * ss;
    const upwards = right[2]! * ss + top[2]! * cs;
    return {
        yaw: Math.atan2(-out[1]!, -out[0]!) / RADIANS,
        pitch: Math.asin(Math.min(1, Math.max(-1, -out[2]!))) / RADIANS,
        roll: Math.atan2(-across, upwards) / RADIANS,
    };
}

export class HeadPanel {
    readonly element = html("section", {
        class: "panel head-panel",
        "aria-labelledby": "head-title",
    });
    readonly #name = html("span", { class: "head-name", id: "head-name" });
    readonly #builtin: HTMLButtonElement;
    readonly #yaw = html("input", {
        type: "range",
        id: "yaw",
        min: -180,
        max: 180,
        step: 1,
        "aria-label": "Turn of the head",
    });
    readonly #degrees = html("output", { class: "decibels" });
    readonly #follow: HTMLButtonElement;
    readonly #note = html(
        "p",
        { class: "hint" },
        "It turns by itself. Take its nose, and it is yours.",
    );
    #follows = false;
    #zero: number | null = null; // the yaw that counts as the front

    constructor(
        private readonly session: Session,
        chooseHead: () => void,
    ) {
        this.#builtin = button(
            "Built-in",
            { class: "plain", id: "builtin-head" },
            () => void session.useHead(session.earshot.builtinHead),
        );
        const choose = button(
            "Other head…",
            {
                class: "plain",
                id: "choose-head",
                title: "A .head file that earshot head has prepared",
            },
            chooseHead,
        );
        // A slider grows to the right, and so does this one; yaw grows to the left.
        this.#yaw.addEventListener("input", () =>
            session.turnHead({ ...session.turn, yaw: -this.#yaw.valueAsNumber }),
        );
        this.#yaw.addEventListener("change", () => session.settle());
        const centre = button("Centre", { class: "plain", id: "centre" }, () => this.#centre());
        this.#follow = button(
            "Follow this phone",
            { icon: "phone", class: "plain", id: "follow" },
            () => void this.#toggle(),
        );
        this.#follow.hidden =
            !("DeviceOrientationEvent" in window) || !matchMedia("(pointer: coarse)").matches;
        const head = html(
            "div",
            { class: "panel-head" },
            html("h2", { id: "head-title" }, "Head"),
            this.#name,
        );
        const turn = html("div", { class: "source-line" }, this.#yaw, this.#degrees);
        const buttons = html(
            "div",
            { class: "cluster" },
            centre,
            this.#follow,
            choose,
            this.#builtin,
        );
        this.element.append(head, turn, this.#note, buttons);
        window.addEventListener("deviceorientation", (event) => this.#device(event));
    }

    #centre(): void {
        if (this.#follows) this.#zero = null;
        else this.session.turnHead(AHEAD);
    }

    async #toggle(): Promise<void> {
        this.#follows = !this.#follows;
        this.#zero = null;
        if (!this.#follows) {
            this.session.setDevice(null);
            this.update();
            return;
        }
        try {
            const ask = (DeviceOrientationEvent as unknown as Asking).requestPermission;
            const answer = ask ? await ask.call(DeviceOrientationEvent) : "granted";
            if (answer !== "granted")
                throw new Error("the browser was told not to tell how the phone is held");
            this.session.say(
                "Hold the phone upright before you, or turn with it. Centre makes this the front.",
            );
        } catch (error) {
            this.#follows = false;
            this.session.fail("Head", error);
        }
        this.update();
    }

    #device({ alpha, beta, gamma }: DeviceOrientationEvent): void {
        if (!this.#follows || alpha === null || beta === null || gamma === null) return;
        const turn = turnOf(alpha, beta, gamma, screen.orientation?.angle ?? 0);
        this.#zero ??= turn.yaw;
        this.session.setDevice({ ...turn, yaw: wrap(turn.yaw - this.#zero) });
    }

    update(): void {
        const { head } = this.session;
        setText(this.#name, head.name);
        set(this.#name, "title", head.name);
        this.#builtin.hidden = head.bytes === null;
        set(this.#follow, "aria-pressed", this.#follows ? "true" : "false");
        this.#yaw.disabled = this.#follows;
        this.#note.hidden = this.#follows || this.session.scene.headTrack.length === 0;
        this.frame();
    }

    frame(): void {
        const yaw = Math.round(this.session.turn.yaw);
        const words = yaw === 0 ? "front" : `${Math.abs(yaw)}° ${yaw > 0 ? "left" : "right"}`;
        setValue(this.#yaw, String(-yaw));
        set(this.#yaw, "aria-valuetext", words);
        setText(this.#degrees, words);
    }
}
