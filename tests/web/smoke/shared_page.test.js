// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The shared page in the newest browser and, with VISTREL_TEST_BROWSER=qtwebengine, in the oldest:
 * it opens from disk, asks for nothing and shows the photograph's view in every mode.
 */
import assert from "node:assert/strict";
import { test } from "node:test";
import { pathToFileURL } from "node:url";
import { startQt } from "../support/qt_page.js";
import { kIsDone, kIsStill, sharedPage } from "../support/shared_page.js";
import { relief, spzFile } from "../support/splat_files.js";
import { alternating, assertPicture, combined, kMatrices } from "../support/stereo_checks.js";
import { startBrowser } from "../support/viewer_page.js";
import { installWatch } from "../support/watch.js";

const inQt = process.env.VISTREL_TEST_BROWSER === "qtwebengine";
const browser = inQt ? await startQt() : await startBrowser();
const kSize = { width: 320, height: 240 };
/** Numbers of the modes in the page's list. */
const kMode = { flat: 0, sideBySide: 1, grid: 2, dubois: 3, colour: 4, grey: 5, interlaced: 6 };

const scene = relief(48).map((gaussian) => {
    const [x, y, z] = gaussian.center;
    return { ...gaussian, center: /** @type {[number, number, number]} */ ([x, y, z + 3]) };
});
/** One at the photograph's pixel (40, 90), which lies at (80, 180) in the window. */
const marker = /** @type {import("../support/splat_files.js").Gaussian} */ ({
    center: [-0.5, 0.375, 2],
    scale: 0.03,
    color: [1, 0, 0],
});

const page = await browser.prepare(`(${installWatch})();`, kSize);

/** @param {import("../support/splat_files.js").Gaussian[]} gaussians */
async function open(gaussians) {
    const html = await sharedPage({ scene: spzFile(gaussians) });
    await page.load(`${pathToFileURL(await browser.file("share.html", html))}`);
    await page.evaluate(`window.dispatchEvent(new Event("pointerdown")), null`); // no sway
    await page.becomes(kIsDone);
}

/** @param {number} mode */
async function choose(mode) {
    await page.evaluate(`(() => {
        const list = document.getElementById("mode");
        list.selectedIndex = ${mode};
        list.dispatchEvent(new Event("change"));
    })()`);
    return settledPicture();
}

/** The picture without the bar, once it does not change any more. */
async function settledPicture() {
    await page.evaluate(`document.getElementById("bar").hidden = true, null`);
    await page.becomes(kIsStill);
    return page.picture();
}

test("ShowsWhatThePhotographShows", async () => {
    await open([...scene, marker]);
    const picture = await settledPicture();
    const [r, g, b] = picture.at(80, 180);
    assert.ok(r > 200 && g < 60 && b < 60, `${[r, g, b]}`);
    const other = picture.at(80, 60);
    assert.ok(Math.max(...other) > 60 && !(other[0] > 200 && other[1] < 60), `${other}`);
});

test("EveryModeCombinesTheSameEyes", async () => {
    await open(scene);
    const flat = await choose(kMode.flat);
    const plain = await choose(kMode.colour);
    await page.evaluate(`document.getElementById("swap").click(), null`);
    const swapped = await settledPicture();
    await page.evaluate(`document.getElementById("swap").click(), null`);
    /** @type {import("../support/stereo_checks.js").Colours} */
    const left = (x, y) => [plain.at(x, y)[0], ...swapped.at(x, y).slice(1)];
    /** @type {import("../support/stereo_checks.js").Colours} */
    const right = (x, y) => [swapped.at(x, y)[0], ...plain.at(x, y).slice(1)];
    let difference = 0;
    for (let x = 20; x < 300; ++x) difference += Math.abs(left(x, 120)[0] - right(x, 120)[0]);
    assert.ok(difference > 1400, `${difference}`);
    assert.notDeepEqual(flat.at(160, 120), plain.at(160, 120));

    const { height } = kSize;
    assertPicture(await choose(kMode.dubois), combined(kMatrices.dubois, left, right), 3);
    assertPicture(await choose(kMode.grey), combined(kMatrices.grey, left, right), 3);
    const rows = await choose(kMode.interlaced);
    assertPicture(rows, alternating(left, right, height), 3);
    const halves = await choose(kMode.sideBySide);
    let shifted = 0;
    for (let x = 10; x < 150; ++x) {
        shifted += Math.abs(halves.at(x, 120)[0] - halves.at(x + 160, 120)[0]);
    }
    assert.ok(shifted > 140, `${shifted}`);
});

test("NothingIsAskedForAndNothingRefused", async () => {
    const { refused } = await page.watch();
    assert.deepEqual(refused, []);
    assert.deepEqual(page.reports, []);
});
