// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { readDamaged } from "./damaged_files.js";

const kFiles = /** @type {const} */ ([
    ["ply", 600],
    ["splat", 1000],
    ["spz", 600],
    ["spz4", 600],
    ["sog", 400],
    ["ksplat", 1000],
]);
for (const [format, count] of kFiles) {
    test(`DamagedFilesAreReadOrRefused ${format}`, async () => {
        const shown = await readDamaged(format, 0, count);
        assert.ok(shown > count / 20 && shown < count / 2, `${shown}`);
    });
}
