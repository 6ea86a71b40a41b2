// The node on the audio thread: in time with sixteen sources that move, and the bits of blocks.
//
// What is counted. The browser has no device here: it renders for a sink that a timer drives, with
// the same thread, priorities and buffers as for one. Two things can go wrong, and each has a count:
// - `missed`: the frame counter of the context goes on and the node is not called;
// - `playbackStats.underrunEvents`: the sink wanted samples that were not there yet. The context's
//   frame counter stands still meanwhile, so quanta lag behind the clock as well.
// The first second is not counted: making a node costs the running context some quanta, once.
// A machine that others use, too, may keep the audio thread waiting though it has little to do. So
// there are three runs; a worklet that is too slow fails in all of them.
import assert from "node:assert/strict";
import { test } from "node:test";

import { inPage, launch, serve } from "./support.mjs";

const SECONDS = Number(process.env.EARSHOT_WORKLET_SECONDS ?? 60);
const DELAY = process.env.EARSHOT_WORKLET_DELAY ?? "0"; // milliseconds per quantum, for a trial
const RUNS = 3;

const url = await serve("");
const browser = await launch();
const inNode = (work) => inPage(browser, url, work, { path: "/tests/browser/worklet.html" });

/** In the page: sixteen tones that circle, each at a speed of its own, for so many seconds. */
async function circle([seconds, delay]) {
    const { load, EarshotNode } = await import("/package/dist/index.js");
    const wait = (s) => new Promise((resolve) => setTimeout(resolve, 1000 * s));
    const context = new AudioContext({ sampleRate: 48000 });
    await context.audioWorklet.addModule(`/tests/browser/clock.js?delay=${delay}`);
    const clock = new AudioWorkletNode(context, "clock");
    clock.connect(context.destination);
    const node = await EarshotNode.create(context, await load(), { sources: 16 });
    node.connect(context.destination);
    node.sources.forEach(({ azimuth, elevation, gain }, k) => {
        const tone = new OscillatorNode(context, { type: "sawtooth", frequency: 100 + 37 * k });
        tone.connect(node, 0, k);
        tone.start();
        const end = context.currentTime + seconds + 10;
        for (const [parameter, from, to] of [
            [azimuth, 0, (k % 2 ? 20 : -20) * (k + 1) * (seconds + 10)],
            [elevation, -40, 80],
            [gain, 0.02, 0.06],
        ]) {
            parameter.setValueAtTime(from, 0);
            parameter.linearRampToValueAtTime(to, end);
        }
    });
    await context.resume();
    await wait(1);
    const counts = async () => {
        const busy = new Promise((resolve) => (clock.port.onmessage = ({ data }) => resolve(data)));
        clock.port.postMessage("");
        const { underrunEvents, underrunDuration } = context.playbackStats ?? {};
        return {
            ...(await node.statistics()),
            busy: await busy,
            underruns: underrunEvents,
            silence: underrunDuration,
            now: performance.now(),
        };
    };
    const before = await counts();
    await wait(seconds);
    const after = await counts();
    const { state } = context;
    await context.close();
    const counted = Object.entries(after).map(([name, count]) => [name, count - before[name]]);
    return { state, longest: after.longest, ...Object.fromEntries(counted) };
}

test(`sixteen moving sources for ${SECONDS} s without a missed quantum`, async (t) => {
    for (let run = 1; run <= RUNS; ++run) {
        const counts = await inNode((page) => page.evaluate(circle, [SECONDS, DELAY]));
        const { state, quanta, missed, late, busy, underruns, silence, now } = counts;
        const wanted = (now * 48) / 128;
        t.diagnostic(
            `run ${run}: ${quanta} quanta, the clock ${wanted.toFixed(0)}; missed ${missed}, late ` +
                `${late}; underruns ${underruns ?? "not told"}, ${silence ?? "?"} s; ` +
                `mean load ${((100 * busy) / now).toFixed(1)} %`,
        );
        assert.equal(state, "running");
        const good =
            missed === 0 && !underruns && Math.abs(quanta - wanted) < 0.005 * wanted + 20;
        if (good) return;
    }
    assert.fail(`quanta were missed in each of ${RUNS} runs`);
});

test("the bits of a source that stands still are those of blocks", async () => {
    const [live, blocks] = await inNode((page) =>
        page.evaluate(async () => {
            const { load, EarshotNode } = await import("/package/dist/index.js");
            const earshot = await load();
            const length = 24000;
            let state = 1;
            const sound = Float32Array.from({ length }, () => {
                state = (Math.imul(state, 1664525) + 1013904223) | 0;
                return (state >> 8) / 2 ** 25;
            });
            const frames = 128 * Math.ceil(length / 128) + 256;
            const context = new OfflineAudioContext(2, frames, 48000);
            const node = await EarshotNode.create(context, earshot, { sources: 1 });
            node.sources[0].azimuth.value = 70;
            node.sources[0].elevation.value = 20;
            node.sources[0].gain.value = 0.5;
            const buffer = new AudioBuffer({ length, sampleRate: 48000 });
            buffer.copyToChannel(sound, 0);
            const player = new AudioBufferSourceNode(context, { buffer });
            player.connect(node, 0, 0);
            node.connect(context.destination);
            player.start();
            const rendered = await context.startRendering();
            const renderer = earshot.offlineRenderer({ sources: 1 });
            renderer.place(0, { azimuth: 70, elevation: 20, gain: 0.5 });
            const ears = renderer.process([sound]);
            const words = (samples) => [...new Int32Array(samples.slice(0, length).buffer)];
            return [
                [0, 1].map((ear) => words(rendered.getChannelData(ear))),
                ears.map((samples) => words(samples)),
            ];
        }));
    assert.ok(blocks[0].some((word) => word !== 0));
    assert.deepEqual(live, blocks);
});
