// Takes the pictures of README.md and docs/web.md: npm run screenshots, after npm run build.
import { fileURLToPath } from "node:url";
import { test } from "node:test";

import { choose, inPage, isReady, launch, named, serve, sleep, source } from "./support.mjs";

const DESK = { viewport: { width: 1280, height: 800 } };
const PHONE = { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true };

const url = await serve("page/dist");
const browser = await launch();

for (const [name, options] of [
    ["light", { ...DESK, colorScheme: "light" }],
    ["dark", { ...DESK, colorScheme: "dark" }],
    ["phone", { ...PHONE, colorScheme: "light" }],
])
    test(name, () =>
        inPage(browser, url, async (page) => {
            await isReady(page);
            await choose(page, "Examples", "A street");
            await source(page, "Car").waitFor();
            await named(page, "Listen").click();
            await sleep(5400); // the car is about to pass
            const path = fileURLToPath(new URL(`../../../docs/web-${name}.png`, import.meta.url));
            await page.screenshot({ path });
        }, options));
