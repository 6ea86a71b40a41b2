// What is going on in the page: the scene and its history, what is chosen, dragged and recorded, and
// the sound. Views show it and call it; it knows none of them.

import type { Earshot, Head } from "earshot";

import { Engine } from "./audio/engine";
import { Microphone } from "./audio/microphone";
import { Motion } from "./audio/motion";
import { Player } from "./audio/player";
import { readSound } from "./files/decode";
import { type Unpacked, unpack } from "./files/package";
import { moved, outside, type Point, type Polar } from "./model/geometry";
import { History } from "./model/history";
import {
    changed,
    EMPTY,
    exported,
    findSource,
    freePlace,
    headAt,
    LONGEST,
    makeSource,
    MOST_SOURCES,
    nextId,
    placed,
    type Scene,
    type Source,
    sourceAt,
    turned,
    withoutSource,
    withSource,
} from "./model/scene";
import { roundPoint, roundTime, thin, type Track, type Turn, withPart } from "./model/track";
import { Recorder } from "./recorder";
import { type Instrument, play } from "./sounds/instruments";
import type { Preset } from "./sounds/presets";
import { makeSound, seconds, type Sound } from "./sounds/sound";

export type Tone = "information" | "error";

const reason = (error: unknown) => (error instanceof Error ? error.message : String(error));

/** How long a key holds a source that has a track, while it plays. */
const KEY_HOLDS = 800;

export class Session {
    readonly earshot: Earshot;
    head: Head;
    selected: number | null = null;
    /** The source whose drags are being recorded. */
    armed: number | null = null;
    engine: Engine | null = null;
    /** The head as a phone is held: heard, but no part of the scene. */
    device: Turn | null = null;

    readonly #history = new History<Scene>(EMPTY);
    readonly #sounds: Sound[] = [];
    readonly #instruments = new Map<Instrument, number>();
    readonly #held = new Map<number, Point>(); // dragged away from their tracks
    readonly #letGo = new Map<number, number>(); // timers
    readonly #recorder = new Recorder();
    readonly #player: Player;
    #motion: Motion | null = null;
    #renewing = Promise.resolve(); // one after the other
    #microphone: Microphone | null = null;
    #changes = new Set<() => void>();
    #words = new Set<(text: string, tone: Tone) => void>();

