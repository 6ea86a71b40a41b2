// The sound of the page: a context at 48 kHz, the node that puts sources around a head, and what
// measures the ears.

import { type Earshot, EarshotNode, type Head } from "earshot";

import { RATE } from "../sounds/sound";

export interface Ears {
    /** Of the last 85 ms, in dBFS. */
    readonly level: number;
    readonly peak: number;
}

export const SILENCE = -100;
const decibels = (x: number) => (x > 0 ? Math.max(SILENCE, 20 * Math.log10(x)) : SILENCE);

/** A meter of one ear. */
class Meter {
    readonly analyser: AnalyserNode;
    readonly #samples: Float32Array<ArrayBuffer>;

    constructor(context: AudioContext) {
        this.analyser = new AnalyserNode(context, { fftSize: 4096 });
        this.#samples = new Float32Array(this.analyser.fftSize);
    }

    read(): Ears {
        this.analyser.getFloatTimeDomainData(this.#samples);
        let sum = 0;
        let peak = 0;
        for (const x of this.#samples) {
            sum += x * x;
            peak = Math.max(peak, Math.abs(x));
        }
        return { level: decibels(Math.sqrt(sum / this.#samples.length)), peak: decibels(peak) };
    }
}

/** The rate at which the device itself runs, as far as the browser says. */
async function deviceRate(): Promise<number | null> {
    try {
        const probe = new AudioContext();
        const rate = probe.sampleRate;
        await probe.close();
        return rate;
    } catch {
        return null;
    }
}

/** A context at the rate that earshot needs; an error that says so where the browser has another. */
function at48k(): AudioContext {
    let given = "another rate";
    try {
        const context = new AudioContext({ sampleRate: RATE, latencyHint: "interactive" });
        if (context.sampleRate === RATE) return context;
        given = `${context.sampleRate} Hz`;
        void context.close();
    } catch {
        // it says less than what follows
    }
    throw new Error(`earshot needs sound at ${RATE} Hz, and this browser only has ${given} here`);
}

export class Engine {
    readonly context: AudioContext;
    readonly deviceRate: number | null;
    readonly #earshot: Earshot;
    readonly #meters: [Meter, Meter];
    readonly #splitter: ChannelSplitterNode;
    #node: EarshotNode;
    #head: Head; // through which the node hears
    #slots = new Map<number, number>(); // source to input

    private constructor(
        earshot: Earshot,
        context: AudioContext,
        node: EarshotNode,
        head: Head,
        rate: number | null,
    ) {
        this.#earshot = earshot;
        this.#head = head;
        this.context = context;
        this.deviceRate = rate;
        this.#meters = [new Meter(context), new Meter(context)];
        this.#splitter = new ChannelSplitterNode(context, { numberOfOutputs: 2 });
        this.#meters.forEach((meter, ear) => this.#splitter.connect(meter.analyser, ear));
        this.#node = node;
        this.#connect();
    }

    /** In answer to a click or a key, which browsers want before a page sounds. */
    static async start(earshot: Earshot, sources: number, head: Head): Promise<Engine> {
        const context = at48k();
        const node = await EarshotNode.create(context, earshot, { sources: room(sources), head });
        const rate = await deviceRate();
        return new Engine(earshot, context, node, head, rate);
    }

    #connect(): void {
        this.#node.connect(this.#splitter);
        this.#node.connect(this.context.destination);
    }

    get node(): EarshotNode {
        return this.#node;
    }

    /** Whether the node has an input for so many sources, and is of this head. */
    fits(sources: number, head: Head): boolean {
        return sources <= this.#node.numberOfInputs && head === this.#head;
    }

    /** A node for so many sources, through a head: who plays connects anew. */
    async replace(sources: number, head: Head): Promise<void> {
        const node = await EarshotNode.create(this.context, this.#earshot, {
            sources: room(sources),
            head,
        });
        this.#node.disconnect();
        this.#node.destroy();
        this.#node = node;
        this.#head = head;
        this.#slots.clear();
        this.#connect();
    }

    /** The input of a source, which it keeps for as long as it is there. */
    slot(source: number): number {
        const known = this.#slots.get(source);
        if (known !== undefined) return known;
        const taken = new Set(this.#slots.values());
        let free = 0;
        while (taken.has(free)) ++free;
        this.#slots.set(source, free);
        return free;
    }

    /** Only these sources are there. */
    keep(sources: ReadonlySet<number>): void {
        for (const [source, slot] of this.#slots) {
            if (sources.has(source)) continue;
            this.#slots.delete(source);
            const { gain } = this.#node.sources[slot]!;
            gain.cancelScheduledValues(0);
            gain.value = 0;
        }
    }

    ears(): [Ears, Ears] {
        return [this.#meters[0].read(), this.#meters[1].read()];
    }
}

/** Nodes come in sizes, so that not every new source wants a new one. */
function room(sources: number): number {
    let size = 8;
    while (size < sources) size *= 2;
    return size;
}
