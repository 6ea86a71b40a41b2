// What the tests in the browser share: a host for static files, a browser, and what people do with
// the page, by the roles and names that it gives to things.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import { extname } from "node:path";
import { after } from "node:test";
import { setTimeout as sleep } from "node:timers/promises";
import { fileURLToPath } from "node:url";

import { chromium } from "playwright-core";

export { sleep };

const TYPES = {
    ".html": "text/html; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
    ".css": "text/css; charset=utf-8",
    ".wasm": "application/wasm",
};

/** A folder of this tree, below web/, on a free port of this machine. */
export async function serve(folder) {
    const root = fileURLToPath(new URL(`../../${folder}`, import.meta.url));
    const server = createServer(async ({ url }, answer) => {
        const { pathname } = new URL(url, "http://host");
        const path = pathname.endsWith("/") ? `${pathname}index.html` : pathname;
        try {
            const bytes = await readFile(root + path);
            answer.writeHead(200, { "Content-Type": TYPES[extname(path)] ?? "text/plain" });
            answer.end(bytes);
        } catch {
            answer.writeHead(404).end();
        }
    });
    await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
    after(() => server.close());
    return `http://127.0.0.1:${server.address().port}`;
}

const ARGUMENTS = `--no-sandbox --disable-gpu --disable-quic --no-first-run
    --disable-background-networking --disable-component-update --disable-sync
    --autoplay-policy=no-user-gesture-required
    --use-fake-device-for-media-stream --use-fake-ui-for-media-stream`;

export async function launch() {
    const browser = await chromium.launch({
        executablePath: process.env.EARSHOT_CHROMIUM ?? "/usr/bin/chromium",
        args: ARGUMENTS.split(/\s+/),
    });
    after(() => browser.close());
    return browser;
}

/** Work with a page that asks nobody but its host and complains of nothing. */
export async function inPage(browser, url, work, { path = "/", ...options } = {}) {
    const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, ...options });
    const complaints = [];
    context.on("request", (request) => {
        const to = request.url();
        if (!to.startsWith(`${url}/`) && !/^(blob|data):/.test(to)) complaints.push(`asked for ${to}`);
    });
    context.on("console", (message) => {
        if (["error", "warning"].includes(message.type())) complaints.push(message.text());
    });
    context.on("weberror", (error) => complaints.push(String(error.error())));
    try {
        const page = await context.newPage();
        page.setDefaultTimeout(20000);
        await page.goto(url + path);
        const result = await work(page);
        assert.deepEqual(complaints, []);
        return result;
    } finally {
        await context.close();
    }
}

/** Waits for what comes true in a moment, or fails. */
export async function until(check, what) {
    const end = performance.now() + 20000;
    while (!(await check())) {
        assert.ok(performance.now() < end, `never: ${what}`);
        await sleep(20);
    }
}

// --- What people do with the page ---

export const source = (page, name) => page.getByRole("slider", { name, exact: true });
export const named = (page, name) => page.getByRole("button", { name, exact: true });

/** One that knows its scene: the page opens an example when it has loaded. */
export const isReady = (page) => source(page, "Guitar").waitFor();

export async function choose(page, menu, item) {
    await named(page, menu).click();
    await page.getByRole("menuitem", { name: item }).click();
}

/** A single source of this sound, 30 degrees to the left. */
export async function openSound(page, buffer, name = "Noise") {
    await isReady(page);
    await choose(page, "Examples", "Empty scene");
    const opened = page.waitForEvent("filechooser");
    await choose(page, "Add sound", "Files");
    const file = { name: `${name}.wav`, mimeType: "audio/wav", buffer };
    await (await opened).setFiles([file]);
    await source(page, name).waitFor();
}

export async function drop(page, name, bytes) {
    const data = await page.evaluateHandle(([name, base64]) => {
        const transfer = new DataTransfer();
        const bytes = Uint8Array.from(atob(base64), (letter) => letter.charCodeAt(0));
        transfer.items.add(new File([bytes], name));
        return transfer;
    }, [name, Buffer.from(bytes).toString("base64")]);
    for (const event of ["dragenter", "dragover", "drop"])
        await page.getByRole("main").dispatchEvent(event, { dataTransfer: data });
}

const middle = ({ x, y, width, height }) => ({ x: x + width / 2, y: y + height / 2 });

/** The way of a drag around the head, to an azimuth, at the distance that the source has. */
export async function wayTo(page, name, azimuth, steps) {
    const stage = page.getByRole("group", { name: "From above: front is up" });
    const centre = middle(await stage.boundingBox());
    const from = middle(await source(page, name).boundingBox());
    const radius = Math.hypot(from.x - centre.x, from.y - centre.y);
    const before = Number(await source(page, name).getAttribute("aria-valuenow"));
    return Array.from({ length: steps + 1 }, (_, k) => {
        const turn = ((before + (k / steps) * (azimuth - before)) * Math.PI) / 180;
        return { x: centre.x - radius * Math.sin(turn), y: centre.y - radius * Math.cos(turn) };
    });
}

/** By the mouse, in so many milliseconds. */
export async function drag(page, name, azimuth, duration = 0) {
    const steps = Math.max(20, duration / 25);
    const [from, ...way] = await wayTo(page, name, azimuth, steps);
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    const begun = performance.now();
    for (const [k, { x, y }] of way.entries()) {
        await page.mouse.move(x, y);
        await sleep(Math.max(0, begun + ((k + 1) / steps) * duration - performance.now()));
    }
    await page.mouse.up();
}

/** What the meters of the ears say, in dBFS. */
export async function ears(page) {
    const meters = ["left", "right"].map((ear) =>
        page.getByRole("meter", { name: `Level of the ${ear} ear` }).getAttribute("aria-valuenow"));
    const [left, right] = (await Promise.all(meters)).map(Number);
    return { left, right, difference: left - right };
}

/** The mean of the level difference over a while, from when it has settled. */
export async function difference(page, count = 10) {
    await sleep(400);
    let sum = 0;
    for (let k = 0; k < count; ++k) {
        await sleep(100);
        sum += (await ears(page)).difference;
    }
    return sum / count;
}

/** The file that something makes the page hand out. */
export async function download(page, act) {
    const [file] = await Promise.all([page.waitForEvent("download"), act()]);
    return readFile(await file.path());
}
