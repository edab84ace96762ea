// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { centreOf, pixelOf } from "../support/prediction.js";
import { plyFile } from "../support/splat_files.js";
import {
    alternating,
    assertPicture,
    combined,
    eyesOf,
    kMatrices,
    kMode,
} from "../support/stereo_checks.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/png.js").Picture} Picture */
/** @typedef {import("../support/stereo_checks.js").Colours} Colours */

const browser = await startBrowser();
/** Colours of all kinds that overlap, in front of the camera of SHARP mode. */
const scene = await browser.file(
    "modes.ply",
    plyFile([
        { center: [0, 0, 0], scale: 0.15, color: [0.9, 0.5, 0.1] },
        { center: [0.2, 0.1, 0.5], scale: [0.2, 0.1, 0.1], color: [0.1, 0.8, 0.9], opacity: 0.8 },
        { center: [-0.25, -0.1, 0.3], scale: 0.12, color: [0.7, 0.2, 0.9], opacity: 0.7 },
        { center: [0, 0.3, 1], scale: [0.6, 0.1, 0.1], color: [1, 1, 1] },
        { center: [0, -0.3, 1], scale: [0.6, 0.08, 0.1], color: [0.2, 0.9, 0.3] },
    ]),
);

/** @param {import("../support/viewer_page.js").OpenOptions} [options] */
async function openScene(options = {}) {
    return browser.open({ query: `nreso=1&mode=0&nst=1&openFile=${scene}`, ...options });
}

// Most tests only compare modes: they share a page, which they leave unswapped and at this focus.
const shared = await openScene();
const sharedEyes = await eyesOf(shared);

/**
 * @param {number} mode number
 * @param {boolean} swap
 * @returns {Promise<Picture>}
 */
async function sharedPicture(mode, swap) {
    await shared.call("ChgstFromNative", mode);
    await shared.call("SwapFromNative", swap);
    const picture = await shared.picture();
    await shared.call("SwapFromNative", false);
    return picture;
}

/**
 * @param {Colours} picture
 * @param {number} width
 * @param {number} height
 */
function brightness(picture, width, height) {
    let sum = 0;
    for (let y = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) sum += picture(x, y).reduce((a, b) => a + b);
    }
    return sum / (width * height);
}

test("EyesShowTheSceneAndDiffer", () => {
    const { left, right } = sharedEyes;
    assert.ok(brightness(left, 200, 150) > 20);
    assert.ok(brightness(right, 200, 150) > 20);
    let differing = 0;
    for (let x = 0; x < 200; ++x) differing += left(x, 75).join() === right(x, 75).join() ? 0 : 1;
    assert.ok(differing > 50);
});

for (const swap of [false, true]) {
    const suffix = swap ? "Swapped" : "";

    test(`DuboisIsComputedFromBothEyes${suffix}`, async () => {
        const { left, right } = sharedEyes;
        const [l, r] = swap ? [right, left] : [left, right];
        const expected = combined(kMatrices.dubois, l, r);
        assertPicture(await sharedPicture(kMode.dubois, swap), expected, 1);
    });

    test(`GreyAnaglyphIsComputedFromBothEyes${suffix}`, async () => {
        const { left, right } = sharedEyes;
        const [l, r] = swap ? [right, left] : [left, right];
        const expected = combined(kMatrices.grey, l, r);
        assertPicture(await sharedPicture(kMode.grey, swap), expected, 1);
    });

    test(`RowsAlternate${suffix}`, async () => {
        const { left, right } = sharedEyes;
        const [l, r] = swap ? [right, left] : [left, right];
        const expected = alternating(l, r, 150);
        assertPicture(await sharedPicture(kMode.interlaced, swap), expected, 0);
    });
}

test("RowsCountFromTheBottomAtAnOddHeight", async () => {
    const page = await openScene({ height: 151 });
    const { left, right } = await eyesOf(page);
    await page.call("ChgstFromNative", kMode.interlaced);
    assertPicture(await page.picture(), alternating(left, right, 151), 0);
    await page.close();
});

test("RowsAlternateByDevicePixels", async () => {
    const page = await openScene({ width: 150, height: 100, scale: 2 });
    const { left, right } = await eyesOf(page);
    await page.call("ChgstFromNative", kMode.interlaced);
    const picture = await page.picture();
    assert.equal(picture.height, 200);
    assertPicture(picture, alternating(left, right, 200), 0);
    await page.close();
});

