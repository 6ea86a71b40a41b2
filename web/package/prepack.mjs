// What the tarball takes from elsewhere: the licence and notices of the project, and the
// WebAssembly modules, which have to be in dist/ by now.
import { copyFileSync, existsSync } from "node:fs";

const here = (name) => new URL(name, import.meta.url);

for (const name of ["earshot.wasm", "earshot-scalar.wasm"])
    if (!existsSync(here(`dist/${name}`))) {
        console.error(`prepack: dist/${name} is missing; scripts/web builds it`);
        process.exit(1);
    }
for (const name of ["LICENSE", "NOTICE"]) copyFileSync(here(`../../${name}`), here(name));
