// SPDX-License-Identifier: GPL-3.0-or-later
/** A change to the text of fzstd 0.1.1. */
import { transform } from "esbuild";
import { readFile } from "node:fs/promises";
import { kOldestBrowser } from "./spark_file.js";

/** Stands where a sequence is about to be carried out: so many literals, so long a match. */
const kSequence = /(?=if \(off > 3\) \{)/g;

/**
 * Sequences that write more than the block has room for would go on for minutes, although none of
 * it arrives.
 * @param {string} fzstd source text
 * @returns {string} the same, which refuses such a block
 * @throws {Error} when the text is another than the one that was looked through
 */
export function refuseLongBlocks(fzstd) {
    const places = fzstd.match(kSequence)?.length ?? 0;
    if (places !== 1) throw new Error(`fzstd has ${places} places of sequences and not one`);
    return fzstd.replace(kSequence, "if (oubt + ll + ml > buf.length)\n err(0);\n");
}

/**
 * Has a bundle take fzstd with the change.
 * @type {import("esbuild").Plugin}
 */
export const fzstdPlugin = {
    name: "fzstd",
    setup({ onLoad }) {
        onLoad({ filter: /[\\/]fzstd[\\/].*\.mjs$/ }, async ({ path: file }) => {
            const text = refuseLongBlocks(await readFile(file, "utf8"));
            const options = { minify: true, target: kOldestBrowser };
            return { contents: (await transform(text, options)).code };
        });
    },
};
