// SPDX-License-Identifier: GPL-3.0-or-later
/** What vistrel-share writes, opened from the disk in a browser. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtemp, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, test } from "node:test";
import { pathToFileURL } from "node:url";
import { decodePng } from "../../web/support/png.js";
import { plyFile } from "../../web/support/splat_files.js";
import { launchChromium } from "../../web/support/viewer_page.js";

/** @typedef {import("../../web/support/splat_files.js").Gaussian} Gaussian */

const kProgram = path.join(process.env.VISTREL_BIN ?? "", "vistrel-share");
const kTitle = "</title><script>alert(1)</script> 湖 \"&amp;'";

/** Blobs that the photograph of 640 x 480 pixels shows 160 pixels from its middle or nearer. */
const kScene = plyFile(
    /** @type {Gaussian[]} */ ([
        { center: [-0.48, 0, 3], scale: 0.06, color: [1, 0.1, 0.1] },
        { center: [0.48, 0, 3], scale: 0.06, color: [0.1, 1, 0.1] },
        { center: [0, 0.45, 3], scale: 0.06, color: [0.1, 0.1, 1] },
        { center: [0, 0, 5], scale: 0.1, color: [1, 1, 1] },
    ]),
    { camera: true },
);

const folder = await mkdtemp(path.join(tmpdir(), "shared-"));
const browser = await launchChromium();
after(async () => {
    await browser.close();
    await rm(folder, { recursive: true });
});

test("a page from the disk shows the scene as the photograph's camera saw it", async () => {
    const scene = path.join(folder, "scene.ply");
    const output = path.join(folder, "page.html");
    await writeFile(scene, kScene);
    execFileSync(kProgram, ["--poster", "--title", kTitle, scene, output], { stdio: "pipe" });
    const context = await browser.newContext({
        viewport: { width: 640, height: 480 },
        reducedMotion: "reduce",
    });
    const page = await context.newPage();
    /** @type {string[]} */
    const asked = [];
    /** @type {string[]} */
    const said = [];
    page.on("request", (request) => asked.push(request.url()));
    page.on("console", (message) => said.push(message.text()));
    page.on("dialog", (dialog) => said.push(dialog.message()));
    page.on("pageerror", (error) => said.push(String(error)));

    await page.goto(pathToFileURL(output).href);
    await page.locator("#poster").waitFor({ state: "hidden" });

    assert.equal(await page.title(), kTitle);
    const picture = decodePng(await page.screenshot());
    const places = /** @type {const} */ ([
        [160, 240, [1, 0, 0]],
        [480, 240, [0, 1, 0]],
        [320, 390, [0, 0, 1]],
        [320, 240, [1, 1, 1]],
        [320, 60, [0, 0, 0]],
    ]);
    for (const [x, y, expected] of places) {
        const seen = picture.at(x, y).map((value) => (value > 128 ? 1 : 0));
        assert.deepEqual(seen, expected, `${x}, ${y}`);
    }
    const others = asked.filter((url) => !/^(blob|data):/.test(url));
    assert.deepEqual(others, [pathToFileURL(output).href]);
    assert.deepEqual(said, []);
});
