// The page as people use it: by mouse, finger and keys, with files that come in and go out.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

import { unzipSync } from "fflate";

import { encodeWav } from "../../package/dist/index.js";
import { inFolder, libraries, needsTool, noise, ofFile, PROJECT, tool } from "../node/support.mjs";
import {
    choose, difference, download, drag, drop, ears, inPage, isReady, launch, named, openSound,
    serve, sleep, source, until, wayTo,
} from "./support.mjs";

const url = await serve("page/dist");
const browser = await launch();
const onPage = (work, options) => inPage(browser, url, work, options);

const SECONDS = 10;
const SOUND = ofFile(noise(48000 * SECONDS, 5, 3));
const WAV = Buffer.from(encodeWav([SOUND]));
const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf-8");

/** By how much the left ear hears the sound louder, as the library has it. */
function meant(azimuth) {
    const renderer = libraries[0].offlineRenderer({ sources: 1 });
    renderer.place(0, { azimuth });
    const [left, right] = renderer.process([SOUND]).map((ear) =>
        ear.reduce((sum, word) => sum + (word / 2 ** 31) ** 2, 0));
    renderer.free();
    return 10 * Math.log10(left / right);
}

const near = (value, wanted, within, what) =>
    assert.ok(Math.abs(value - wanted) < within, `${what}: ${value}, not ${wanted}`);

const azimuth = async (page, name) => Number(await source(page, name).getAttribute("aria-valuenow"));
const keyframes = (page) => page.getByRole("button", { name: /^Keyframe \d/ });
const playhead = (page) => page.getByRole("slider", { name: "Time" });
const error = (page) => page.getByRole("alert").filter({ hasText: /./ });
const status = (page, text) => page.getByRole("status").filter({ hasText: text }).first().waitFor();

function unpacked(zip, folder) {
    for (const [name, bytes] of Object.entries(unzipSync(zip))) {
        mkdirSync(dirname(join(folder, name)), { recursive: true });
        writeFileSync(join(folder, name), bytes);
    }
}

/** The ZIP, the WAV and its digest, as the page hands them out. */
async function exported(page) {
    await named(page, "Export").click();
    const zip = await download(page, () => named(page, "Download scene.zip").click());
    await named(page, "Render WAV").click();
    const link = page.getByRole("link", { name: "Download earshot.wav" });
    await link.waitFor();
    const wav = await download(page, () => link.click());
    const digest = await page.getByText(/^(sha256:)?[0-9a-f]{64}$/).textContent();
    await page.keyboard.press("Escape");
    return { zip, wav, digest };
}

/** That the tool makes the same of what was exported. */
async function compare({ zip, wav, digest }, ...options) {
    await inFolder((folder) => {
        unpacked(zip, folder);
        const said = tool(folder, "render", "scene.json", ...options, "-o", "out.wav", "--digest");
        assert.ok(said.includes(digest), `${said} instead of ${digest}`);
        assert.ok(readFileSync(join(folder, "out.wav")).equals(wav));
    });
}

test("a source dragged from 30 to 90 degrees is heard there", () =>
    onPage(async (page) => {
        await openSound(page, WAV);
        await named(page, "Listen").click();
        near(await azimuth(page, "Noise"), 30, 1, "azimuth");
        const before = await difference(page);
        await drag(page, "Noise", 90, 500);
        near(await azimuth(page, "Noise"), 90, 2, "azimuth");
        const after = await difference(page);
        near(before, meant(30), 1, "level difference at 30 degrees");
        near(after, meant(90), 1, "level difference at 90 degrees");
        assert.ok(after - before > 2, `${before} dB, then ${after} dB`);
    }));

