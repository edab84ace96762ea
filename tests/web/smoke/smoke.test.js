// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What must work in every browser. VISTREL_TEST_BROWSER chooses between the newest Chromium and
 * "qtwebengine", the one that the program embeds.
 */
import assert from "node:assert/strict";
import { test } from "node:test";
import { centreOf, pixelOf } from "../support/prediction.js";
import { startQt } from "../support/qt_page.js";
import { sogFile } from "../support/sog_files.js";
import { ksplatFile, plyFile, spz4File, splatFile, spzFile } from "../support/splat_files.js";
import {
    alternating,
    assertPicture,
    combined,
    eyesOf,
    kMatrices,
    kMode,
} from "../support/stereo_checks.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/splat_files.js").Gaussian} Gaussian */

const inQt = process.env.VISTREL_TEST_BROWSER === "qtwebengine";
const browser = inQt ? await startQt() : await startBrowser();
/** @type {Gaussian[]} */
const kGaussians = [
    { center: [0.02, 0.05, 0], scale: 0.05, color: [1, 0, 0] },
    { center: [0.12, 0.2, 0.8], scale: 0.05, color: [0, 1, 0] },
    { center: [-0.15, -0.1, -0.4], scale: 0.05, color: [0, 0, 1] },
];
const good = await browser.file("good.ply", plyFile(kGaussians, { camera: true }));
const kStart = {
    position: /** @type {[number, number, number]} */ ([-0.3, 0.5, -3]),
    fov: 30,
    width: 200,
    height: 150,
    dltx: 60,
    dpt: 100,
    sharp: true,
    half: true,
};

/**
 * @param {import("../support/png.js").Picture} picture of halves side by side
 * @param {Partial<typeof kStart>} [view]
 */
function assertPoints(picture, view = {}) {
    assert.equal(picture.width, 200);
    for (const side of /** @type {const} */ (["left", "right"])) {
        const part = { x: side === "left" ? 0 : 100, width: 100 };
        for (const channel of /** @type {const} */ ([0, 1, 2])) {
            const found = centreOf(picture, channel, part);
            const wanted = pixelOf(kGaussians[channel].center, { ...kStart, ...view }, side);
            const told = `${side} ${channel}: ${found.x}, ${found.y}; ${wanted.x}, ${wanted.y}`;
            assert.ok(Math.hypot(found.x - wanted.x, found.y - wanted.y) < 0.7, told);
        }
    }
}

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`EveryFormatIsShownWhereItBelongs ${painter}`, async () => {
        const files = /** @type {const} */ ([
            ["a.ply", plyFile(kGaussians, { camera: true })],
            ["A.PLY", plyFile(kGaussians)],
            ["a.splat", splatFile(kGaussians)],
            ["a.spz", spzFile(kGaussians)],
            ["a.ksplat", ksplatFile(kGaussians)],
            ["a4.spz", spz4File(kGaussians)],
            ["a.sog", sogFile(kGaussians)],
        ]);
        for (const [name, bytes] of files) {
            const file = await browser.file(name, bytes);
            const query = `painter=${painter}&mode=0&nst=1&openFile=${file}`;
            const page = await browser.open({ query });
            assert.deepEqual(page.reports, [], name);
            assertPoints(await page.picture());
            await page.close();
        }
    });
}

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`ModesAreComputedFromBothEyes ${painter}`, async () => {
        const query = `painter=${painter}&mode=0&nst=1&openFile=${good}`;
        const page = await browser.open({ query });
        const { left, right } = await eyesOf(page);
        await page.call("ChgstFromNative", kMode.dubois);
        assertPicture(await page.picture(), combined(kMatrices.dubois, left, right), 1);
        await page.call("ChgstFromNative", kMode.grey);
        assertPicture(await page.picture(), combined(kMatrices.grey, left, right), 1);
        await page.call("ChgstFromNative", kMode.interlaced);
        assertPicture(await page.picture(), alternating(left, right, 150), 0);
        await page.call("SwapFromNative", true);
        assertPicture(await page.picture(), alternating(right, left, 150), 0);
        await page.close();
    });
}

test("FocusAndDepthMoveTheEyes", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${good}` });
    await page.call("SetFocusFromNative", 20, 36);
    assertPoints(await page.picture(), { dltx: 92, dpt: 120 });
    await page.close();
});

test("NothingIsDrawnAtRest", async () => {
    const page = await browser.open({ query: `painter=gpu&mode=0&nst=1&openFile=${good}` });
    const before = await page.watch();
    await page.screenshot();
    assert.deepEqual(await page.watch(), before);
    assert.equal(before.sorts, 1);
    await page.close();
});

test("ViewSurvivesTheNextStart", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${good}` });
    await page.call("SetFocusFromNative", 20, 36);
    await page.call("ChgstFromNative", 3);
    await page.go(`mode=0&openFile=${good}`);
    const { dltx, dpt, stType } = await page.savedView();
    assert.deepEqual([dltx, Math.round(dpt), stType], [92, 120, 3]);
    await page.close();
});

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`BrokenFileLeavesThePageAlive ${painter}`, async () => {
        const query = `painter=${painter}&mode=0&nst=1&openFile=${good}`;
        const page = await browser.open({ query });
        const bad = await browser.file("bad.ply", "ply, but no more than that");
        await page.call("FileFromNative", bad);
        assert.equal(page.reports.length, 1);
        const told = await page.evaluate("document.getElementById('failure').textContent");
        assert.match(told, /^“bad.ply” cannot be shown.\nIt is damaged/);
        await page.evaluate("document.getElementById('failure').style.opacity = 0, null");
        assert.equal(centreOf(await page.picture(), 0).sum, 0);
        await page.call("FileFromNative", good);
        assertPoints(await page.picture());
        await page.close();
    });
}

test("OtherNamesAreRefused", async () => {
    const page = await browser.open({ query: "mode=0" });
    await page.call("FileFromNative", "/a/b.obj");
    assert.deepEqual(page.alerts, ["It is not a Gaussian spreading file!"]);
    await page.close();
});

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`PageTellsWhenTheSceneIsShown ${painter}`, async () => {
        const state = "SceneStateFromNative()";
        const page = await browser.open({ query: "mode=0" });
        assert.equal(await page.evaluate(state), "empty");
        await page.go(`painter=${painter}&mode=0&nst=1&openFile=${good}`);
        assert.equal(await page.evaluate(state), "shown");
        const change = "SetFocusFromNative(20, 36), SwapFromNative(true)";
        assert.match(await page.evaluate(`${change}, ${state}`), /^(busy|shown)$/);
        await page.rest();
        assert.equal(await page.evaluate(state), "shown");
        await page.go(`painter=${painter}&mode=0&nst=1&openFile=${good}.none.ply`);
        assert.equal(await page.evaluate(state), "failed");
        const bad = await browser.file("worse.ply", "ply, but no more than that");
        await page.go(`painter=${painter}&mode=0&nst=1&openFile=${bad}`);
        assert.equal(await page.evaluate(state), "failed");
        await page.close();
    });
}
