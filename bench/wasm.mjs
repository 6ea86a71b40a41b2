// Frames of moving and of still sources through WebAssembly modules, turn and turn about:
//     node bench/wasm.mjs build/wasm/earshot.wasm build/wasm-scalar/earshot.wasm
// A line for each module: microseconds of a frame of 96 samples, the median of all turns.
import { createHash } from "node:crypto";
import { readFileSync } from "node:fs";

const sources = 16;
const block = 128;
const blocks = 750;
const turns = 9;

class Module {
  constructor(file) {
    this.file = file;
    this.calls = new WebAssembly.Instance(new WebAssembly.Module(readFileSync(file))).exports;
    this.calls._initialize();
    this.times = { moving: [], still: [] };
    this.digests = {};
  }

  // Noise through all sources; the time of the calls alone, in ms.
  turn(kind) {
    const { calls } = this;
    const live = calls.earshot_live_create(sources, calls.earshot_web_builtin_head());
    const memory = calls.memory.buffer;
    const places = new Float32Array(memory, calls.earshot_live_places(live), 3 * sources);
    const inputs = Array.from({ length: sources }, (_, k) =>
      new Int32Array(memory, calls.earshot_live_input_words(live, k), block));
    const ears = new Uint8Array(memory, calls.earshot_live_output_words(live), 4 * block);
    const digest = createHash("sha256");
    let state = 1;
    let spent = 0;
    for (let b = 0; b < blocks; ++b) {
      for (let k = 0; k < sources; ++k) {
        places.set([20 * k + (kind === "moving" ? 0.3 * b : 0), 3 * k - 20, 0.5], 3 * k);
        for (let i = 0; i < block; ++i) {
          state = (Math.imul(state, 1664525) + 1013904223) | 0;
          inputs[k][i] = state >> 3;
        }
      }
      const begin = performance.now();
      calls.earshot_live_process_words(live, block);
      spent += performance.now() - begin;
      digest.update(ears);
    }
    calls.earshot_live_destroy(live);
    this.times[kind].push((1000 * spent * 96) / (blocks * block));
    this.digests[kind] = digest.digest("hex");
  }
}

const median = (values) => values.sort((a, b) => a - b)[values.length >> 1];

const modules = process.argv.slice(2).map((file) => new Module(file));
for (let turn = 0; turn < turns; ++turn)
  for (const kind of ["moving", "still"]) for (const module of modules) module.turn(kind);
for (const { file, times, digests } of modules) {
  const figures = Object.entries(times).map(([kind, each]) => `${median(each).toFixed(1)} us ${kind}`);
  console.log(`${file}: ${figures.join(", ")}, ${sources} sources`);
  if (JSON.stringify(digests) !== JSON.stringify(modules[0].digests)) {
    console.error(`${file}: other samples than ${modules[0].file}`);
    process.exitCode = 1;
  }
}
