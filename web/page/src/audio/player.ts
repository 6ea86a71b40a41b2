// Plays the sounds of a scene in time: the clock, and a buffer source for every sound. The scene over
// and over is a row of passes, each scheduled to the sample before the one before it ends.

import { findSource, type Scene, type Source } from "../model/scene";
import { RATE, type Sound, toFloats } from "../sounds/sound";
import type { Engine } from "./engine";

/** From a time of the scene at a time of the context, to the end of the scene. */
interface Pass {
    readonly begin: number;
    readonly from: number;
    end: number;
    readonly playing: Map<number, { node: AudioBufferSourceNode; key: string }>;
}

const AHEAD = 0.25; // seconds before the end of a pass in which the next one is made
const SOON = 0.03;

/** What a change of which means that a source has to begin anew. */
const keyOf = (s: Source) => `${s.sound} ${s.loop} ${s.start}`;

export class Player {
    loop = true;
    #passes: Pass[] = [];
    #position = 0; // while it does not play
    #scene: Scene;
    readonly #buffers = new Map<number, AudioBuffer>();

    constructor(
        private readonly engine: () => Engine | null,
        private readonly sound: (id: number) => Sound | undefined,
        scene: Scene,
    ) {
        this.#scene = scene;
    }

    get playing(): boolean {
        return this.#passes.length > 0;
    }

    #now(): number {
        return this.engine()?.context.currentTime ?? 0;
    }

    /** The time of the scene at a time of the context. */
    timeAt(context: number): number {
        let pass = this.#passes[0];
        if (!pass) return this.#position;
        for (const next of this.#passes) if (next.begin <= context) pass = next;
        const past = context - pass.end;
        if (past >= 0 && this.loop && this.#passes.at(-1) === pass)
            return past % this.#scene.duration;
        const time = pass.from + Math.max(0, context - pass.begin);
        return Math.min(time, this.#scene.duration);
    }

    get time(): number {
        return this.timeAt(this.#now());
    }

    /** How many times the scene has begun anew, so that who follows it sees that it has. */
    rounds = 0;

    play(): void {
        const engine = this.engine();
        if (!engine || this.playing) return;
        const from = this.#position >= this.#scene.duration - 0.001 ? 0 : this.#position;
        this.#addPass(engine.context.currentTime + SOON, from);
    }

    pause(): void {
        this.#position = this.time;
        this.#stop();
    }

    seek(time: number): void {
        const { playing } = this;
        this.#stop();
        this.#position = Math.min(Math.max(time, 0), this.#scene.duration);
        if (playing) this.play();
    }

    #stop(): void {
        for (const pass of this.#passes)
            for (const id of pass.playing.keys()) this.#silence(pass, id);
        this.#passes = [];
    }

    /** Starts anew what has another input: the node is a new one. */
    reconnect(): void {
        if (!this.playing) return;
        for (const pass of this.#passes) {
            for (const id of pass.playing.keys()) this.#silence(pass, id);
            for (const source of this.#scene.sources) this.#start(pass, source);
        }
    }

    /** Another state of the scene: what plays on plays on. */
    change(scene: Scene): void {
        const { duration } = this.#scene;
        this.#scene = scene;
        this.#position = Math.min(this.#position, scene.duration);
        if (duration !== scene.duration && this.playing) this.#changeDuration();
        for (const pass of this.#passes) {
            for (const [id, { key }] of pass.playing) {
                const source = findSource(scene, id);
                if (!source || keyOf(source) !== key) this.#silence(pass, id);
            }
            for (const source of scene.sources)
                if (!pass.playing.has(source.id)) this.#start(pass, source);
        }
    }

    #changeDuration(): void {
        const now = this.#now();
        const current =
            this.#passes.filter((pass) => pass.begin <= now + SOON).at(-1) ?? this.#passes[0]!;
        const end = current.begin + this.#scene.duration - current.from;
        if (this.#passes.length > 1 || end <= now + AHEAD) {
            this.seek(this.time);
            return;
        }
        current.end = end;
        for (const { node } of current.playing.values()) node.stop(end);
    }

    /** To be called many times a second. */
    tick(): void {
        const now = this.#now();
        const last = this.#passes.at(-1);
        if (!last) return;
        if (this.#passes.length > 1 && this.#passes[1]!.begin <= now) {
            this.#passes.shift();
            ++this.rounds;
        }
        if (this.loop && now > last.end - AHEAD) this.#addPass(Math.max(last.end, now), 0);
        if (!this.loop && now >= last.end) {
            this.#position = this.#scene.duration;
            this.#stop();
        }
    }

    #addPass(begin: number, from: number): void {
        const pass: Pass = {
            begin,
            from,
            end: begin + this.#scene.duration - from,
            playing: new Map(),
        };
        this.#passes.push(pass);
        for (const source of this.#scene.sources) this.#start(pass, source);
    }

    #buffer(engine: Engine, id: number): AudioBuffer | undefined {
        let buffer = this.#buffers.get(id);
        const sound = this.sound(id);
        if (!buffer && sound) {
            buffer = engine.context.createBuffer(1, sound.samples.length, RATE);
            buffer.copyToChannel(toFloats(sound.samples), 0);
            this.#buffers.set(id, buffer);
        }
        return buffer;
    }

    #start(pass: Pass, source: Source): void {
        const engine = this.engine();
        const buffer =
            engine && source.sound !== null ? this.#buffer(engine, source.sound) : undefined;
        if (!engine || !buffer) return;
        const input = engine.slot(source.id);
        if (input >= engine.node.numberOfInputs) return; // until there is a larger node
        const begin = Math.max(pass.begin, engine.context.currentTime + SOON);
        if (begin >= pass.end) return;
        const time = pass.from + begin - pass.begin;
        const into = Math.max(0, time - source.start);
        if (!source.loop && into >= buffer.duration) return;
        const node = new AudioBufferSourceNode(engine.context, { buffer, loop: source.loop });
        node.connect(engine.node, 0, input);
        node.start(
            begin + Math.max(0, source.start - time),
            source.loop ? into % buffer.duration : into,
        );
        node.stop(pass.end);
        pass.playing.set(source.id, { node, key: keyOf(source) });
    }

    #silence(pass: Pass, id: number): void {
        const playing = pass.playing.get(id);
        if (!playing) return;
        playing.node.stop();
        playing.node.disconnect();
        pass.playing.delete(id);
    }
}
