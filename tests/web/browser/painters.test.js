// SPDX-License-Identifier: GPL-3.0-or-later
/** The page's two painters, and its two ways to a screen, show the same pictures. */
import assert from "node:assert/strict";
import { test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { assertPicture } from "../support/stereo_checks.js";
import { cloud, plyFile, relief } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/png.js").Picture} Picture */
/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

/** Decibels that the painters' pictures must reach against each other. */
const kLeastLikeness = 42;
/** And those of which one shows texels where the other mixes two. */
const kLeastBetweenTexels = 33;

const browser = await startBrowser();
const own = `mode=0&nst=1&openFile=${await browser.file("own.ply", plyFile(relief(40)))}`;
const general = await browser.file("general.ply", plyFile(cloud(400), { degree: 3 }));
const kScenes = { own, general: `mode=1&nst=1&openFile=${general}` };

/**
 * @param {Picture} a
 * @param {Picture} b
 * @returns {number} peak signal-to-noise ratio, decibels
 */
function likeness(a, b) {
    let sum = 0;
    for (let y = 0; y < a.height; ++y) {
        for (let x = 0; x < a.width; ++x) {
            const other = b.at(x, y);
            a.at(x, y).slice(0, 3).forEach((value, c) => (sum += (value - other[c]) ** 2));
        }
    }
    return 10 * Math.log10(255 ** 2 / (sum / (3 * a.width * a.height)));
}

/**
 * @param {number} width of the screen
 * @param {number} height
 * @returns {[number, number]} a place where every mode shows the scene
 */
function placeIn(width, height) {
    return [Math.floor(0.3 * width), Math.floor(0.3 * height)];
}

/**
 * @param {ViewerPage} page
 * @param {number} mode
 */
async function pictureIn(page, mode) {
    await page.call("ChgstFromNative", mode);
    return page.picture();
}

for (const [name, query] of Object.entries(kScenes)) {
    test(`EveryModeLooksTheSameByBothPainters ${name}`, async () => {
        const size = { width: 150, height: 100 };
        const gpu = await browser.open({ query: `painter=gpu&${query}`, ...size });
        const cpu = await browser.open({ query: `painter=cpu&${query}`, ...size });
        for (const [mode, { name: told }] of kStereoModes.entries()) {
            const found = likeness(await pictureIn(gpu, mode), await pictureIn(cpu, mode));
            assert.ok(found >= kLeastLikeness, `${told}: ${found} dB`);
        }
        assert.deepEqual([...gpu.reports, ...cpu.reports], []);
        await gpu.close();
        await cpu.close();
    });
}

for (const [width, height, scale] of [
    [200, 150, 1],
    [201, 151, 1],
    [134, 100, 1.5],
]) {
    test(`EveryModeIsTheSameWithoutWebGL ${width} x ${height} x ${scale}`, async () => {
        const options = { query: `painter=cpu&${own}`, width, height, scale };
        const shaded = await browser.open(options);
        const plain = await browser.open({ ...options, withoutWebGL: true });
        const substitutes = [0.5, kStereoModes.length];
        for (const mode of [...kStereoModes.keys(), ...substitutes]) {
            const swap = mode % 2 === 1;
            await shaded.call("SwapFromNative", swap);
            await plain.call("SwapFromNative", swap);
            const expected = await pictureIn(shaded, mode);
            const found = await pictureIn(plain, mode);
            // Where half a row is no whole number, WebGL may read a texel or between two.
            const isExact = mode > 0 && mode < kStereoModes.length;
            if (isExact || Math.floor(width * scale) % 2 === 0) {
                assertPicture(found, (x, y) => expected.at(x, y), 1);
            } else {
                const alike = likeness(found, expected);
                assert.ok(alike >= kLeastBetweenTexels, `${mode}: ${alike} dB`);
            }
            assert.ok(found.at(...placeIn(width * scale, height * scale))[0] > 0);
        }
        assert.deepEqual(plain.reports, []);
        await shaded.close();
        await plain.close();
    });
}
