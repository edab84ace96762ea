// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { isAnyPlaced } from "../../../web/src/packed_splats.js";

const kOne = 0x3c00;
const kInfinite = 0xfc00;
const kNoNumber = 0x7e00;

/**
 * Gaussians whose other bits are all set.
 * @param {...[number, number, number]} centers as 16-bit floats
 */
function isPlaced(...centers) {
    const words = centers.flatMap(([x, y, z]) => {
        return [0xffffffff, (x | (y << 16)) >>> 0, (z | 0xffff0000) >>> 0, 0xffffffff];
    });
    return isAnyPlaced(new Uint32Array([...words, 0, 0, 0, 0]), centers.length);
}

test("OnePlaceIsEnough", () => {
    assert.ok(isPlaced([0, kOne, 0x7bff]));
    assert.ok(isPlaced([kNoNumber, 0, 0], [kOne, kOne, kOne]));
});

test("EveryCoordinateCounts", () => {
    assert.ok(!isPlaced([kNoNumber, kOne, kOne], [kOne, kInfinite, kOne], [kOne, kOne, kNoNumber]));
});

test("WhatLiesBehindTheGaussiansDoesNotCount", () => {
    assert.ok(!isPlaced());
});
