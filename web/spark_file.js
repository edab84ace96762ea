// SPDX-License-Identifier: GPL-3.0-or-later
import { build } from "esbuild";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";
import {
    avoidReservedWord,
    decodeWithoutWebGL,
    readPalettes,
    readRecordsWithoutEval,
} from "./spark_text.js";

/** What Spark's file exports besides, for where it cannot draw itself. */
export const kDelivery = "softwarePainter";

/** The oldest browser to run in, that of QtWebEngine 6.4. */
export const kOldestBrowser = "chrome102";

/** @returns {Promise<string>} Spark without what keeps it from running everywhere */
export async function sparkText() {
    const { resolve } = createRequire(import.meta.url);
    const file = path.join(path.dirname(resolve("@sparkjsdev/spark")), "spark.module.js");
    const changes = [avoidReservedWord, readRecordsWithoutEval, readPalettes, decodeWithoutWebGL];
    const original = await readFile(file, "utf8");
    return changes.reduce((changed, change) => change(changed), original);
}

/** @returns {Promise<string>} the text of a painter's worker */
async function worker() {
    const source = path.join(path.dirname(fileURLToPath(import.meta.url)), "src", "painter");
    const { outputFiles } = await build({
        entryPoints: [path.join(source, "eye_worker.js")],
        bundle: true,
        minify: true,
        format: "iife",
        target: kOldestBrowser,
        legalComments: "none",
        write: false,
    });
    return outputFiles[0].text;
}

/**
 * @param {string} painter file of the WebAssembly of the painter for machines without a graphics card
 * @returns {Promise<string>} source text that exports it with its worker
 */
export async function painterDelivery(painter) {
    const delivery = { worker: await worker(), wasm: await readFile(painter, "base64") };
    return `export const ${kDelivery} = ${JSON.stringify(delivery)};\n`;
}
