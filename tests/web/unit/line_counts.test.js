// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { build } from "esbuild";
import { countLines, segmentsOf, sourceName } from "../coverage/line_counts.js";

/**
 * What of a source ran, as often as `counts` say of each function and branch of its script.
 * @param {string} text of the source
 * @param {(script: string) => [string, number][]} counts parts of the script, the outer ones first
 */
async function countsOf(text, counts) {
    const { outputFiles } = await build({
        stdin: { contents: text, sourcefile: "source.js" },
        bundle: true,
        write: false,
        sourcemap: "external",
        outfile: "script.js",
    });
    const [map, script] = outputFiles.map((file) => file.text);
    const ranges = counts(script).map(([part, count]) => {
        const startOffset = script.indexOf(part);
        assert.notEqual(startOffset, -1, script);
        return { startOffset, endOffset: startOffset + part.length, count };
    });
    const lines = countLines(script.length, [{ ranges }], segmentsOf(script, JSON.parse(map)));
    return Object.fromEntries([...lines.values()][0]);
}

test("LineOfAFunctionThatNeverRanCountsZero", async () => {
    const text = "console.log(1);\n\nwindow.f = () => {\n    window.g();\n};\n";
    const counts = await countsOf(text, (script) => [
        [script, 1],
        ["() => {\n    window.g();\n  }", 0],
    ]);
    assert.equal(counts[1], 1);
    assert.equal(counts[3], 1);
    assert.equal(counts[4], 0);
    assert.equal(counts[2], undefined);
});

test("LineCountsAsOftenAsItsMostFrequentPart", async () => {
    const text = "if (window.a) window.b();\nwindow.c();\n";
    const counts = await countsOf(text, (script) => [
        [script, 3],
        ["window.b();", 0],
    ]);
    assert.deepEqual(counts, { 1: 3, 2: 3 });
});

test("InnerCountsStandAboveOuterOnesInWhateverOrder", async () => {
    const text = "window.a(() => {\n    window.b();\n    window.c();\n});\n";
    const parts = (/** @type {string} */ script) => [
        ["window.b();", 0],
        ["() => {\n    window.b();\n    window.c();\n  }", 7],
        [script, 1],
    ];
    const counts = await countsOf(text, /** @type {any} */ (parts));
    assert.equal(counts[2], 0);
    assert.equal(counts[3], 7);
});

test("NameOfASourceIsFoundInPlacesAndAddresses", () => {
    assert.equal(sourceName("../../web/src/effects/a.js"), "web/src/effects/a.js");
    assert.equal(sourceName("file:///home/a/web/src/b.js"), "web/src/b.js");
    assert.equal(sourceName("../../node_modules/three/three.js"), undefined);
});