    constructor(earshot: Earshot) {
        this.earshot = earshot;
        this.head = earshot.builtinHead;
        this.#player = new Player(
            () => this.engine,
            (id) => this.#sounds[id],
            EMPTY,
        );
    }

    // --- What views want to know ---

    onChange(call: () => void): void {
        this.#changes.add(call);
    }
    onWord(call: (text: string, tone: Tone) => void): void {
        this.#words.add(call);
    }
    say(text: string, tone: Tone = "information"): void {
        for (const call of this.#words) call(text, tone);
    }
    fail(what: string, error: unknown): void {
        this.say(`${what}: ${reason(error)}`, "error");
    }

    get scene(): Scene {
        return this.#history.present;
    }
    get canUndo(): boolean {
        return this.#history.canUndo;
    }
    get canRedo(): boolean {
        return this.#history.canRedo;
    }
    get chosen(): Source | undefined {
        return findSource(this.scene, this.selected);
    }
    get playing(): boolean {
        return this.#player.playing;
    }
    get time(): number {
        return this.#player.time;
    }
    get looping(): boolean {
        return this.#player.loop;
    }
    sound(source: Source): Sound | undefined {
        return source.sound === null ? undefined : this.#sounds[source.sound];
    }
    /** Where a source is now, dragged or on its way. */
    place(source: Source): Point {
        return this.#held.get(source.id) ?? sourceAt(source, this.time);
    }
    get turn(): Turn {
        return this.device ?? headAt(this.scene, this.time);
    }

    // --- Changes of the scene ---

    edit(scene: Scene, key?: unknown): void {
        this.#history.push(scene, key);
        this.#changed();
    }

    change(id: number, change: Partial<Source>, key?: unknown): void {
        this.edit(changed(this.scene, id, change), key);
    }

    undo(): void {
        this.#history.undo();
        this.#changed();
    }
    redo(): void {
        this.#history.redo();
        this.#changed();
    }
    settle(): void {
        this.#history.settle();
    }

    choose(id: number | null): void {
        if (this.selected === id) return;
        this.selected = id;
        this.#tell();
    }

    setDuration(duration: number): void {
        if (!(duration >= 0.1 && duration <= LONGEST)) {
            this.say(`A scene lasts from 0.1 to ${LONGEST} seconds.`, "error");
            this.#tell();
            return;
        }
        this.edit({ ...this.scene, duration: roundTime(duration) });
    }

    remove(id: number): void {
        const source = findSource(this.scene, id);
        if (!source) return;
        const at = this.scene.sources.indexOf(source);
        this.edit(withoutSource(this.scene, id));
        const next = this.scene.sources[Math.min(at, this.scene.sources.length - 1)];
        this.choose(next?.id ?? null);
        this.say(`${source.name} is removed. Undo brings it back.`);
    }

    turnHead(turn: Turn): void {
        if (this.device) return;
        if (this.scene.headTrack.length > 0) {
            this.say("The head is yours now. Undo brings back the turns that it made by itself.");
        }
        this.edit(turned(this.scene, turn), "head");
    }

    #changed(): void {
        const { scene } = this;
        if (this.selected !== null && !this.chosen) this.selected = null;
        if (!findSource(scene, this.armed)) this.armed = null;
        for (const id of this.#held.keys()) if (!findSource(scene, id)) this.#held.delete(id);
        this.#holdMicrophone();
        this.engine?.keep(new Set(scene.sources.map((s) => s.id)));
        void this.#renewNode();
        this.#player.change(scene);
        this.#hear();
        this.#tell();
    }

    #tell(): void {
        for (const call of this.#changes) call();
    }

    // --- Dragging and recording ---

    /** A source is moved to a place, by a pointer or a key. */
    drag(id: number, to: Point): void {
        const source = findSource(this.scene, id);
        if (!source) return;
        const place = roundPoint(outside(to));
        const recorded = this.armed === id && this.playing;
        if (recorded || (source.track.length > 0 && this.playing)) {
            this.#held.set(id, place);
            if (recorded) this.#record(place);
            this.#hear();
            this.#tell();
            return;
        }
        const key = source.track.length > 0 ? `move ${id} ${this.time}` : `move ${id}`;
        this.edit(placed(this.scene, id, place, this.time), key);
    }

    /** A source is moved by a key, of which nobody knows when it is let go. */
    nudge(id: number, by: Partial<Polar>): void {
        const source = findSource(this.scene, id);
        if (!source) return;
        this.drag(id, moved(this.place(source), by));
        if (!this.#held.has(id) || this.armed === id) return;
        clearTimeout(this.#letGo.get(id));
        this.#letGo.set(
            id,
            window.setTimeout(() => this.drop(id), KEY_HOLDS),
        );
    }

    /** A drag ends. */
    drop(id: number): void {
        this.#history.settle();
        if (!this.#held.delete(id)) return;
        if (this.armed === id)
            this.#commit(this.#recorder.isBefore(this.time) ? this.scene.duration : this.time);
        else
            this.say(
                "It goes on along its track. Record writes a drag down, and a pause lets you move one keyframe.",
            );
        this.#hear();
        this.#tell();
    }

    #record(place: Point): void {
        this.#splitRecording();
        this.#recorder.add(this.time, place);
    }

    /** What is dragged past the end of the scene is recorded from its beginning on. */
    #splitRecording(): void {
        const held = this.armed === null ? undefined : this.#held.get(this.armed);
        if (!held || !this.#recorder.isBefore(this.time)) return;
        this.#commit(this.scene.duration);
        this.#recorder.add(0, held);
    }

    #commit(end: number): void {
        const source = findSource(this.scene, this.armed);
        if (!source || this.#recorder.empty) return;
        const part: Track = thin(this.#recorder.take(end));
        this.edit(changed(this.scene, source.id, { track: withPart(source.track, part) }));
        this.say(
            `${source.name}: recorded, ${part.length} ${part.length === 1 ? "keyframe" : "keyframes"}.`,
        );
    }

    async toggleRecording(): Promise<void> {
        if (this.armed !== null) {
            this.#stopRecording();
            return;
        }
        if (!this.chosen) {
            this.say("Choose a source first: its drag is recorded.", "error");
            return;
        }
        this.armed = this.chosen.id;
        await this.play();
        if (!this.playing) this.armed = null;
        else this.say(`Recording: move ${this.chosen.name} while it plays.`);
        this.#tell();
    }

    #stopRecording(): void {
        const id = this.armed;
        if (id === null) return;
        if (this.#held.has(id)) this.drop(id);
        this.armed = null;
        this.#tell();
    }

    // --- Sound ---

    /** False, and said, where there can be none. */
    async #start(): Promise<boolean> {
        try {
            if (!this.engine) {
                const engine = await Engine.start(
                    this.earshot,
                    this.scene.sources.length,
                    this.head,
                );
                this.engine = engine;
                this.#motion = new Motion(this.earshot, engine, (at) => this.#player.timeAt(at));
                this.#hear();
                engine.context.addEventListener("statechange", () => this.#tell());
            }
            await this.engine.context.resume();
            return true;
        } catch (error) {
            this.fail("No sound", error);
            return false;
        }
    }

    async play(): Promise<void> {
        if (this.playing || !(await this.#start())) return;
        this.#player.play();
        this.#motion?.restart();
        this.#tell();
    }

    pause(): void {
        this.#stopRecording();
        this.#player.pause();
        this.#motion?.restart();
        this.#tell();
    }

    seek(time: number): void {
        this.#player.seek(time);
        this.#motion?.restart();
        this.#tell();
    }

    setLooping(loop: boolean): void {
        this.#player.loop = loop;
        this.#tell();
    }

    /** Many times a second, whether anybody looks or not. */
    tick(): void {
        const { playing } = this;
        this.#player.tick();
        this.#splitRecording();
        try {
            this.#motion?.tick();
        } catch (error) {
            this.fail("This scene cannot be heard", error);
        }
        if (playing && !this.playing) {
            this.#stopRecording();
            this.#tell();
        }
    }

    /** The scene as it is heard: what is dragged is where it is dragged. */
    #hear(): void {
        const sources = this.scene.sources.map((source) => {
            const position = this.#held.get(source.id);
            return position ? { ...source, position, track: [] } : source;
        });
        const head = this.device ? { head: this.device, headTrack: [] } : {};
        this.#motion?.change({ ...this.scene, ...head, sources });
        this.#connectMicrophone();
    }

    setDevice(turn: Turn | null): void {
        this.device = turn;
        this.#hear();
    }

    /** A node with an input for every source, through the head, if the one there is is another. */
    #renewNode(): Promise<void> {
        this.#renewing = this.#renewing.then(async () => {
            const { engine } = this;
            if (!engine || engine.fits(this.scene.sources.length, this.head)) return;
            try {
                await engine.replace(this.scene.sources.length, this.head);
                this.#motion?.forget();
                this.#player.reconnect();
                this.#hear();
            } catch (error) {
                this.fail("No sound", error);
            }
        });
        return this.#renewing;
    }

    #connectMicrophone(): void {
        const source = this.scene.sources.find((s) => s.sound === null);
        if (!source || !this.engine || !this.#microphone) return;
        const input = this.engine.slot(source.id);
        if (input >= this.engine.node.numberOfInputs) return; // until there is a larger node
        try {
            this.#microphone.connect(this.engine.context, this.engine.node, input);
        } catch (error) {
            this.fail("Microphone", error);
        }
    }

    /** On while a source wants it: when undo brings one back it is opened anew. */
    #holdMicrophone(): void {
        const wanted = this.scene.sources.some((s) => s.sound === null);
        if (!wanted) {
            this.#microphone?.close();
            this.#microphone = null;
        } else if (!this.#microphone) {
            Microphone.open()
                .then((microphone) => {
                    this.#microphone?.close();
                    this.#microphone = microphone;
                    this.#holdMicrophone();
                    this.#connectMicrophone();
                })
                .catch((error: unknown) => this.fail("Microphone", error));
        }
    }

    // --- Sounds, heads and scenes that come in ---

    #keep(samples: Int32Array): number {
        return this.#sounds.push(makeSound(samples)) - 1;
    }

    #instrument(instrument: Instrument): number {
        let id = this.#instruments.get(instrument);
        if (id === undefined) {
            id = this.#keep(play(instrument));
            this.#instruments.set(instrument, id);
        }
        return id;
    }

    #add(name: string, sound: number | null): void {
        if (this.scene.sources.length >= MOST_SOURCES) {
            throw new Error(`the page takes up to ${MOST_SOURCES} sources`);
        }
        const source = makeSource({
            id: nextId(this.scene),
            name,
            sound,
            position: freePlace(this.scene),
        });
        const first = this.scene.sources.length === 0 && sound !== null;
        const duration = first
            ? Math.max(1, roundTime(seconds(this.#sounds[sound]!)))
            : this.scene.duration;
        this.edit({ ...withSource(this.scene, source), duration: Math.min(duration, LONGEST) });
        this.choose(source.id);
    }

    addInstrument(instrument: Instrument): void {
        try {
            this.#add(instrument, this.#instrument(instrument));
        } catch (error) {
            this.fail(instrument, error);
        }
    }

    async addMicrophone(): Promise<void> {
        if (this.#microphone) {
            this.say("The microphone is there already.");
            return;
        }
        try {
            const microphone = await Microphone.open();
            if (!(await this.#start())) {
                microphone.close();
                return;
            }
            this.#microphone = microphone;
            this.#add("Microphone", null);
            this.say(
                "The microphone is on: wear headphones, or it hears itself. It is live and left out of exports.",
            );
        } catch (error) {
            this.fail("Microphone", error);
        }
    }

    openPreset(preset: Preset): void {
        const ids = preset.instruments.map((instrument) => this.#instrument(instrument));
        const sources = preset.scene.sources.map((s, k) => ({ ...s, sound: ids[k]! }));
        this.#open({ ...preset.scene, sources });
    }

    /** Another scene in place of this one, which undo brings back. */
    #open(scene: Scene): void {
        this.#stopRecording();
        this.selected = scene.sources[0]?.id ?? null;
        this.seek(0);
        if (this.scene === EMPTY && !this.canUndo) {
            this.#history.begin(scene);
            this.#changed();
        } else {
            this.edit(scene);
            this.settle();
        }
    }

    clear(): void {
        this.#open(EMPTY);
    }

    /** Sounds, a scene or a head, whatever a file is. */
    async take(files: Iterable<File>): Promise<void> {
        for (const file of files) {
            try {
                await this.#takeFile(file, new Uint8Array(await file.arrayBuffer()));
            } catch (error) {
                this.fail(file.name, error);
            }
        }
    }

    async #takeFile(file: File, bytes: Uint8Array): Promise<void> {
        const ending = file.name.slice(file.name.lastIndexOf(".") + 1).toLowerCase();
        if (ending === "zip") {
            this.#openUnpacked(await unpack(bytes, this.earshot));
            this.say(`${file.name} is open.`);
        } else if (ending === "head") {
            await this.useHead(this.earshot.loadHead(bytes));
        } else if (ending === "sofa") {
            throw new Error(
                `a measurement becomes a head by: earshot head "${file.name}" -o me.head. Drop me.head here then.`,
            );
        } else if (ending === "json") {
            throw new Error(
                "a scene's text has no sounds. Drop a ZIP with scene.json and its sounds in it.",
            );
        } else {
            const { samples, channels } = await readSound(bytes);
            this.#add(file.name.replace(/\.[^.]*$/, "") || file.name, this.#keep(samples));
            const mix = channels > 1 ? ` Its ${channels} channels are mixed to one.` : "";
            this.say(`${file.name} is added.${mix}`);
        }
    }

    #openUnpacked({ scene, samples, head }: Unpacked): void {
        if (scene.sources.length > MOST_SOURCES) {
            throw new Error(
                `it has ${scene.sources.length} sources; the page takes up to ${MOST_SOURCES}`,
            );
        }
        const loaded = head ? this.earshot.loadHead(head) : this.earshot.builtinHead;
        const ids = samples.map((words) => this.#keep(words));
        const sources = scene.sources.map((s) => ({ ...s, sound: ids[s.sound!]! }));
        const ends = sources
            .filter((s) => !s.loop)
            .map((s) => s.start + seconds(this.#sounds[s.sound]!));
        const duration = scene.duration > 0 ? scene.duration : roundTime(Math.max(0.1, ...ends));
        void this.useHead(loaded);
        this.#open({ ...scene, sources, duration });
    }

    async useHead(head: Head): Promise<void> {
        if (head === this.head) return;
        this.head = head;
        await this.#renewNode();
        this.#tell();
        this.say(`You hear through ${head.bytes ? "the head" : "the built-in head"} ${head.name}.`);
    }

    /** What goes into files, with the sounds of its sources. */
    exported(): { scene: Scene; samples: Int32Array[] } {
        const scene = exported(this.scene);
        return { scene, samples: scene.sources.map((s) => this.sound(s)!.samples) };
    }
}
