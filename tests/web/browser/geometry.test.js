// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { centreOf, pixelOf } from "../support/prediction.js";
import { plyFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */
/** @typedef {import("../support/prediction.js").Vector} Vector */

const browser = await startBrowser();
const kWidth = 300;
const kHeight = 200;
/** One Gaussian for each colour channel, so that each can be found by itself. */
const kPoints = /** @type {Vector[]} */ ([
    [0.02, 0.05, 0],
    [0.15, 0.2, 0.8],
    [-0.2, -0.1, -0.4],
]);
const scene = await browser.file(
    "points.ply",
    plyFile(
        kPoints.map((center, i) => ({
            center,
            scale: 0.025,
            color: /** @type {Vector} */ ([0, 1, 2].map((c) => (c === i ? 1 : 0))),
        })),
    ),
);

const kSharpStart = {
    position: /** @type {Vector} */ ([-0.3, 0.5, -3]),
    fov: 30,
    width: kWidth,
    height: kHeight,
    dltx: 60,
    dpt: 100,
    sharp: true,
    half: true,
};
const kGeneralStart = {
    ...kSharpStart,
    position: /** @type {Vector} */ ([0, -1, -3]),
    fov: 65,
    dltx: 0,
    sharp: false,
};

/** @param {string} [query] */
async function openScene(query = "mode=0&nst=1") {
    return browser.open({
        width: kWidth,
        height: kHeight,
        query: `${query}&openFile=${scene}`,
    });
}

/**
 * Checks every Gaussian in both halves of the start mode.
 * @param {ViewerPage} page
 * @param {import("../support/prediction.js").View} view
 */
async function assertPoints(page, view) {
    const picture = await page.picture();
    for (const side of /** @type {const} */ (["left", "right"])) {
        const part = { x: side === "left" ? 0 : kWidth / 2, width: kWidth / 2 };
        kPoints.forEach((point, i) => {
            const actual = centreOf(picture, /** @type {0 | 1 | 2} */ (i), part);
            const wanted = pixelOf(point, view, side);
            const told = `${side} ${i}: (${actual.x}, ${actual.y}), not (${wanted.x}, ${wanted.y})`;
            assert.ok(Math.abs(actual.x - wanted.x) < 0.5, told);
            assert.ok(Math.abs(actual.y - wanted.y) < 0.5, told);
        });
    }
}

test("StartViewOfSharpMode", async () => {
    const page = await openScene();
    await assertPoints(page, kSharpStart);
    await page.close();
});

test("StartViewOfGeneralMode", async () => {
    const page = await openScene("mode=1&nst=1");
    await assertPoints(page, kGeneralStart);
    await page.close();
});

test("FocusShiftsTheEyesApart", async () => {
    const page = await openScene();
    await page.call("SetFocusFromNative", 40, 30);
    await assertPoints(page, { ...kSharpStart, dltx: 100 });
    await page.call("SetFocusFromNative", -25.5, 30);
    await assertPoints(page, { ...kSharpStart, dltx: 34.5 });
    await page.close();
});

test("FocusActsTenTimesAsMuchInGeneralMode", async () => {
    const page = await openScene("mode=1&nst=1");
    await page.call("SetFocusFromNative", 12, 30);
    await assertPoints(page, { ...kGeneralStart, dltx: 12 });
    await page.close();
});

test("DepthMovesTheEyesAndTheConvergence", async () => {
    const page = await openScene();
    await page.call("SetFocusFromNative", 0, 45);
    await assertPoints(page, { ...kSharpStart, dltx: 90, dpt: 150 });
    await page.close();
});

test("DepthMovesTheEyesOnlyInGeneralMode", async () => {
    const page = await openScene("mode=1&nst=1");
    await page.call("SetFocusFromNative", 3, 60);
    await assertPoints(page, { ...kGeneralStart, dltx: 3, dpt: 200 });
    await page.close();
});

test("WithoutDepthAndFocusBothEyesSeeTheSame", async () => {
    const page = await openScene("mode=1&nst=1");
    await page.call("SetFocusFromNative", 0, 0);
    const picture = await page.picture();
    for (let y = 0; y < kHeight; ++y) {
        for (let x = 0; x < kWidth / 2; ++x) {
            assert.deepEqual(picture.at(x, y), picture.at(x + kWidth / 2, y));
        }
    }
    await page.close();
});

test("SavedViewIsShown", async () => {
    const position = /** @type {Vector} */ ([0.6, -0.4, -2.5]);
    const target = /** @type {Vector} */ ([0.1, 0.05, 0.2]);
    const saved = { position, target, fov: 40, zoom: 3, swap: false, dltx: 20, dpt: 80, stType: 0 };
    const page = await browser.open({
        width: kWidth,
        height: kHeight,
        query: `mode=0&openFile=${scene}`,
        saved: JSON.stringify(saved),
    });
    await assertPoints(page, { ...kSharpStart, ...saved });
    await page.close();
});

test("WindowOfAnotherShapeShowsTheSameHeight", async () => {
    const page = await openScene();
    await page.page.setViewportSize({ width: 240, height: kHeight });
    await page.rest();
    const picture = await page.picture();
    const view = { ...kSharpStart, width: 240 };
    kPoints.forEach((point, i) => {
        const actual = centreOf(picture, /** @type {0 | 1 | 2} */ (i), { width: 120 });
        const wanted = pixelOf(point, view, "left");
        assert.ok(Math.abs(actual.x - wanted.x) < 0.5, `${actual.x} ${wanted.x}`);
        assert.ok(Math.abs(actual.y - wanted.y) < 0.5, `${actual.y} ${wanted.y}`);
    });
    await page.close();
});

test("TwoDevicePixelsForEachOfThePage", async () => {
    const page = await browser.open({
        width: kWidth / 2,
        height: kHeight / 2,
        scale: 2,
        query: `mode=0&nst=1&openFile=${scene}`,
    });
    const size = await page.page.evaluate(() => {
        const canvas = /** @type {HTMLCanvasElement} */ (document.querySelector("canvas"));
        return [canvas.width, canvas.height];
    });
    assert.deepEqual(size, [kWidth, kHeight]);
    await assertPoints(page, kSharpStart);
    await page.close();
});
