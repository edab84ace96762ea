// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Builds the manuals: node web/build_manuals.js FOLDER. The folder then holds one page for each
 * language, under the names by which the program opens them.
 */
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { kWords } from "./manual/words.js";
import { manualPage } from "./manual_page.js";

/** Pages by the language of their text. */
const kPages = /** @type {const} */ ([
    ["en", "help_en.html"],
    ["ja", "help_jp.html"],
]);

const [, , folder] = process.argv;
if (folder === undefined) throw new Error("Usage: node web/build_manuals.js FOLDER");
const here = path.dirname(fileURLToPath(import.meta.url));
const source = path.join(here, "manual");

/** @param {string} name */
const read = (name) => readFileSync(path.join(source, name), "utf8");
const common = {
    frame: read("frame.html"),
    style: read("style.css"),
    icon: read("../../resources/icon/vistrel.svg"),
    picture: (/** @type {string} */ name) => readFileSync(path.join(source, name)),
};
mkdirSync(folder, { recursive: true });
for (const [language, name] of kPages) {
    const text = read(`${language}.html`);
    const page = manualPage({ ...common, language, words: kWords[language], text });
    writeFileSync(path.join(folder, name), page);
}
