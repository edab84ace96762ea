// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Builds the shared page: node web/build_share.js OUTPUT PAINTER. OUTPUT is one HTML file without a
 * scene; vistrel-share fills in what kPlaces lists (docs/viewer.md says how). PAINTER is the
 * WebAssembly of the painter for machines without a graphics card.
 */
import { build } from "esbuild";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { fzstdPlugin } from "./fzstd_text.js";
import { withSharePolicy } from "./policy.js";
import { painterDelivery, sparkText } from "./spark_file.js";
import { withBytesInText, withSmallWorker } from "./spark_text.js";

/** The first browsers that have all that the page uses. */
const kTarget = ["chrome102", "firefox113", "safari16.4"];
const kLicencesPlace = "(the licences)";
/** What the page holds of others', as THIRD_PARTY_NOTICES names it. */
const kOthers = ["three.js", "Spark", "fzstd", "wasi-libc", "libc++"];
const kScriptPlace = "/* the page's bundle */";
/** Each of them once, in this order. */
const kPlaces = [
    "(the scene's title)",
    "(the scene's poster)",
    "(the scene's facts)",
    "(the scene's bytes)",
];

const [, , output, painter] = process.argv;
if (painter === undefined) throw new Error("Usage: node web/build_share.js OUTPUT PAINTER");
const source = path.join(path.dirname(fileURLToPath(import.meta.url)), "src");

/** @returns {Promise<string>} Spark, which asks for nothing, and the painter */
async function spark() {
    const text = await withSmallWorker(withBytesInText(await sparkText()));
    return `${text}\n${await painterDelivery(painter)}`;
}

/** @type {import("esbuild").Plugin} */
const sparkPlugin = {
    name: "spark",
    setup({ onLoad }) {
        onLoad({ filter: /spark\.module\.js$/ }, async () => ({ contents: await spark() }));
    },
};

/** @returns {Promise<string>} the page's script */
async function bundle() {
    const { outputFiles } = await build({
        entryPoints: [path.join(source, "share", "page.js")],
        bundle: true,
        format: "esm",
        target: kTarget,
        minify: true,
        legalComments: "inline",
        charset: "utf8",
        write: false,
        plugins: [sparkPlugin, fzstdPlugin],
    });
    return outputFiles[0].text;
}

/** @returns {Promise<string>} notices of what others wrote */
async function licences() {
    const file = path.join(source, "..", "..", "THIRD_PARTY_NOTICES");
    const all = await readFile(file, "utf8");
    const paragraphs = all.split("\n\n");
    const notices = kOthers.map((name) => paragraphs.find((text) => text.startsWith(name)));
    const licence = all.slice(all.indexOf("\n(1) "), all.indexOf("\n(2) ")).trim();
    if (notices.includes(undefined) || licence === "") throw new Error("A notice is missing");
    return [...notices, licence].join("\n\n").replaceAll(/-{2,}\n/g, "");
}

/**
 * @param {string} page
 * @returns {string} the same
 */
function withPlaces(page) {
    const order = kPlaces.map((place) => {
        if (page.split(place).length !== 2) throw new Error(`The page has not one ${place}`);
        return page.indexOf(place);
    });
    if (order.some((at, i) => at < (order[i - 1] ?? 0))) throw new Error("The places are mixed up");
    return page;
}

const [html, script, notices] = await Promise.all([
    readFile(path.join(source, "share", "share.html"), "utf8"),
    bundle(),
    licences(),
]);
const template = html.replace(kLicencesPlace, () => notices);
if (template.split(kScriptPlace).length !== 2) throw new Error("The page has no script place");
if (/<\/script|<!--/i.test(script)) throw new Error("The script would end the page's element");
const page = withSharePolicy(withPlaces(template.replace(kScriptPlace, () => `\n${script}`)));
await mkdir(path.dirname(output), { recursive: true });
await writeFile(output, page);
