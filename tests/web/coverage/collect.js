// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Writes which lines of the page's sources ran, in LCOV's format, to the standard output:
 * node collect.js SOURCES NODE_COUNTS PAGE_COUNTS. NODE_COUNTS is the folder that NODE_V8_COVERAGE
 * named when the unit tests ran, PAGE_COUNTS what page_coverage.js wrote.
 */
import { transform } from "esbuild";
import { readdir, readFile } from "node:fs/promises";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { countLines, lineStarts, segmentsOf, sourceName } from "./line_counts.js";

/** Counts of the lines with code, by the name of their file. @type {Map<string, Map<number, number>>} */
const files = new Map();

/** @param {string} name @param {Iterable<[number, number]>} lines and how often they ran */
function add(name, lines) {
    const known = files.get(name) ?? new Map();
    for (const [line, count] of lines) known.set(line, (known.get(line) ?? 0) + count);
    files.set(name, known);
}

/**
 * Bundles have no code for them.
 * @param {string} text
 * @returns {string} with blanks in their place
 */
function withoutImports(text) {
    return text.replace(/^import [^;]*;/gm, (found) => found.replace(/[^\n]/g, " "));
}

/**
 * Where the code of a source is that runs as it is.
 * @param {string} text
 */
async function segmentsOfSource(text) {
    const { code, map } = await transform(text, { sourcemap: "external" });
    const starts = lineStarts(text);
    return segmentsOf(code, JSON.parse(map)).map((segment) => ({
        ...segment,
        offset: starts[segment.line - 1] + segment.column,
    }));
}

/** @param {string} folder @returns {Promise<any[]>} what its files hold; nothing where there is none */
async function readJson(folder) {
    const names = await readdir(folder).catch(() => []);
    return Promise.all(
        names.map(async (name) => JSON.parse(await readFile(path.join(folder, name), "utf8"))));
}

const [, , sources, nodeCounts, pageCounts] = process.argv;
/** @type {Map<string, {length: number, segments: import("./line_counts.js").Segment[]}>} */
const scripts = new Map();
for (const entry of await readdir(sources, { recursive: true })) {
    const file = path.join(path.resolve(sources), entry);
    const name = sourceName(file);
    if (name === undefined) continue;
    const text = withoutImports(await readFile(file, "utf8"));
    const segments = await segmentsOfSource(text);
    scripts.set(file, { length: text.length, segments });
    add(name, segments.map(({ line }) => [line, 0]));
}
for (const { result } of await readJson(nodeCounts)) {
    for (const { url, functions } of result) {
        const file = url.startsWith("file:") ? fileURLToPath(url.replace(/[?#].*$/, "")) : "";
        const script = scripts.get(file);
        if (script === undefined) continue;
        for (const [, lines] of countLines(script.length, functions, script.segments)) {
            add(String(sourceName(file)), lines);
        }
    }
}
for (const page of await readJson(pageCounts)) {
    for (const [name, lines] of page) add(name, lines);
}

for (const [name, lines] of [...files].sort()) {
    const sorted = [...lines].sort(([a], [b]) => a - b);
    const text = sorted.map(([line, count]) => `DA:${line},${count}\n`).join("");
    process.stdout.write(`SF:${name}\n${text}end_of_record\n`);
}
