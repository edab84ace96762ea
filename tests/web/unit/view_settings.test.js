// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { defaultSettings, mapFocusDepth } from "../../../web/src/view_settings.js";

/**
 * @param {{ dltx: number, dpt: number }} actual
 * @param {number} dltx
 * @param {number} dpt
 */
function assertMapped(actual, dltx, dpt) {
    assert.ok(Math.abs(actual.dltx - dltx) < 1e-9, `dltx ${actual.dltx}`);
    assert.ok(Math.abs(actual.dpt - dpt) < 1e-9, `dpt ${actual.dpt}`);
}

test("NeutralSlidersInSharpMode", () => {
    assertMapped(mapFocusDepth(0, 30, true), 60, 100);
});

test("NeutralSlidersInGeneralMode", () => {
    assertMapped(mapFocusDepth(0, 30, false), 0, 100);
});

test("DepthMovesTheConvergenceInSharpMode", () => {
    assertMapped(mapFocusDepth(0, 36, true), 72, 120);
    assertMapped(mapFocusDepth(0, 0, true), 0, 0);
});

test("DepthLeavesTheConvergenceInGeneralMode", () => {
    assertMapped(mapFocusDepth(7, 60, false), 7, 200);
});

test("FocusAddsToTheConvergence", () => {
    assertMapped(mapFocusDepth(-10.5, 33, true), 55.5, 110);
});

test("SettingsStartNeutral", () => {
    const neutral = { bsharp: false, swap: false, dltx: 0, dpt: 100 };
    assert.deepEqual(defaultSettings(false), neutral);
});
