// A microphone, without what makes voices clearer and places vaguer.

export class Microphone {
    #input: MediaStreamAudioSourceNode | null = null;
    #to: AudioNode | null = null;
    #at = 0;

    private constructor(private readonly stream: MediaStream) {}

    static async open(): Promise<Microphone> {
        if (!navigator.mediaDevices?.getUserMedia) {
            throw new Error("this browser gives no microphone here: pages need https for that");
        }
        const audio = {
            echoCancellation: false,
            noiseSuppression: false,
            autoGainControl: false,
            channelCount: 1,
        };
        try {
            return new Microphone(await navigator.mediaDevices.getUserMedia({ audio }));
        } catch (error) {
            const refused = error instanceof DOMException && error.name === "NotAllowedError";
            throw new Error(
                refused
                    ? "the browser was told not to give the microphone"
                    : "there is no microphone",
            );
        }
    }

    connect(context: AudioContext, node: AudioNode, input: number): void {
        if (this.#to === node && this.#at === input) return;
        this.#to = node;
        this.#at = input;
        this.#input?.disconnect();
        this.#input = new MediaStreamAudioSourceNode(context, { mediaStream: this.stream });
        this.#input.connect(node, 0, input);
    }

    close(): void {
        this.#input?.disconnect();
        for (const track of this.stream.getTracks()) track.stop();
    }
}
