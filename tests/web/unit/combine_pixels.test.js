// SPDX-License-Identifier: GPL-3.0-or-later
/** The modes' pictures where they are combined on the processor; rows count from the bottom. */
import assert from "node:assert/strict";
import { test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { kMode } from "../support/stereo_checks.js";

/**
 * @param {number} width
 * @param {number} height
 * @param {(x: number, y: number) => number[]} [colours] red, green and blue
 */
function picture(width, height, colours = () => [0, 0, 0]) {
    const words = Uint32Array.from({ length: width * height }, (_, i) => {
        const [red, green, blue] = colours(i % width, Math.floor(i / width));
        return red + 256 * green + 65536 * blue;
    });
    return { words, width, height };
}

/**
 * @param {ReturnType<typeof picture>} of
 * @param {number} x
 * @param {number} y
 */
function at({ words, width }, x, y) {
    const word = words[y * width + x];
    return [word & 255, (word >> 8) & 255, (word >> 16) & 255];
}

const kLeft = (/** @type {number} */ x, /** @type {number} */ y) => [10 + 20 * x, 50 + 9 * y, 90];
const kRight = (/** @type {number} */ x, /** @type {number} */ y) => [200, 20 + 9 * y, 30 + 20 * x];

/**
 * @param {number} mode
 * @param {[number, number]} eye columns and rows of the eyes' pictures
 * @param {[number, number]} size of the screen
 */
function combined(mode, eye, size) {
    const screen = picture(...size);
    kStereoModes[mode].combinePixels(picture(...eye, kLeft), picture(...eye, kRight), screen);
    return screen;
}

test("HalvesShowTheEyesPixelForPixel", () => {
    const screen = combined(kMode.sideBySide, [3, 4], [6, 4]);
    for (let y = 0; y < 4; ++y) {
        for (let x = 0; x < 3; ++x) {
            assert.deepEqual(at(screen, x, y), kLeft(x, y));
            assert.deepEqual(at(screen, 3 + x, y), kRight(x, y));
        }
    }
});

test("OddRowsFromTheBottomAreTheLeftEyes", () => {
    const screen = combined(kMode.interlaced, [3, 5], [3, 5]);
    for (let y = 0; y < 5; ++y) {
        assert.deepEqual(at(screen, 1, y), (y % 2 === 1 ? kLeft : kRight)(1, y));
    }
});

test("ColoursOfAnAnaglyphComeFromTheirEyes", () => {
    const screen = combined(kMode.colour, [3, 2], [3, 2]);
    const [left, right] = [kLeft(2, 1), kRight(2, 1)];
    assert.deepEqual(at(screen, 2, 1), [left[0], right[1], right[2]]);
});

test("ColoursEndAtBlackAndWhite", () => {
    const screen = picture(1, 1);
    const white = picture(1, 1, () => [255, 255, 255]);
    const black = picture(1, 1);
    const { combinePixels } = kStereoModes[kMode.dubois];
    combinePixels(white, black, screen);
    assert.deepEqual(at(screen, 0, 0), [255, 0, 0]);
    combinePixels(white, white, screen);
    assert.deepEqual(at(screen, 0, 0), [255, 255, 255]);
});

test("GridShowsTwoRowsOfAPictureInOneBetweenBlackLines", () => {
    const screen = combined(kMode.grid, [100, 200], [200, 200]);
    // 0.5 % of 200 pixels is one at each border and one on each side of the middle.
    for (const line of [0, 99, 100, 199]) {
        assert.deepEqual(at(screen, line, 50), [0, 0, 0]);
        assert.deepEqual(at(screen, 50, line), [0, 0, 0]);
    }
    const small = (/** @type {number} */ x, /** @type {number} */ y) => [x, 2 * (y % 100), 0];
    const other = (/** @type {number} */ x, /** @type {number} */ y) => [x, 2 * (y % 100), 200];
    const { combinePixels } = kStereoModes[kMode.grid];
    combinePixels(picture(100, 200, small), picture(100, 200, other), screen);
    assert.deepEqual(at(screen, 7, 10), [7, 41, 200]); // between rows 20 and 21
    assert.deepEqual(at(screen, 107, 110), [7, 41, 200]);
    assert.deepEqual(at(screen, 7, 110), [7, 41, 0]);
    assert.deepEqual(at(screen, 107, 10), [7, 41, 0]);
});

test("PicturesOfAnotherSizeAreStretchedOverTheScreen", () => {
    for (const mode of kStereoModes.keys()) {
        const screen = combined(mode, [2, 2], [9, 7]);
        assert.ok(at(screen, 2, 2).some((value) => value > 0), kStereoModes[mode].name);
        assert.ok(at(screen, 6, 5).some((value) => value > 0), kStereoModes[mode].name);
    }
});
