/**
 * Builds the viewer page: node web/build.js FOLDER. The folder then holds exactly the files that
 * the program carries; they work side by side from file:// without a server.
 */
import { build } from "esbuild";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { avoidReservedWord } from "./reserved_word.js";

/** The oldest browser to run in, that of QtWebEngine 6.4. */
const kTarget = "chrome102";
/** Files beside the page, by the name under which its sources import them. */
const kBeside = new Map([
    ["three", "three"],
    ["@sparkjsdev/spark", "./spark.module.js"],
    ["./OrbitControls3d.js", "./OrbitControls3d.js"],
]);
const kScriptPlace = "/* the page's bundle */";

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
 * @param {string} entry module below the source folder
 * @returns {Promise<string>}
 */
async function bundle(entry) {
    const result = await build({
        entryPoints: [path.join(source, entry)],
        bundle: true,
        format: "esm",
        target: kTarget,
        legalComments: "inline",
        charset: "utf8",
        write: false,
        plugins: [besidePlugin],
    });
    return result.outputFiles[0].text;
}

/** @returns {Promise<string>} the page with its module script */
async function page() {
    const [template, script] = await Promise.all([
        readFile(path.join(source, "gaus3d.html"), "utf8"),
        bundle("page.js"),
    ]);
    if (template.split(kScriptPlace).length !== 2) throw new Error("The page has no script place");
    if (/<\/script|<!--/i.test(script)) throw new Error("The script would end the page's element");
    return template.replace(kScriptPlace, () => `\n${script}`);
}

/** @returns {Promise<string>} Spark without the reserved word */
async function spark() {
    const file = path.join(path.dirname(require.resolve("@sparkjsdev/spark")), "spark.module.js");
    return avoidReservedWord(await readFile(file, "utf8"));
}

/**
 * @param {string} name
 * @returns {Promise<string>}
 */
function three(name) {
    return readFile(path.join(path.dirname(require.resolve("three")), name), "utf8");
}

const [, , folder] = process.argv;
if (folder === undefined) throw new Error("Usage: node web/build.js FOLDER");
const files = await Promise.all([
    ["gaus3d.html", page()],
    ["three.module.js", three("three.module.js")],
    ["three.core.js", three("three.core.js")],
    ["spark.module.js", spark()],
    ["OrbitControls3d.js", bundle("OrbitControls3d.js")],
].map(async ([name, text]) => /** @type {const} */ ([String(name), await text])));
await mkdir(folder, { recursive: true });
await Promise.all(files.map(([name, text]) => writeFile(path.join(folder, name), text)));