test("a drag is recorded, played back and exported", (t) =>
    onPage(async (page) => {
        await openSound(page, WAV);
        await drag(page, "Noise", 80);
        await named(page, "Record").click();
        await named(page, "Pause").waitFor();
        await sleep(800);
        await drag(page, "Noise", -80, 2500);
        await named(page, "Record").click();
        await named(page, "Pause").click();
        await until(async () => (await keyframes(page).count()) > 3, "keyframes");

        await playhead(page).press("Home");
        const away = async () => Math.abs((await azimuth(page, "Noise")) - 80);
        await until(async () => (await away()) < 3, "at the start, where it was dragged from");
        await named(page, "Listen").click();
        await sleep(300);
        assert.ok((await ears(page)).difference > 3, "the start is on the left");
        const time = async () => Number(await playhead(page).getAttribute("aria-valuenow"));
        await until(async () => (await time()) > 8, "it plays on");
        assert.ok((await ears(page)).difference < -3, "the end is on the right");
        await named(page, "Pause").click();

        const files = await exported(page);
        await t.test("the tool makes the same WAV", needsTool, () => compare(files));
        await t.test("the ZIP opens as the same scene", () =>
            onPage(async (fresh) => {
                await isReady(fresh);
                await drop(fresh, "scene.zip", files.zip);
                await source(fresh, "Noise").waitFor();
                await named(fresh, "Export").click();
                const button = named(fresh, "scene.json alone");
                const json = await download(fresh, () => button.click());
                const wanted = unzipSync(files.zip)["scene.json"];
                assert.equal(json.toString(), Buffer.from(wanted).toString());
            }));
    }));

test("every example is exported as what the tool renders", needsTool, () =>
    onPage(async (page) => {
        await isReady(page);
        for (const [example, name] of [
            ["Four instruments", "Guitar"], ["A street", "Walker"], ["A spiral", "Melody"]]) {
            await choose(page, "Examples", example);
            await source(page, name).waitFor();
            await compare(await exported(page));
        }
    }));

// --- Keys ---

/** Moves the focus by the tabulator, and sees that it is to be seen on its way. */
async function tabTo(page, wanted, key = "Tab") {
    for (let k = 0; k < 80; ++k) {
        if (await wanted.evaluate((element) => element === document.activeElement)) return;
        await page.keyboard.press(key);
        const [seen, what] = await page.evaluate(() => {
            const focused = document.activeElement;
            const { outlineStyle, outlineWidth } = getComputedStyle(focused);
            const { width, height, bottom, right } = focused.getBoundingClientRect();
            const inside = width > 0 && height > 0 && bottom > 0 && right > 0;
            const outlined = outlineStyle !== "none" && parseFloat(outlineWidth) >= 2;
            return [focused === document.body || (inside && outlined), focused.outerHTML];
        });
        assert.ok(seen, `the focus is not seen: ${what}`);
    }
    assert.fail(`the tabulator does not reach ${wanted}`);
}

