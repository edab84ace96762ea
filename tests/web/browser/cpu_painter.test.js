// SPDX-License-Identifier: GPL-3.0-or-later
/** What a page asks of the painters on the processor, and when. */
import assert from "node:assert/strict";
import { test } from "node:test";
import { heldBytes } from "../support/memory.js";
import { plyFile, relief } from "../support/splat_files.js";
import { kMode } from "../support/stereo_checks.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

const browser = await startBrowser();
const scene = await browser.file(
    "scene.ply",
    plyFile([
        { center: [0, 0, 0], scale: 0.3, color: [1, 0.5, 0.2] },
        { center: [0.2, 0.1, 0.5], scale: 0.2, color: [0.1, 0.8, 0.9] },
    ]),
);
const kQuery = `painter=cpu&mode=0&nst=1&openFile=${scene}`;
const kState = "SceneStateFromNative()";

/**
 * @param {ViewerPage} page
 * @param {() => Promise<unknown>} act
 * @returns {Promise<{ frames: number, eyes: number }>} what was drawn and painted for it
 */
async function costOf(page, act) {
    const before = await page.watch();
    await act();
    const after = await page.watch();
    return { frames: after.frames - before.frames, eyes: after.eyes - before.eyes };
}

/** Runs in the page: what is asked of painters waits until it is let go. */
function holdPaints() {
    const post = Worker.prototype.postMessage;
    /** @type {(() => void)[]} */
    const held = [];
    let isHeld = true;
    Worker.prototype.postMessage = function (/** @type {any[]} */ ...args) {
        const send = () => Reflect.apply(post, this, args);
        if (isHeld && args[0].request === "paint") held.push(send);
        else send();
    };
    Object.assign(window, {
        heldPaints: held,
        letGo() {
            isHeld = false;
            for (const send of held.splice(0)) send();
        },
    });
}

test("LoadPaintsEachEyeOnce", async () => {
    const page = await browser.open({ query: kQuery });
    const { frames, eyes, sorts } = await page.watch();
    // The screen is emptied while the file is read.
    assert.deepEqual({ frames, eyes, sorts }, { frames: 2, eyes: 2, sorts: 0 });
    await page.close();
});

test("ChangeOfTheViewPaintsEachEyeOnce", async () => {
    const page = await browser.open({ query: kQuery });
    const cost = await costOf(page, () => page.call("SetFocusFromNative", 20, 30));
    assert.deepEqual(cost, { frames: 1, eyes: 2 });
    await page.close();
});

test("SwapOnlyExchangesThePictures", async () => {
    const page = await browser.open({ query: kQuery });
    const cost = await costOf(page, () => page.call("SwapFromNative", true));
    assert.deepEqual(cost, { frames: 1, eyes: 0 });
    await page.close();
});

test("ModeWithEyesOfTheSameFormPaintsNothing", async () => {
    const page = await browser.open({ query: kQuery });
    const toDubois = await costOf(page, () => page.call("ChgstFromNative", kMode.dubois));
    assert.deepEqual(toDubois, { frames: 1, eyes: 2 });
    const toGrey = await costOf(page, () => page.call("ChgstFromNative", kMode.grey));
    assert.deepEqual(toGrey, { frames: 1, eyes: 0 });
    await page.close();
});

test("ModeWithEyesOfAnotherFormLeavesTheOldPictureUntilItIsPainted", async () => {
    const page = await browser.open({ query: kQuery });
    const before = await page.page.screenshot();
    await page.page.evaluate(holdPaints);
    await page.evaluate(`ChgstFromNative(${kMode.dubois}), null`);
    await page.becomes("window.heldPaints.length === 2");
    assert.ok((await page.page.screenshot()).equals(before));
    await page.evaluate("letGo(), null");
    await page.rest();
    assert.ok(!(await page.page.screenshot()).equals(before));
    await page.close();
});

