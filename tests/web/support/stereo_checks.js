// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What the stereo modes make of two eyes' pictures.
 */
import assert from "node:assert/strict";

/** @typedef {import("./png.js").Picture} Picture */
/** @typedef {(x: number, y: number) => number[]} Colours red, green, blue, 0..255 */

/** The program's numbers of the modes. */
export const kMode = { sideBySide: 0, grid: 1, dubois: 2, colour: 3, grey: 4, interlaced: 5 };

/** Rows are output red, green and blue, columns input red, green and blue. */
export const kMatrices = {
    dubois: {
        left: [
            [0.4561, 0.500484, 0.176381],
            [-0.0400822, -0.0378246, -0.0157589],
            [-0.0152161, -0.0205971, -0.00546856],
        ],
        right: [
            [-0.0434706, -0.0879388, -0.00155529],
            [0.378476, 0.73364, -0.0184503],
            [-0.0721527, -0.112961, 1.2264],
        ],
    },
    grey: {
        left: [
            [0.299, 0.587, 0.114],
            [0, 0, 0],
            [0, 0, 0],
        ],
        right: [
            [0, 0, 0],
            [0.299, 0.587, 0.114],
            [0.299, 0.587, 0.114],
        ],
    },
};

/**
 * @param {Picture} picture
 * @param {Colours} expected
 * @param {number} tolerance
 */
export function assertPicture(picture, expected, tolerance) {
    for (let y = 0; y < picture.height; ++y) {
        for (let x = 0; x < picture.width; ++x) {
            const actual = picture.at(x, y);
            const wanted = expected(x, y);
            for (let c = 0; c < 3; ++c) {
                assert.ok(
                    Math.abs(actual[c] - wanted[c]) <= tolerance,
                    `(${x}, ${y}) is ${actual} and not ${wanted}`,
                );
            }
        }
    }
}

/**
 * @param {{ left: number[][], right: number[][] }} matrices
 * @param {Colours} left
 * @param {Colours} right
 * @returns {Colours}
 */
export function combined(matrices, left, right) {
    return (x, y) => {
        const [l, r] = [left(x, y), right(x, y)];
        return [0, 1, 2].map((row) => {
            let value = 0;
            for (let c = 0; c < 3; ++c) {
                value += matrices.left[row][c] * l[c] + matrices.right[row][c] * r[c];
            }
            return Math.max(0, Math.min(255, value));
        });
    };
}

/**
 * Rows of a picture count from its top, those of the rule from the bottom: the lowest row is the
 * second picture's.
 * @param {Colours} odd
 * @param {Colours} even
 * @param {number} height
 * @returns {Colours}
 */
export function alternating(odd, even, height) {
    return (x, y) => ((height - 1 - y) % 2 === 1 ? odd(x, y) : even(x, y));
}

/**
 * Both eyes' pictures, taken out of two colour anaglyphs.
 * @param {import("./resting_page.js").RestingPage} page
 * @returns {Promise<{ left: Colours, right: Colours }>}
 */
export async function eyesOf(page) {
    await page.call("ChgstFromNative", kMode.colour);
    await page.call("SwapFromNative", false);
    const plain = await page.picture();
    await page.call("SwapFromNative", true);
    const swapped = await page.picture();
    await page.call("SwapFromNative", false);
    return {
        left: (x, y) => [plain.at(x, y)[0], ...swapped.at(x, y).slice(1)],
        right: (x, y) => [swapped.at(x, y)[0], ...plain.at(x, y).slice(1)],
    };
}