test("keys alone do everything", () =>
    onPage(async (page) => {
        const press = async (...keys) => {
            for (const key of keys) await page.keyboard.press(key);
        };
        const act = async (name, key = "Enter") => {
            await tabTo(page, named(page, name));
            await press(key);
        };
        const says = (name) => source(page, name).getAttribute("aria-valuetext");
        await isReady(page);

        await act("Examples");
        await press("ArrowDown", "ArrowDown", "Enter"); // a spiral, of one source with a track
        await source(page, "Melody").waitFor();
        await act("Examples");
        await press("Home", "Enter");
        await source(page, "Guitar").waitFor();

        await tabTo(page, source(page, "Guitar"));
        assert.equal(await says("Guitar"), "45 degrees left, 2.0 m");
        await press("ArrowLeft", "ArrowLeft", "Shift+ArrowLeft", "ArrowUp", "PageUp", "PageUp");
        const there = "56 degrees left, 2.3 m, 10 degrees up";
        await until(async () => (await says("Guitar")) === there, there);

        await act("Listen");
        await named(page, "Pause").waitFor();
        await until(async () => (await ears(page)).left > -60, "sound");
        await act("Loop the scene");
        const loops = () => named(page, "Loop the scene").getAttribute("aria-pressed");
        await until(async () => (await loops()) === "false", "no loop");
        await tabTo(page, playhead(page));
        await press("Space");
        await named(page, "Listen").waitFor();

        // Keyframes: one is added, and moved in time.
        await press("Home", "ArrowRight");
        await act("Keyframe");
        await tabTo(page, keyframes(page).first());
        await press("ArrowRight", "ArrowRight", "Shift+ArrowLeft");
        await keyframes(page).and(page.getByLabel(/at 1\.19 s: 56 degrees left/)).waitFor();

        // A way is recorded with the arrow keys.
        await act("Record");
        await named(page, "Pause").waitFor();
        await tabTo(page, source(page, "Guitar"), "Shift+Tab");
        for (let k = 0; k < 8; ++k) {
            await press("ArrowRight");
            await sleep(120);
        }
        await press("r");
        await act("Pause");
        await until(async () => (await keyframes(page).count()) > 3, "keyframes");

        await tabTo(page, named(page, "Export"));
        await press("Enter");
        await tabTo(page, named(page, "Download scene.zip"));
        const zip = await download(page, () => press("Enter"));
        assert.match(Buffer.from(unzipSync(zip)["scene.json"]).toString(), /"track"/);
        await act("Render WAV");
        await page.getByRole("link", { name: "Download earshot.wav" }).waitFor();
        const wav = await download(page, () => press("Enter")); // it has got the focus
        assert.equal(wav.toString("latin1", 0, 4), "RIFF");
        await press("Escape");

        for (const open of [() => press("?"), () => act("Help")]) {
            await open();
            await page.getByRole("dialog", { name: "Help" }).waitFor();
            await press("Escape");
            await page.getByRole("dialog").waitFor({ state: "hidden" });
        }
        const theme = page.getByRole("button", { name: /^(Dark|Light) theme$/ });
        const before = await theme.getAttribute("aria-label");
        await tabTo(page, theme);
        await press("Enter");
        await until(async () => (await theme.getAttribute("aria-label")) !== before, "the other");
    }));

// --- Small screens, and people who see or hear little ---

const PHONE = { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true };

test("a finger drags, and nothing is wider than a phone", () =>
    onPage(async (page) => {
        await isReady(page);
        const fingers = await page.context().newCDPSession(page);
        const touch = (type, ...touchPoints) =>
            fingers.send("Input.dispatchTouchEvent", { type, touchPoints });
        await source(page, "Guitar").scrollIntoViewIfNeeded();
        const scrolled = await page.evaluate(() => scrollY);
        const [from, ...way] = await wayTo(page, "Guitar", 100, 10);
        await touch("touchStart", from);
        for (const spot of way) await touch("touchMove", spot);
        await touch("touchEnd");
        near(await azimuth(page, "Guitar"), 100, 3, "azimuth");
        assert.equal(await page.evaluate(() => scrollY), scrolled);
        for (const width of [390, 360]) {
            await page.setViewportSize({ width, height: 800 });
            await sleep(200);
            const wide = await page.evaluate(() => document.documentElement.scrollWidth);
            assert.ok(wide <= width, `${wide} pixels at a width of ${width}`);
        }
    }, PHONE));

for (const [name, options] of [
    ["light", { colorScheme: "light" }],
    ["dark", { colorScheme: "dark" }],
    ["on a phone", { colorScheme: "dark", ...PHONE }],
])
    test(`axe finds nothing to complain of: ${name}`, () =>
        onPage(async (page) => {
            await isReady(page);
            await page.evaluate(AXE);
            const check = async (when) => {
                await sleep(300); // what fades in has
                const { violations } = await page.evaluate(() => axe.run());
                const found = violations.map(({ id, nodes }) => [id, nodes.map((n) => n.html)]);
                assert.deepEqual(found, [], when);
            };
            await check("at first");
            for (const menu of ["Examples", "Add sound"]) {
                await named(page, menu).click();
                await check(`menu ${menu}`);
                await page.keyboard.press("Escape");
            }
            await named(page, "Help").click();
            await check("help");
            await page.keyboard.press("Escape");
            await named(page, "Mute Drums").click();
            await named(page, "Export").click();
            await named(page, "Render WAV").click();
            await page.getByRole("link", { name: "Download earshot.wav" }).waitFor();
            await check("export");
            await page.keyboard.press("Escape");
            await choose(page, "Examples", "A street");
            await named(page, "Record").click();
            await drop(page, "no sound.wav", Buffer.from("nothing"));
            await error(page).waitFor();
            await check("while it records, with an error");
        }, options));

