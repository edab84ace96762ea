// SPDX-License-Identifier: GPL-3.0-or-later
// The library of SPZ as WebAssembly. Its package does not say that its file is a module, which older
// versions of Node.js do not find out.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const file = createRequire(import.meta.url).resolve("@adobe/spz");

/** @type {{ default: typeof import("@adobe/spz").default }} */
const { default: createSpz } = await import(
    `data:text/javascript;base64,${readFileSync(file, "base64")}`
);
export { createSpz };
