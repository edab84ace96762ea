// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { plyFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

const browser = await startBrowser();
/**
 * A red Gaussian in front of a blue one as SHARP mode starts; each hides the other completely. Many
 * faint ones around them overlap, so that any other order gives another picture.
 */
const scene = await browser.file(
    "order.ply",
    plyFile([
        { center: [0, 0, 0.8], scale: 0.3, color: [0, 0, 1] },
        { center: [0, 0, -0.8], scale: 0.3, color: [1, 0, 0] },
        ...Array.from({ length: 80 }, (_, i) => ({
            center: /** @type {[number, number, number]} */ ([
                Math.sin(i * 1.7) * 0.6,
                Math.sin(i * 2.9) * 0.4,
                Math.sin(i * 0.61),
            ]),
            scale: 0.12,
            color: /** @type {[number, number, number]} */ ([i % 2, (i >> 1) % 2, (i >> 2) % 2]),
            opacity: 0.5,
        })),
    ]),
);
const kQuery = `mode=0&nst=1&openFile=${scene}`;
/** Where the test is about what Spark is asked for. */
const kSparkQuery = `painter=gpu&${kQuery}`;
const kPainters = /** @type {const} */ (["gpu", "cpu"]);

/**
 * Turns the view by a drag.
 * @param {ViewerPage} page
 * @param {number[][]} points
 */
async function drag(page, points) {
    for (const [i, [x, y]] of points.entries()) {
        await page.call("PanmoveFromNative", x, y, i === 0 ? 0 : 1);
    }
}

for (const painter of kPainters) {
    test(`NothingIsDrawnOrSortedWhileNothingChanges ${painter}`, async () => {
        const page = await browser.open({ query: `painter=${painter}&${kQuery}` });
        const before = await page.watch();
        // Each makes the display show frames, whether or not the page draws any.
        for (let i = 0; i < 5; ++i) await page.screenshot();
        assert.deepEqual(await page.watch(), before);
        await page.close();
    });
}

// The controls compute the camera anew for every frame, from angles, and round.
test("StillViewIsSortedForOnceHoweverItIsRounded", async () => {
    for (const position of [
        [0, 2, -2],
        [-1.1, 0.7, -2.3],
        [13.7, -5.3, 0.9],
        [0.1, 0.3, 0.7],
    ]) {
        const saved = JSON.stringify({ position, target: [0.1, 0.2, 0.3], fov: 30 });
        const query = `painter=gpu&mode=1&openFile=${scene}`;
        const page = await browser.open({ query, saved, width: 64, height: 48 });
        assert.equal((await page.watch()).sorts, 1, `${position}`);
        await page.close();
    }
});

test("LoadDrawsItsBudgetAndRests", async () => {
    const page = await browser.open({ query: kSparkQuery });
    const { frames, eyes } = await page.watch();
    // 300, the frame that finds the budget spent, and up to two for Gaussians that come later.
    assert.ok(frames >= 301 && frames <= 303, `${frames}`);
    assert.ok(eyes > 0 && eyes % 2 === 0);
    await page.close();
});

test("ChangesDrawTenFramesOfTwoEyes", async () => {
    const page = await browser.open({ query: kSparkQuery });
    const calls = /** @type {const} */ ([
        ["ChgstFromNative", 2],
        ["SwapFromNative", true],
        ["SetFocusFromNative", 20, 30],
    ]);
    for (const [name, ...args] of calls) {
        const before = await page.watch();
        await page.call(name, ...args);
        const after = await page.watch();
        assert.equal(after.frames - before.frames, 11, name);
        assert.equal(after.eyes - before.eyes, 22, name);
    }
    await page.close();
});

test("ResizeDrawsAHundredFrames", async () => {
    const page = await browser.open({ query: kSparkQuery });
    const before = await page.watch();
    await page.page.evaluate(() => void window.dispatchEvent(new Event("resize")));
    await page.rest();
    assert.equal((await page.watch()).frames - before.frames, 101);
    await page.close();
});

test("FocusSwapAndModeNeedNoSort", async () => {
    const page = await browser.open({ query: kSparkQuery });
    const { sorts } = await page.watch();
    await page.call("SetFocusFromNative", 20, 30);
    await page.call("SwapFromNative", true);
    await page.call("ChgstFromNative", 3);
    assert.equal((await page.watch()).sorts, sorts);
    await page.close();
});

test("MovedViewIsSortedAndShownWithItsOwnOrder", async () => {
    const page = await browser.open({ query: kSparkQuery });
    const before = await page.watch();
    await drag(page, [[100, 75], [140, 80]]);
    const after = await page.watch();
    assert.ok(after.sorts > before.sorts);
    await page.close();
});

for (const painter of kPainters) {
    test(`PictureAtRestIsTheSameTwice ${painter}`, async () => {
        const page = await browser.open({ query: `painter=${painter}&${kQuery}` });
        await drag(page, [[100, 75], [160, 90]]);
        const first = await page.page.screenshot();
        await page.call("SwapFromNative", false);
        assert.deepEqual(await page.page.screenshot(), first);
        await page.close();
    });
}

