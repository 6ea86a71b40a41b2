// Puts the page together.

import "./style.css";

import { load } from "earshot";

import { chooser, onDrop } from "./files/drop";
import { Session } from "./session";
import { INSTRUMENTS } from "./sounds/instruments";
import { type Preset, PRESETS } from "./sounds/presets";
import { button, html } from "./views/dom";
import { Export } from "./views/export";
import { HeadPanel } from "./views/head";
import { Help, letters, rates } from "./views/help";
import { menu } from "./views/menu";
import { Messages } from "./views/messages";
import { Meters } from "./views/meters";
import { Sources } from "./views/sources";
import { Side, Stage } from "./views/stage";
import { themeSwitch } from "./views/theme";
import { TimeAxis } from "./views/time-axis";
import { Transport } from "./views/transport";

const SOUNDS = "audio/*,.wav,.flac,.ogg,.opus,.mp3,.m4a,.aac,.zip";
const TICK = 50; // milliseconds

/** What is wanted next is to listen: the space bar does it. */
function openExample(session: Session, preset: Preset): void {
    session.openPreset(preset);
    document.querySelector<HTMLElement>("#play")?.focus();
}

function header(session: Session, exporting: Export, help: Help) {
    const undo = button(
        "Undo",
        { icon: "undo", quiet: true, id: "undo", class: "plain", title: "Undo (Ctrl Z)" },
        () => session.undo(),
    );
    const redo = button(
        "Redo",
        { icon: "redo", quiet: true, id: "redo", class: "plain", title: "Redo (Ctrl Shift Z)" },
        () => session.redo(),
    );
    const examples = PRESETS.map((preset) => ({
        name: preset.name,
        about: preset.about,
        id: `preset-${preset.id}`,
        act: () => openExample(session, preset),
    }));
    const empty = { name: "Empty scene", id: "new-scene", act: () => session.clear() };
    const title = html(
        "h1",
        {},
        html("span", { class: "logo", "aria-hidden": "true" }),
        html("span", { class: "name-of-page" }, "earshot"),
    );
    const element = html(
        "header",
        {},
        title,
        html("p", { class: "tagline" }, "Put a sound somewhere, and hear it."),
        html(
            "div",
            { class: "cluster end" },
            menu("Examples", { icon: "scenes", id: "examples" }, [examples, [empty]]),
            undo,
            redo,
            button("Export", { icon: "export", id: "export", class: "primary" }, () =>
                exporting.open(),
            ),
            button(
                "Help",
                { icon: "help", quiet: true, id: "help", class: "plain", title: "Help (?)" },
                () => help.open(),
            ),
            themeSwitch(),
        ),
    );
    const update = () => {
        undo.disabled = !session.canUndo;
        redo.disabled = !session.canRedo;
    };
    return { element, update };
}

function addMenu(session: Session, chooseFiles: () => void): HTMLElement {
    return menu("Add sound", { icon: "add", id: "add-sound" }, [
        [
            { name: "Files…", about: "Or drop them anywhere", id: "add-files", act: chooseFiles },
            {
                name: "Microphone",
                about: "Live; wear headphones",
                id: "add-microphone",
                act: () => void session.addMicrophone(),
            },
        ],
        INSTRUMENTS.map((name) => ({
            name,
            id: `add-${name.toLowerCase().replace(" ", "-")}`,
            act: () => session.addInstrument(name),
        })),
    ]);
}

