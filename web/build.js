// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Builds the viewer page: node web/build.js FOLDER PAINTER [--source-maps]. The folder then holds
 * exactly the files that the program carries; they work side by side from file:// without a server.
 * PAINTER is the WebAssembly of the painter for machines without a graphics card.
 */
import { build } from "esbuild";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { fzstdPlugin } from "./fzstd_text.js";
import { withViewerPolicy } from "./policy.js";
import { kDelivery, kOldestBrowser, painterDelivery, sparkText } from "./spark_file.js";

const kSpark = "@sparkjsdev/spark";
/** Files beside the page, by the name under which its sources import them. */
const kBeside = new Map([
    ["three", "three"],
    [kSpark, "./spark.module.js"],
    ["./OrbitControls3d.js", "./OrbitControls3d.js"],
]);
const kScriptPlace = "/* the page's bundle */";

const [, , folder, painter, option] = process.argv;
if (painter === undefined) {
    throw new Error("Usage: node web/build.js FOLDER PAINTER [--source-maps]");
}
const withSourceMaps = option === "--source-maps";
const source = path.join(path.dirname(fileURLToPath(import.meta.url)), "src");
const require = createRequire(import.meta.url);

/** @type {import("esbuild").Plugin} */
const besidePlugin = {
    name: "beside",
    setup({ onResolve }) {
        onResolve({ filter: /.*/ }, ({ path: name, kind }) => {
            const beside = kind === "entry-point" ? undefined : kBeside.get(name);
            return beside === undefined ? undefined : { path: beside, external: true };
        });
    },
};

/**
 * Has the modules of a bundle import the files beside it when they are first needed themselves, and
 * not when the bundle is loaded, which would hold up the page.
 * @type {import("esbuild").Plugin}
 */
const lazyBesidePlugin = {
    name: "lazy beside",
    setup({ onResolve, onLoad }) {
        onResolve({ filter: /.*/ }, ({ path: name, kind }) => {
            if (!kBeside.has(name) || kind !== "import-statement") return undefined;
            return { path: name, namespace: "lazy" };
        });
        onLoad({ filter: /.*/, namespace: "lazy" }, async ({ path: name }) => {
            const names = await exportsOf(name);
            if (name === kSpark) names.push(kDelivery);
            return {
                contents: `export const { ${names.join(", ")} } = await import("${name}");`,
                resolveDir: source,
            };
        });
    },
};

/**
 * @param {string} name of a file beside the page, as its sources import it
 * @returns {Promise<string[]>}
 */
async function exportsOf(name) {
    const { metafile } = await build({
        entryPoints: [name],
        absWorkingDir: source,
        bundle: true,
        format: "esm",
        write: false,
        metafile: true,
        logLevel: "error",
    });
    return Object.values(metafile.outputs)[0].exports;
}

/**
 * @param {string} entry module below the source folder
 * @param {import("esbuild").Plugin[]} plugins
 * @returns {Promise<string>}
 */
async function bundle(entry, plugins) {
    const result = await build({
        entryPoints: [path.join(source, entry)],
        bundle: true,
        format: "esm",
        target: kOldestBrowser,
        sourcemap: withSourceMaps && "inline",
        legalComments: "inline",
        charset: "utf8",
        // The page is read at every start. Names stay, for what the console tells.
        minifyWhitespace: !withSourceMaps,
        write: false,
        plugins: [...plugins, fzstdPlugin],
    });
    return result.outputFiles[0].text;
}

/** @returns {Promise<string>} the page with its module script and its policy */
async function page() {
    const [template, script] = await Promise.all([
        readFile(path.join(source, "gaus3d.html"), "utf8"),
        bundle("page.js", [lazyBesidePlugin, besidePlugin]),
    ]);
    if (template.split(kScriptPlace).length !== 2) throw new Error("The page has no script place");
    if (/<\/script|<!--/i.test(script)) throw new Error("The script would end the page's element");
    return withViewerPolicy(template.replace(kScriptPlace, () => `\n${script}`));
}

/** @returns {Promise<string>} Spark, and the painter */
async function spark() {
    return `${await sparkText()}\n${await painterDelivery(painter)}`;
}

/**
 * @param {string} name
 * @returns {Promise<string>}
 */
function three(name) {
    return readFile(path.join(path.dirname(require.resolve("three")), name), "utf8");
}

const files = await Promise.all([
    ["gaus3d.html", page()],
    ["three.module.js", three("three.module.js")],
    ["three.core.js", three("three.core.js")],
    ["spark.module.js", spark()],
    ["OrbitControls3d.js", bundle("OrbitControls3d.js", [besidePlugin])],
].map(async ([name, text]) => /** @type {const} */ ([String(name), await text])));
await mkdir(folder, { recursive: true });
await Promise.all(files.map(([name, text]) => writeFile(path.join(folder, name), text)));
