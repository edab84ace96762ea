// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { addressToComeBack, mayComeBack } from "../../../web/src/context_loss.js";
import { parseQuery } from "../../../web/src/query.js";

/** @returns {Storage} with what a session has kept */
function emptyStorage() {
    /** @type {Map<string, string>} */
    const items = new Map();
    const storage = {
        getItem: (/** @type {string} */ key) => items.get(key) ?? null,
        setItem: (/** @type {string} */ key, /** @type {string} */ value) => items.set(key, value),
    };
    return /** @type {Storage} */ (/** @type {unknown} */ (storage));
}

test("PageComesBackThreeTimesInAMinute", () => {
    const storage = emptyStorage();
    const answers = [0, 1000, 2000, 3000, 59_999].map((now) => mayComeBack(storage, now));
    assert.deepEqual(answers, [true, true, true, false, false]);
});

test("PageThatStayedForAMinuteComesBackAgain", () => {
    const storage = emptyStorage();
    for (const now of [0, 1000, 2000]) assert.ok(mayComeBack(storage, now));
    assert.ok(mayComeBack(storage, 60_000));
    assert.ok(!mayComeBack(storage, 60_500));
    assert.ok(mayComeBack(storage, 61_000));
});

test("PageComesBackWithItsSceneInTheSavedView", () => {
    const path = "/a b/100%25 & é.ply";
    const address = addressToComeBack("file:///t/gaus3d.html?nreso=1&mode=1&nst=1", path);
    assert.ok(address.startsWith("file:///t/gaus3d.html?"));
    const query = parseQuery(new URL(address).search);
    assert.deepEqual(query, { bsharp: false, filepath: path, freshView: false, painter: null });
});