for (const painter of kPainters) {
    test(`OrderDependsOnTheViewAndNotOnTheWayToIt ${painter}`, async () => {
        const saved = JSON.stringify({ position: [-2.4, 0.3, 1.9], target: [0, 0, 0], fov: 30 });
        const query = `painter=${painter}&mode=0&openFile=${scene}`;
        const straight = await browser.open({ query, saved });
        const expected = await straight.page.screenshot();
        await straight.close();
        // Round about by steps so small that each by itself could keep the old order.
        const page = await browser.open({ query, saved });
        const steps = [0, 150, 149.5, 149, 80, 79.5, 30, 0.5, 0].map((x) => [x, 75]);
        await drag(page, steps);
        const found = await page.page.screenshot();
        assert.ok(found.equals(expected));
        await page.close();
    });
}

for (const painter of kPainters) {
    test(`FrontGaussianHidesTheOtherInBothEyes ${painter}`, async () => {
        for (const [z, front, back] of [
            [-3, 0, 2],
            [3, 2, 0],
        ]) {
            const saved = JSON.stringify({ position: [0, 0.01, z], target: [0, 0, 0], fov: 30 });
            const plain = await browser.file(
                "two.ply",
                plyFile([
                    { center: [0, 0, 0.8], scale: 0.3, color: [0, 0, 1] },
                    { center: [0, 0, -0.8], scale: 0.3, color: [1, 0, 0] },
                ]),
            );
            const query = `painter=${painter}&mode=0&openFile=${plain}`;
            const page = await browser.open({ query, saved });
            await page.call("SetFocusFromNative", 0, 0);
            const picture = await page.picture();
            for (const x of [50, 150]) {
                const pixel = picture.at(x, 75);
                assert.ok(pixel[front] > 200, `${z}: ${pixel}`);
                assert.ok(pixel[back] < 50, `${z}: ${pixel}`);
            }
            await page.close();
        }
    });
}

for (const painter of kPainters) {
    test(`OrderForBothEyesFollowsTheView ${painter}`, async () => {
        // The view is turned from one side to the other by the page's own controls.
        const plain = await browser.file(
            "turn.ply",
            plyFile([
                { center: [0, 0, 0.8], scale: 0.3, color: [0, 0, 1] },
                { center: [0, 0, -0.8], scale: 0.3, color: [1, 0, 0] },
            ]),
        );
        const query = `painter=${painter}&mode=1&nst=1&openFile=${plain}`;
        const page = await browser.open({ query });
        await page.call("SetFocusFromNative", 0, 0);
        assert.ok((await page.picture()).at(50, 75)[0] > 150);
        await drag(page, [[0, 75], [150, 75]]); // half a turn is the height over the rotate speed
        const picture = await page.picture();
        assert.ok(picture.at(50, 75)[2] > 150);
        assert.ok(picture.at(150, 75)[2] > 150);
        await page.close();
    });
}

test("ThousandModeChangesHoldNoMoreThanTwoRounds", async () => {
    const page = await browser.open({ query: kSparkQuery, width: 64, height: 48 });
    const modes = kStereoModes.length;
    const change = (/** @type {number} */ rounds) =>
        page.page.evaluate(async ([times, modes]) => {
            const { ChgstFromNative } = /** @type {any} */ (window);
            const card = /** @type {HTMLCanvasElement} */ (
                document.querySelector("canvas")
            ).getContext("webgl2");
            if (card === null) throw new Error("The canvas has another context");
            const pixel = new Uint8Array(4);
            for (let i = 1; i <= times; ++i) {
                ChgstFromNative(i % modes);
                await new Promise((resolve) => requestAnimationFrame(resolve));
                // Otherwise the graphics card is behind by most of the changes at the end.
                if (i % 10 === 0) card.readPixels(0, 0, 1, 1, card.RGBA, card.UNSIGNED_BYTE, pixel);
            }
        }, [rounds * modes, modes]);
    await change(2);
    await page.rest();
    const { objects } = await page.watch();
    assert.ok(objects.Texture > 0 && objects.Program > 0 && objects.Framebuffer > 0);
    await change(Math.ceil(1000 / modes));
    await page.rest();
    assert.deepEqual((await page.watch()).objects, objects);
    await page.close();
});

for (const painter of kPainters) {
    test(`ViewDependentColoursFollowTheView ${painter}`, async () => {
        const file = await browser.file(
            "harmonics.ply",
            plyFile([{ center: [0, 0, 0], scale: 0.4, color: [0.5, 0.5, 0.5] }], { degree: 1 }),
        );
        /** @type {number[]} */
        const reds = [];
        for (const y of [-2, 2]) {
            const saved = JSON.stringify({ position: [0, y, -2], target: [0, 0, 0], zoom: 1 });
            const query = `painter=${painter}&mode=1&openFile=${file}`;
            const page = await browser.open({ query, saved });
            const picture = await page.picture();
            const [left, right] = [picture.at(50, 75)[0], picture.at(150, 75)[0]];
            reds.push(left);
            assert.ok(Math.abs(left - right) < 12, `${left} ${right}`);
            await page.close();
        }
        assert.ok(Math.abs(reds[0] - reds[1]) > 40, `${reds}`);
    });
}
