// For the audio thread: how long the processors that are registered after this file take. The
// thread's clock has steps of a millisecond, of which a sum over many quanta is still a fair mean.
// Delay makes every call take longer, which shows that the test sees a worklet that is too slow.
const delay = Number(/delay=(.*)/.exec(import.meta.url)[1]); // there is no URL here
const register = registerProcessor;
let busy = 0;

globalThis.registerProcessor = (name, processor) =>
    register(
        name,
        class extends processor {
            process(...given) {
                const begun = Date.now();
                const goesOn = super.process(...given);
                if (delay > 0) while (Date.now() < begun + delay);
                busy += Date.now() - begun;
                return goesOn;
            }
        },
    );

register(
    "clock",
    class extends AudioWorkletProcessor {
        constructor() {
            super();
            this.port.onmessage = () => this.port.postMessage(busy);
        }
        process() {
            return true;
        }
    },
);
