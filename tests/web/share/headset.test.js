// SPDX-License-Identifier: GPL-3.0-or-later
/** The shared page with a headset, which iwer emulates. */
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import { after, test } from "node:test";
import { fileURLToPath } from "node:url";
import { pretendCard } from "../support/graphics.js";
import { decodePng } from "../support/png.js";
import { kIsDone, sharedPage } from "../support/shared_page.js";
import { spzFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

const kEmulator = fileURLToPath(import.meta.resolve("iwer").replace(/lib\/.*/, "build/iwer.min.js"));
const kSize = { width: 400, height: 200 };

/** A red Gaussian above and to the right of the photograph's axis, and a green one far off on it. */
const scene = spzFile([
    { center: [0.5, -0.5, 2], scale: 0.1, color: [1, 0, 0] },
    { center: [0, 0, 20], scale: 0.5, color: [0, 1, 0] },
]);
const browser = await startBrowser();
const html = await sharedPage({ scene });
const server = createServer((_request, response) => {
    response.writeHead(200, { "Content-Type": "text/html; charset=utf-8" }).end(html);
});
after(() => server.close());
await new Promise((resolve) => server.listen(0, "127.0.0.1", () => resolve(undefined)));
const { port } = /** @type {import("node:net").AddressInfo} */ (server.address());

/** @param {string} script run in the page before its own */
async function open(script) {
    const page = await browser.prepare(script, kSize, { reducedMotion: "reduce" });
    await page.load(`http://127.0.0.1:${port}/`);
    await page.becomes(kIsDone);
    return page;
}

const kWithHeadset = `
    window.device = new IWER.XRDevice(IWER.metaQuest3);
    device.installRuntime({ forceInstall: true });
    device.stereoEnabled = true;`;
const kIsOffered = `!document.getElementById("headset").hidden`;

/**
 * @param {import("../support/png.js").Picture} picture
 * @param {number} from column
 * @param {0 | 1} channel
 * @returns {{ x: number, y: number }} middle of what has the colour in half of the picture
 */
function middleOf(picture, from, channel) {
    let [sum, sumX, sumY] = [0, 0, 0];
    for (let y = 0; y < picture.height; ++y) {
        for (let x = from; x < from + picture.width / 2; ++x) {
            const colour = picture.at(x, y);
            const weight = Math.max(0, colour[channel] - colour[1 - channel]);
            [sum, sumX, sumY] = [sum + weight, sumX + weight * (x - from), sumY + weight * y];
        }
    }
    return { x: sumX / sum, y: sumY / sum };
}

test("ShowsTheSceneToBothEyesAndComesBack", async () => {
    const page = await open(`${await readFile(kEmulator, "utf8")};${kWithHeadset}(${pretendCard})()`);
    await page.becomes(kIsOffered);
    await page.page.click("#headset");
    const isInside = `document.getElementById("headset").ariaPressed === "true"`;
    await page.becomes(isInside);
    /** @type {{ x: number, y: number }[]} */
    let [left, right, far, farRight] = [];
    // The first frames come before the Gaussians are sorted for the head.
    for (let tries = 0; tries < 50 && !(left?.x > 0 && farRight?.x > 0); ++tries) {
        const picture = decodePng(await page.screenshot());
        left = middleOf(picture, 0, 0);
        right = middleOf(picture, kSize.width / 2, 0);
        far = middleOf(picture, 0, 1);
        farRight = middleOf(picture, kSize.width / 2, 1);
    }
    // To the right and above, nearer things at other places for the eyes than far ones.
    assert.ok(left.x > 105 && left.y < 95, JSON.stringify(left));
    const near = left.x - right.x;
    const distant = far.x - farRight.x;
    assert.ok(near - distant > 1, `${near} ${distant}`);
    await page.evaluate("device.activeSession.end().then(() => null)");
    await page.becomes(`!(${isInside})`);
    const back = decodePng(await page.screenshot());
    assert.deepEqual([back.width, back.height], [kSize.width, kSize.height]);
    const [red, green] = back.at(kSize.width / 2, kSize.height / 2);
    assert.ok(green > 100 && red < 60, `${red} ${green}`);
    assert.deepEqual(page.reports, []);
    await page.close();
});

test("WithoutOneThereIsNoButton", async () => {
    const page = await open(`(${pretendCard})()`);
    assert.equal(await page.evaluate(kIsOffered), false);
    await page.close();
});
