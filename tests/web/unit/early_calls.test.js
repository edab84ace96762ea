// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { EarlyCalls } from "../../../web/src/early_calls.js";

/** @type {(error: unknown) => void} */
const rethrow = (error) => {
    throw error;
};

/** @returns {any} calls that note their names and values */
function noting(/** @type {any[]} */ noted) {
    return {
        ChgstFromNative: (/** @type {any[]} */ ...values) => noted.push(["mode", ...values]),
        SwapFromNative: (/** @type {any[]} */ ...values) => noted.push(["swap", ...values]),
    };
}

test("CallsBeforeTheViewerReachItInTheirOrder", () => {
    const early = new EarlyCalls(rethrow);
    /** @type {any[]} */
    const noted = [];
    early.entry("SwapFromNative")(true);
    early.entry("ChgstFromNative")(3);
    assert.ok(early.has("SwapFromNative"));
    assert.deepEqual(noted, []);
    early.handOver(noting(noted));
    assert.deepEqual(noted, [
        ["swap", true],
        ["mode", 3],
    ]);
    assert.ok(!early.has("SwapFromNative"));
});

test("LaterCallsGoStraightToTheViewer", () => {
    const early = new EarlyCalls(rethrow);
    /** @type {any[]} */
    const noted = [];
    const swap = early.entry("SwapFromNative");
    early.handOver(noting(noted));
    swap(false);
    assert.deepEqual(noted, [["swap", false]]);
});

test("FailedEarlyCallIsReportedAndLosesNoOther", () => {
    /** @type {unknown[]} */
    const errors = [];
    const early = new EarlyCalls((error) => errors.push(error));
    /** @type {any[]} */
    const noted = [];
    const failure = new Error("No file");
    early.entry("FileFromNative")("a.ply");
    early.entry("ChgstFromNative")(1);
    early.handOver({
        ...noting(noted),
        FileFromNative: () => {
            throw failure;
        },
    });
    assert.deepEqual(errors, [failure]);
    assert.deepEqual(noted, [["mode", 1]]);
});
