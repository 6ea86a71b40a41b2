// The audio thread's file, in a scope like that of a worklet.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { libraries, noise } from "./support.mjs";

const FILE = new URL("../../package/dist/worklet.js", import.meta.url);
const QUANTUM = 128;

const registered = new Map();
globalThis.AudioWorkletProcessor = class {
    answers = [];
    port = { postMessage: (message) => this.answers.push(message) };
};
globalThis.registerProcessor = (name, processor) => {
    assert.ok(!registered.has(name));
    registered.set(name, processor);
};
globalThis.sampleRate = 48000;
globalThis.currentFrame = 0;

/** With another clock. */
function withClock(now, work) {
    const own = Object.getOwnPropertyDescriptor(performance, "now");
    Object.defineProperty(performance, "now", { configurable: true, value: now });
    try {
        work();
    } finally {
        delete performance.now;
        if (own) Object.defineProperty(performance, "now", own);
    }
}

await import(FILE);

/** A processor as a node makes it, with its quanta one after the other. */
class Thread {
    constructor(size, sources, instructionSet = "wasm") {
        const suffix = instructionSet === "wasm" ? "" : "-scalar";
        const bytes = readFileSync(
            new URL(`../../package/dist/earshot${suffix}.wasm`, import.meta.url));
        const made = registered.get(`earshot-${size}`);
        this.processor = new made(
            { processorOptions: { module: new Uint8Array(bytes), head: null, sources } });
        this.parameters = Object.fromEntries(made.parameterDescriptors.map(
            ({ name, defaultValue }) => [name, Float32Array.of(defaultValue)]));
        this.ears = [new Float32Array(QUANTUM), new Float32Array(QUANTUM)];
        this.outputs = [this.ears];
    }
    quantum(inputs) {
        const goesOn = this.processor.process(inputs, this.outputs, this.parameters);
        globalThis.currentFrame += QUANTUM;
        return goesOn;
    }
    statistics() {
        this.processor.port.onmessage({ data: "statistics" });
        return this.processor.answers.pop();
    }
}

const floats = (seed, level) => Float32Array.from(noise(QUANTUM, seed, level), (x) => x / 2 ** 31);

test("the file stands alone, with a processor for every number of sources", () => {
    assert.doesNotMatch(readFileSync(FILE, "utf-8"), /\bimport\b/);
    assert.deepEqual([...registered.keys()],
        [1, 2, 4, 8, 16, 32, 64].map((size) => `earshot-${size}`));
    for (const [name, { parameterDescriptors }] of registered) {
        const names = new Set(parameterDescriptors.map((descriptor) => descriptor.name));
        assert.equal(names.size, 3 * Number(name.slice("earshot-".length)));
        assert.ok(parameterDescriptors.every(({ automationRate }) => automationRate === "k-rate"));
    }
});

for (const library of libraries)
    test(`quanta are what blocks are: ${library.instructionSet}`, () => {
        const sources = 35; // more than a word has flags
        const thread = new Thread(64, sources, library.instructionSet);
        const renderer = library.offlineRenderer({ sources });
        const silence = new Float32Array(QUANTUM);
        for (let n = 0; n < 40; ++n) {
            const inputs = [];
            const blocks = [];
            for (let k = 0; k < sources; ++k) {
                const azimuth = 400 * Math.sin(n / 9 + k);
                const place = { azimuth, elevation: 2 * k - n, gain: k / 20 };
                for (const [name, value] of Object.entries(place))
                    thread.parameters[name + k][0] = value;
                renderer.place(k, place);
                const [left, right] = [floats(n * 99 + k, 5), floats(n * 99 + k + 50, 5)];
                switch ((k + (n >> 3)) % 4) {
                case 0: // stereo
                    inputs.push([left, right]);
                    blocks.push(left.map((sample, i) => (sample + right[i]) / 2));
                    break;
                case 1: // not connected
                    inputs.push([]);
                    blocks.push(null);
                    break;
                case 2: // connected to silence
                    inputs.push([silence]);
                    blocks.push(n % 2 ? null : silence);
                    break;
                default:
                    inputs.push([left]);
                    blocks.push(left);
                }
            }
            assert.equal(thread.quantum(inputs), true);
            assert.deepEqual(thread.ears, renderer.process(blocks), `quantum ${n}`);
        }
        assert.ok(thread.ears[0].some((sample) => sample !== 0));
        assert.deepEqual(thread.processor.answers, []);
    });

test("counts are told when asked for", () => {
    const thread = new Thread(2, 2);
    const loud = [[new Float32Array(QUANTUM).fill(1.5)], []];
    globalThis.currentFrame = 70000; // nothing is missed before the first
    let now = 1000;
    let took = 1;
    withClock(() => (now += took), () => {
        for (const [milliseconds, jump] of [[1, 0], [1, 3], [3, 0], [7, 1], [2.5, 0]]) {
            took = milliseconds;
            globalThis.currentFrame += jump * QUANTUM;
            assert.equal(thread.quantum(loud), true);
        }
    });
    const { clipped, ...counts } = thread.statistics();
    assert.deepEqual(counts, { quanta: 5, missed: 4, late: 2, longest: 7 });
    assert.ok(clipped >= 5 * QUANTUM);
    thread.processor.port.onmessage({ data: "destroy" });
    assert.equal(thread.quantum(loud), false);
});

test("a quantum leaves nothing on the heap", () => {
    const thread = new Thread(16, 16);
    const inputs = Array.from({ length: 16 }, (_, k) =>
        k % 3 === 0 ? [floats(k, 9), floats(k + 1, 9)] : k % 3 === 1 ? [floats(k, 9)] : []);
    const azimuths = inputs.map((_, k) => thread.parameters[`azimuth${k}`]);
    const run = (quanta) => {
        for (let n = 0; n < quanta; ++n) {
            for (let k = 0; k < 16; ++k) azimuths[k][0] = n + 20 * k;
            thread.quantum(inputs);
        }
    };
    // What a clock of fractions returns has to be somewhere.
    withClock(() => 0, () => {
        run(3000);
        const before = process.memoryUsage();
        run(3000);
        const after = process.memoryUsage();
        const bytes = (after.heapUsed - before.heapUsed) / 3000;
        assert.ok(Math.abs(bytes) < 4, `${bytes} bytes`); // memoryUsage makes something itself
        assert.equal(after.arrayBuffers, before.arrayBuffers);
    });
});
