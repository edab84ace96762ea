// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { readFile, readdir } from "node:fs/promises";
import path from "node:path";
import { test } from "node:test";
import { builtFolder } from "../support/resting_page.js";

/** @param {string} name */
function read(name) {
    return readFile(path.join(builtFolder(), name), "utf8");
}

test("FolderHoldsExactlyTheFiveFiles", async () => {
    assert.deepEqual((await readdir(builtFolder())).sort(), [
        "OrbitControls3d.js",
        "gaus3d.html",
        "spark.module.js",
        "three.core.js",
        "three.module.js",
    ]);
});

test("NothingIsImportedFromElsewhere", async () => {
    const places = [];
    for (const name of await readdir(builtFolder())) {
        const text = await read(name);
        const imports = /^\s*(?:import|export)\b[^"';]*?\bfrom\s*["']([^"']+)["']/gm;
        const lateImports = /(?:\bawait|^)\s*import\("([^"]+)"\)/gm;
        for (const [, place] of text.matchAll(imports)) places.push(place);
        for (const [, place] of text.matchAll(lateImports)) places.push(place);
    }
    assert.deepEqual([...new Set(places)].sort(), [
        "./OrbitControls3d.js",
        "./spark.module.js",
        "./three.core.js",
        "three",
    ]);
});

test("ShadersOfSparkAvoidTheReservedWord", async () => {
    const spark = await read("spark.module.js");
    assert.equal(spark.match(/\buvec[24] packed\b/g), null);
    assert.equal(spark.match(/\bpacked\.[xyzw]\b/g), null);
    assert.equal(spark.match(/\bpackedWords\.[xyzw]\b/g)?.length, 52);
});

test("NoTextBecomesCode", async () => {
    for (const name of await readdir(builtFolder())) {
        assert.equal((await read(name)).match(/\bnew Function\b|\beval\(/g), null, name);
    }
});
