// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Counts what runs of the page in Chromium, where VISTREL_PAGE_COVERAGE names a folder for it. The
 * page has to be built with source maps.
 */
import { mkdir, writeFile } from "node:fs/promises";
import path from "node:path";
import { countLines, segmentsOf, sourceName } from "./line_counts.js";

const folder = process.env.VISTREL_PAGE_COVERAGE;
const kMap = /^\/\/# sourceMappingURL=data:application\/json;base64,(.*)$/m;

/** Files of the page with code of ours. */
const kCounted = /\/(gaus3d\.html|OrbitControls3d\.js)([?#].*)?$/;

/** @type {Map<string, import("./line_counts.js").Segment[]>} */
const knownScripts = new Map();

/** @param {string} script */
function segmentsFor(script) {
    const known = knownScripts.get(script);
    if (known !== undefined) return known;
    const map = kMap.exec(script)?.[1];
    if (map === undefined) throw new Error("The page was built without source maps");
    const segments = segmentsOf(script, JSON.parse(Buffer.from(map, "base64").toString()));
    knownScripts.set(script, segments);
    return segments;
}

/** @param {import("playwright-core").Page} page that has loaded nothing yet */
export async function startCounting(page) {
    if (folder !== undefined) await page.coverage.startJSCoverage({ resetOnNavigation: false });
}

let pages = 0;

/** @param {import("playwright-core").Page} page */
export async function stopCounting(page) {
    if (folder === undefined || page.isClosed()) return;
    /** @type {[string, [number, number][]][]} */
    const counts = [];
    for (const { url, source: script, functions } of await page.coverage.stopJSCoverage()) {
        if (!kCounted.test(url) || script === undefined) continue;
        const lines = countLines(script.length, functions, segmentsFor(script));
        for (const [source, ofSource] of lines) {
            const name = sourceName(source);
            if (name !== undefined) counts.push([name, [...ofSource]]);
        }
    }
    await mkdir(folder, { recursive: true });
    const name = `${process.pid}-${pages++}.json`;
    await writeFile(path.join(folder, name), JSON.stringify(counts));
}