// --- Files ---

test("sounds come from files and a microphone, and are mixed", () =>
    onPage(async (page) => {
        await isReady(page);
        await choose(page, "Examples", "Empty scene");
        await drop(page, "Left.wav", WAV);
        await source(page, "Left").waitFor();
        await drop(page, "nothing.wav", Buffer.from("this is no sound"));
        await error(page).waitFor();
        assert.equal(await error(page).locator("p").count(), 1);
        assert.match(await error(page).textContent(), /^nothing\.wav: .*cannot read it as sound/);
        await drop(page, "Right.wav", WAV); // at 30 degrees right
        await source(page, "Right").waitFor();
        await named(page, "Listen").click();
        near(await difference(page), 0, 1, "both sides");

        const mute = named(page, "Mute Left");
        const solo = named(page, "Solo Left");
        await mute.click();
        near(await difference(page), -meant(30), 1, "the left one mute");
        await mute.click();
        await solo.click();
        near(await difference(page), meant(30), 1, "the left one solo");
        const loud = (await ears(page)).left;
        const gain = page.getByRole("slider", { name: "Gain of Left" });
        await gain.fill("-20");
        await sleep(600);
        near((await ears(page)).left, loud - 20, 2, "20 dB less");

        await named(page, "Remove Left").click();
        await named(page, "Remove Right").click();
        await choose(page, "Add sound", "Microphone");
        await source(page, "Microphone").waitFor();
        await until(async () => (await ears(page)).left > -60, "the beep of a microphone that is none");
    }));

const PYTHON = ["python3", "/usr/bin/python3"].find(
    (python) => spawnSync(python, ["-c", "import h5py"]).status === 0);
const needsHead = needsTool.skip ? needsTool : { skip: PYTHON ? false : "python3 has no h5py" };

/** A head of a measurement that never was. */
function makeHead(folder) {
    const write =
        "import sofa; at = sofa.grid(15, -75, 75); " +
        "sofa.write('me.sofa', at, sofa.responses(at, 48000, 256))";
    const path = fileURLToPath(new URL("tests/tool", PROJECT));
    execFileSync(PYTHON, ["-c", write], { cwd: folder, env: { ...process.env, PYTHONPATH: path } });
    tool(folder, "head", "me.sofa", "-o", "me.head");
    return readFileSync(join(folder, "me.head"));
}

test("a head of one's own is heard through and exported", needsHead, () =>
    onPage(async (page) => {
        const head = await inFolder(makeHead);
        await openSound(page, WAV);
        await named(page, "Listen").click();
        const before = await difference(page);
        await drop(page, "me.head", head);
        await status(page, "You hear through the head");
        assert.ok(Math.abs((await difference(page)) - before) > 0.5, "another head");
        const files = await exported(page);
        const name = Object.keys(unzipSync(files.zip)).find((file) => file.endsWith(".head"));
        await compare(files, "--head", name);
    }));

test("files that are no heads are told from heads", () =>
    onPage(async (page) => {
        await isReady(page);
        await drop(page, "me.sofa", Buffer.from("\x89HDF"));
        const text = /^me\.sofa: .*earshot head "me\.sofa" -o me\.head/;
        await page.getByRole("alert").getByText(text).waitFor();
        await drop(page, "me.head", Buffer.from("nothing"));
        await page.getByRole("alert").getByText(/^me\.head: /).waitFor();
    }));