test("SceneIsShownOnlyWhenItsViewIsPainted", async () => {
    const page = await browser.open({ query: kQuery });
    assert.equal(await page.evaluate(kState), "shown");
    await page.page.evaluate(holdPaints);
    await page.evaluate("SetFocusFromNative(20, 30), null");
    await page.becomes("window.heldPaints.length === 2");
    for (let i = 0; i < 5; ++i) await page.screenshot();
    assert.equal(await page.evaluate(kState), "busy");
    await page.evaluate("letGo(), null");
    await page.rest();
    assert.equal(await page.evaluate(kState), "shown");
    await page.close();
});

test("HiddenPagePaintsNothingUntilItIsSeen", async () => {
    const page = await browser.open({ query: kQuery });
    const see = (/** @type {string} */ state) => page.evaluate(`{
        Object.defineProperty(document, "visibilityState", { value: "${state}", writable: true });
        document.dispatchEvent(new Event("visibilitychange"));
    } null`);
    await see("hidden");
    const hidden = await costOf(page, () => page.call("SetFocusFromNative", 20, 30));
    assert.deepEqual(hidden, { frames: 0, eyes: 0 });
    const seen = await costOf(page, async () => {
        await page.evaluate(`document.visibilityState = "visible",
            document.dispatchEvent(new Event("visibilitychange")), null`);
        await page.rest();
    });
    assert.deepEqual(seen, { frames: 1, eyes: 2 });
    await page.close();
});

test("PicturesFollowTheWindow", async () => {
    const page = await browser.open({ query: kQuery });
    await page.page.setViewportSize({ width: 160, height: 120 });
    await page.becomes("document.querySelector('canvas').width === 160");
    await page.rest();
    const resized = await page.page.screenshot();
    await page.close();
    const fresh = await browser.open({ query: kQuery, width: 160, height: 120 });
    assert.ok((await fresh.page.screenshot()).equals(resized));
    await fresh.close();
});

test("PainterThatDiesIsReportedAndTheNextFileIsShown", async () => {
    const page = await browser.open({ query: kQuery });
    const shown = await page.page.screenshot();
    await page.evaluate(`{
        const post = Worker.prototype.postMessage;
        Worker.prototype.postMessage = function (...args) {
            Worker.prototype.postMessage = post;
            this.dispatchEvent(new ErrorEvent("error", { message: "gone", cancelable: true }));
        };
        SetFocusFromNative(20, 30);
    } null`);
    await page.becomes(`${kState} === "failed"`);
    assert.deepEqual(page.reports, ["Cannot show the scene: gone"]);
    await page.evaluate("SetFocusFromNative(0, 30), null");
    await page.evaluate(`FileFromNative(${JSON.stringify(scene)}), null`);
    await page.becomes(`${kState} === "shown"`);
    assert.ok((await page.page.screenshot()).equals(shown));
    await page.close();
});

test("PageWithoutWebGLRestsAndKeepsItsScene", async () => {
    const page = await browser.open({ query: kQuery, withoutWebGL: true });
    assert.equal(await page.evaluate(kState), "shown");
    const before = await page.watch();
    for (let i = 0; i < 3; ++i) await page.screenshot();
    assert.deepEqual(await page.watch(), before);
    assert.deepEqual({ frames: before.frames, eyes: before.eyes }, { frames: 2, eyes: 2 });
    assert.deepEqual(page.reports, []);
    await page.close();
});

test("SparkIsNotToBeHadWithoutWebGL", async () => {
    const page = await browser.open({ query: "mode=0", withoutWebGL: true });
    await page.load(`${page.page.url()}&painter=gpu`);
    await page.becomes(`${kState} === "failed"`);
    assert.ok(page.reports.some((report) => report.startsWith("Cannot show the scene: ")));
    await page.close();
});

test("GaussiansAreHeldByThePaintersAlone", async () => {
    const kSide = 64;
    const large = await browser.file("large.ply", plyFile(relief(kSide)));
    const page = await browser.open({ query: kQuery, width: 64, height: 48 });
    const before = await heldBytes(page.page);
    await page.call("FileFromNative", large);
    const growth = (await heldBytes(page.page)) - before;
    // Spark packs a Gaussian into 16 bytes.
    assert.ok(growth < (16 * 2 * kSide ** 2) / 2, `${growth}`);
    await page.close();
});
