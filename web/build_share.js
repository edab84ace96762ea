// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Builds the shared page: node web/build_share.js OUTPUT PAINTER. OUTPUT is one HTML file without a
 * scene; vistrel-share fills in what kPlaces lists (docs/viewer.md says how). PAINTER is the
 * WebAssembly of the painter for machines without a graphics card.
 */
import { build } from "esbuild";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { painterDelivery } from "./painter_delivery.js";
import { withSharePolicy } from "./policy.js";
import {
    avoidReservedWord,
    readRecordsWithoutEval,
    withBytesInText,
    withSmallWorker,
} from "./spark_text.js";

/** The first browsers that have all that the page uses. */
const kTarget = ["chrome102", "firefox113", "safari16.4"];
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
const require = createRequire(import.meta.url);

/** @returns {Promise<string>} Spark, which asks for nothing, and the painter */
async function spark() {
    const file = path.join(path.dirname(require.resolve("@sparkjsdev/spark")), "spark.module.js");
    const text = readRecordsWithoutEval(avoidReservedWord(await readFile(file, "utf8")));
    return `${await withSmallWorker(withBytesInText(text))}\n${await painterDelivery(painter)}`;
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
        plugins: [sparkPlugin],
    });
    return outputFiles[0].text;
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

const [template, script] = await Promise.all([
    readFile(path.join(source, "share", "share.html"), "utf8"),
    bundle(),
]);
if (template.split(kScriptPlace).length !== 2) throw new Error("The page has no script place");
if (/<\/script|<!--/i.test(script)) throw new Error("The script would end the page's element");
const page = withSharePolicy(withPlaces(template.replace(kScriptPlace, () => `\n${script}`)));
await mkdir(path.dirname(output), { recursive: true });
await writeFile(output, page);
