// Renders a scene as `earshot render` does, away from the page's own thread.

import { load } from "earshot";

export interface RenderRequest {
    readonly text: string;
    readonly sounds: Int32Array[];
    readonly head: Uint8Array | null;
}

export type RenderAnswer =
    | { readonly kind: "progress"; readonly done: number; readonly frames: number }
    | {
          readonly kind: "done";
          readonly wav: Uint8Array<ArrayBuffer>;
          readonly digest: string;
          readonly frames: number;
          readonly clipped: number;
      }
    | { readonly kind: "failed"; readonly message: string };

const answer = (message: RenderAnswer, transfer: Transferable[] = []) =>
    postMessage(message, { transfer });

async function render({ text, sounds, head }: RenderRequest): Promise<void> {
    const earshot = await load();
    const scene = earshot.parseScene(text);
    const onProgress = (done: number, frames: number) => answer({ kind: "progress", done, frames });
    const options = { onProgress, ...(head ? { head: earshot.loadHead(head) } : {}) };
    const { wav, digest, frames, clipped } = await scene.render(sounds, options);
    const bytes = wav as Uint8Array<ArrayBuffer>;
    answer({ kind: "done", wav: bytes, digest, frames, clipped }, [bytes.buffer]);
}

addEventListener("message", ({ data }: MessageEvent<RenderRequest>) => {
    render(data).catch((error: unknown) => {
        answer({ kind: "failed", message: error instanceof Error ? error.message : String(error) });
    });
});