/** Keys that work wherever the focus is; elements of their own have taken theirs already. */
function keys(
    session: Session,
    parts: { stage: Stage; transport: Transport; axis: TimeAxis; help: Help },
): void {
    const { stage, transport, axis, help } = parts;
    addEventListener("keydown", (event) => {
        const target = event.target as HTMLElement;
        if (event.defaultPrevented || event.altKey || document.querySelector("dialog[open]"))
            return;
        const typing = target.matches("input:not([type=range]), select, textarea");
        const key = event.key.toLowerCase();
        if (event.ctrlKey || event.metaKey) {
            if (typing || (key !== "z" && key !== "y")) return;
            event.preventDefault();
            if (key === "y" || event.shiftKey) session.redo();
            else session.undo();
            return;
        }
        if (typing) return;
        if (key === " ") {
            if (target.closest("button, a, summary")) return;
            event.preventDefault();
            transport.toggle();
            return;
        }
        if (!letters.on) return;
        if (key >= "1" && key <= "9") stage.focus(Number(key) - 1);
        else if (key === "r") void session.toggleRecording();
        else if (key === "k") axis.add();
        else if (key === "?") help.open();
        else return;
        event.preventDefault();
    });
}

/** A line over the stage that tells how to begin, until it has begun. */
function welcome(session: Session): { element: HTMLElement; update: () => void } {
    const element = html(
        "p",
        { class: "welcome" },
        "Headphones on, press Listen, and drag a sound.",
    );
    return {
        element,
        update: () =>
            (element.hidden = session.engine !== null || session.scene.sources.length === 0),
    };
}

function rateLine(session: Session): { element: HTMLElement; update: () => void } {
    const element = html("p", { class: "rate", id: "rate" });
    const update = () => {
        const { engine } = session;
        const text = engine
            ? `Sound runs at ${rates(engine.context.sampleRate, engine.deviceRate)}.`
            : "Sound runs at 48000 Hz once you listen.";
        if (element.textContent !== text) element.textContent = text;
    };
    return { element, update };
}

async function begin(): Promise<void> {
    const session = new Session(await load());
    const take = (files: File[]) => void session.take(files);
    const soundChooser = chooser("sound-files", SOUNDS, take);
    const headChooser = chooser("head-file", ".head,.sofa", take);

    const exporting = new Export(session);
    const help = new Help(session);
    const top = header(session, exporting, help);
    const stage = new Stage(session);
    const side = new Side(session);
    const axis = new TimeAxis(session);
    const transport = new Transport(session, axis);
    const sources = new Sources(
        session,
        addMenu(session, () => soundChooser.click()),
    );
    const meters = new Meters(session);
    const head = new HeadPanel(session, () => headChooser.click());
    const messages = new Messages(session);
    const hello = welcome(session);
    const rate = rateLine(session);

    stage.element.append(hello.element);
    const ears = html(
        "div",
        { class: "column" },
        side.element,
        meters.element,
        head.element,
        rate.element,
    );
    const list = html("div", { class: "column list" }, sources.element);
    const main = html("main", {}, stage.element, ears, list, transport.element);
    const veil = html(
        "div",
        { class: "veil", "aria-hidden": "true" },
        html("p", {}, "Drop sounds, a scene.zip or a .head file"),
    );
    veil.hidden = true;
    document.querySelector("#loading")?.remove();
    document.body.prepend(top.element, main, messages.element, veil, soundChooser, headChooser);

    const views = [top, stage, side, transport, axis, sources, head, hello, rate];
    const update = () => views.forEach((view) => view.update());
    let stale = true;
    session.onChange(() => (stale = true));
    const frame = () => {
        session.tick();
        if (stale) {
            stale = false;
            update();
        }
        for (const view of [stage, side, axis, transport, sources, head, meters]) view.frame();
        requestAnimationFrame(frame);
    };
    setInterval(() => session.tick(), TICK); // pages that nobody sees have no frames
    keys(session, { stage, transport, axis, help });
    onDrop(take, (hang) => (veil.hidden = !hang));
    requestAnimationFrame(frame);
    // The page is seen before its sounds are made.
    setTimeout(() => session.openPreset(PRESETS[0]!), 30);
}

begin().catch((error: unknown) => {
    const reason = error instanceof Error ? error.message : String(error);
    const line = html(
        "p",
        { class: "message error", role: "alert" },
        `earshot could not be started: ${reason}`,
    );
    document.querySelector("#loading")?.replaceWith(line);
});