// With a focus of nothing the left eye's picture is not skewed, so that its half of the screen is
// the middle of its full picture, pixel for pixel.
test("LeftHalfIsTheMiddleOfTheLeftEye", async () => {
    const page = await openScene();
    await page.call("SetFocusFromNative", -60, 30);
    const { left } = await eyesOf(page);
    await page.call("ChgstFromNative", kMode.sideBySide);
    const picture = await page.picture();
    for (let y = 0; y < 150; ++y) {
        for (let x = 0; x < 100; ++x) {
            const [actual, wanted] = [picture.at(x, y), left(x + 50, y)];
            for (let c = 0; c < 3; ++c) assert.ok(Math.abs(actual[c] - wanted[c]) <= 1);
        }
    }
    await page.close();
});

// The right eye's picture is not skewed where the focus takes back the eye's own offset.
test("RightHalfIsTheMiddleOfTheRightEye", async () => {
    const page = await openScene();
    const distance = Math.hypot(0.3, 0.5, 3);
    const offset = distance * Math.tan(((40 / 11) * Math.PI) / 180);
    await page.call("SetFocusFromNative", 1000 * offset - 60, 30);
    const { right } = await eyesOf(page);
    await page.call("ChgstFromNative", kMode.sideBySide);
    const picture = await page.picture();
    for (let y = 0; y < 150; ++y) {
        for (let x = 0; x < 100; ++x) {
            const [actual, wanted] = [picture.at(x + 100, y), right(x + 50, y)];
            for (let c = 0; c < 3; ++c) assert.ok(Math.abs(actual[c] - wanted[c]) <= 1);
        }
    }
    await page.close();
});

test("SwapExchangesTheHalves", async () => {
    const plain = await sharedPicture(kMode.sideBySide, false);
    const expected = (/** @type {number} */ x, /** @type {number} */ y) =>
        plain.at((x + 100) % 200, y);
    assertPicture(await sharedPicture(kMode.sideBySide, true), expected, 0);
});

test("GridHasABlackCrossAndBorders", async () => {
    // So many Gaussians wider than the picture that all of it is as good as white.
    const white = new Array(20).fill({ center: [0, 0, 5], scale: 20, color: [1, 1, 1] });
    const file = await browser.file("white.ply", plyFile(white));
    const page = await browser.open({
        width: 200,
        height: 200,
        query: `mode=0&nst=1&openFile=${file}`,
    });
    await page.call("ChgstFromNative", kMode.grid);
    const picture = await page.picture();
    // 0.5 % of 200 pixels is one at each border and one on each side of the middle.
    const lit = (/** @type {number} */ i) => i !== 0 && i !== 99 && i !== 100 && i !== 199;
    for (let y = 0; y < 200; ++y) {
        for (let x = 0; x < 200; ++x) {
            const [red] = picture.at(x, y);
            assert.ok(lit(x) && lit(y) ? red > 240 : red === 0, `(${x}, ${y}) is ${red}`);
        }
    }
    await page.close();
});

for (const swap of [false, true]) {
    test(`GridPutsEachEyeInItsPlaces${swap ? "Swapped" : ""}`, async () => {
        const point = /** @type {[number, number, number]} */ ([0.05, 0.04, 0.6]);
        const file = await browser.file(
            "dot.ply",
            plyFile([{ center: point, scale: 0.03, color: [1, 1, 1] }]),
        );
        const page = await browser.open({
            width: 400,
            height: 300,
            query: `mode=0&nst=1&openFile=${file}`,
        });
        await page.call("ChgstFromNative", kMode.grid);
        await page.call("SwapFromNative", swap);
        const picture = await page.picture();
        const view = {
            position: /** @type {[number, number, number]} */ ([-0.3, 0.5, -3]),
            fov: 30,
            width: 400,
            height: 300,
            dltx: 60,
            dpt: 100,
            sharp: true,
        };
        const sides = swap ? ["right", "left"] : ["left", "right"];
        const places = [
            { x: 0, y: 0, side: sides[0] },
            { x: 200, y: 0, side: sides[1] },
            { x: 0, y: 150, side: sides[1] },
            { x: 200, y: 150, side: sides[0] },
        ];
        for (const { x, y, side } of places) {
            const part = { x, y, width: 200, height: 150 };
            const actual = centreOf(picture, 0, part);
            const wanted = pixelOf(point, view, /** @type {"left" | "right"} */ (side));
            assert.ok(Math.abs(actual.x - wanted.x / 2) < 0.6, `${actual.x} ${wanted.x / 2}`);
            assert.ok(Math.abs(actual.y - wanted.y / 2) < 0.6, `${actual.y} ${wanted.y / 2}`);
        }
        await page.close();
    });
}
