// The head from above, with a nose to turn it by, and from the side.

import { describeTurn, RADIANS, wrap } from "../model/geometry";
import type { Session } from "../session";
import { html, set, svg } from "./dom";
import { FROM_ABOVE, FROM_THE_SIDE, Plan } from "./plan";

const HEAD = 0.085; // of the plan's radius, but no smaller than
const SMALLEST = 17; // pixels

export class Stage extends Plan {
    readonly #head = svg("g", { class: "head" });
    readonly #nose: HTMLDivElement;

    constructor(session: Session) {
        super(session, FROM_ABOVE, "stage", "From above: front is up");
        this.picture.append(this.#head);
        this.#nose = this.#makeNose();
        this.element.append(
            this.#nose,
            html("span", { class: "plan-word front", "aria-hidden": "true" }, "front"),
        );
        this.element.append(
            html("span", { class: "plan-word left", "aria-hidden": "true" }, "left"),
        );
        this.element.append(
            html("span", { class: "plan-word right", "aria-hidden": "true" }, "right"),
        );
    }

    get #size(): number {
        return Math.max(SMALLEST, HEAD * this.radius);
    }

    protected override drawHead(): void {
        const r = this.#size;
        const ear = (side: number) =>
            svg("ellipse", {
                cx: side * r * 0.98,
                cy: 0.06 * r,
                rx: 0.17 * r,
                ry: 0.32 * r,
                class: "ear",
            });
        const far = 0.62 * this.radius;
        const gaze = svg("radialGradient", {
            id: "gaze",
            gradientUnits: "userSpaceOnUse",
            cx: 0,
            cy: 0,
            r: far,
        });
        gaze.append(svg("stop", { offset: 0.1, "stop-opacity": 0.2, class: "gaze-stop" }));
        gaze.append(svg("stop", { offset: 1, "stop-opacity": 0, class: "gaze-stop" }));
        this.#head.replaceChildren(
            svg("defs", {}, gaze),
            svg("path", {
                d: `M0 0L${-0.5 * far} ${-0.866 * far}A${far} ${far} 0 0 1 ${0.5 * far} ${-0.866 * far}Z`,
                class: "gaze",
            }),
            svg("path", {
                d: `M${-0.24 * r} ${-0.9 * r}Q0 ${-1.6 * r} ${0.24 * r} ${-0.9 * r}Z`,
                class: "nose",
            }),
            ear(-1),
            ear(1),
            svg("ellipse", { cx: 0, cy: 0, rx: 0.9 * r, ry: r, class: "skull" }),
            svg("path", {
                d: `M${-0.5 * r} ${0.28 * r}Q0 ${0.78 * r} ${0.5 * r} ${0.28 * r}`,
                class: "hair",
            }),
        );
    }

    /** A slider: the nose. */
    #makeNose(): HTMLDivElement {
        const nose = html("div", {
            id: "nose",
            class: "nose-handle",
            role: "slider",
            tabindex: 0,
            "aria-label": "Turn of the head",
            "aria-valuemin": -180,
            "aria-valuemax": 180,
            title: "Drag the nose to turn the head",
        });
        let grip: number | null = null; // from the pointer's azimuth to the head's
        const azimuth = (event: PointerEvent) => {
            const { x, y } = this.spotOf(event);
            return Math.atan2(this.centre.x - x, this.centre.y - y) / RADIANS;
        };
        const turn = (yaw: number) => this.session.turnHead({ ...this.session.turn, yaw });
        nose.addEventListener("pointerdown", (event) => {
            if (event.button !== 0) return;
            nose.setPointerCapture(event.pointerId);
            grip = this.session.turn.yaw - azimuth(event);
            event.preventDefault();
            nose.focus({ preventScroll: true });
        });
        nose.addEventListener("pointermove", (event) => {
            if (grip !== null) turn(wrap(azimuth(event) + grip));
        });
        const end = () => {
            grip = null;
            this.session.settle();
        };
        nose.addEventListener("pointerup", end);
        nose.addEventListener("pointercancel", end);
        nose.addEventListener("keydown", (event) => {
            const step = event.shiftKey ? 1 : 5;
            const { yaw } = this.session.turn;
            const to: Record<string, number> = {
                ArrowLeft: yaw + step,
                ArrowRight: yaw - step,
                Home: 0,
            };
            const wanted = to[event.key];
            if (wanted === undefined || event.ctrlKey || event.metaKey || event.altKey) return;
            event.preventDefault();
            turn(wrap(wanted));
        });
        return nose;
    }

    override frame(): void {
        super.frame();
        if (this.width === 0) return;
        const { x, y } = this.centre;
        const yaw = Math.round(this.session.turn.yaw * 10) / 10;
        set(this.#head, "transform", `translate(${x} ${y}) rotate(${-yaw})`);
        const far = 1.25 * this.#size;
        const noseX = x - far * Math.sin(yaw * RADIANS);
        const noseY = y - far * Math.cos(yaw * RADIANS);
        this.#nose.style.transform = `translate(${noseX.toFixed(1)}px, ${noseY.toFixed(1)}px)`;
        set(this.#nose, "aria-valuenow", Math.round(yaw));
        set(this.#nose, "aria-valuetext", describeTurn(yaw));
    }
}

export class Side extends Plan {
    readonly #head = svg("g", { class: "head" });

    constructor(session: Session) {
        super(session, FROM_THE_SIDE, "side", "From the side: front is right, up is up");
        this.picture.append(this.#head);
        this.element.append(html("span", { class: "plan-word up", "aria-hidden": "true" }, "up"));
        this.element.append(
            html("span", { class: "plan-word ahead", "aria-hidden": "true" }, "front"),
        );
    }

    protected override drawHead(): void {
        const r = Math.max(SMALLEST, HEAD * this.radius);
        const { x, y } = this.centre;
        set(this.#head, "transform", `translate(${x} ${y})`);
        this.#head.replaceChildren(
            svg("path", {
                class: "skull",
                d: `M${-0.95 * r} ${-0.1 * r}C${-0.95 * r} ${-1.35 * r} ${0.85 * r} ${-1.4 * r} ${0.88 * r} ${-0.3 * r}
          L${1.22 * r} ${0.22 * r}L${0.9 * r} ${0.34 * r}L${0.82 * r} ${0.95 * r}Q${0.6 * r} ${1.1 * r} ${0.2 * r} ${0.95 * r}
          L${0.1 * r} ${1.4 * r}L${-0.75 * r} ${1.4 * r}C${-0.6 * r} ${0.8 * r} ${-0.95 * r} ${0.5 * r} ${-0.95 * r} ${-0.1 * r}Z`,
            }),
            svg("ellipse", {
                cx: -0.05 * r,
                cy: 0.02 * r,
                rx: 0.18 * r,
                ry: 0.3 * r,
                class: "ear",
            }),
        );
    }
}
