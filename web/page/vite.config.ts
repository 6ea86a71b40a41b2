import { defineConfig } from "vite";

// Relative addresses, so that any folder of any host can carry the page; nothing inlined as data:
// addresses, which the page's content security policy refuses.
export default defineConfig({
    base: "./",
    build: { target: "es2022", assetsInlineLimit: 0, modulePreload: { polyfill: false } },
    worker: { format: "es" },
    optimizeDeps: { exclude: ["earshot"] },
});
