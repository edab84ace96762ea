// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { plyFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

const browser = await startBrowser();
const file = await browser.file(
    "a b%.ply",
    plyFile([{ center: [0.1, 0, 0], scale: 0.1, color: [1, 0, 0] }]),
);
const kQuery = `mode=0&nst=1&openFile=${encodeURIComponent(file.replace("%", "%25"))}`;

/** As a graphics driver does that is reset. */
const kLose = `document.querySelector("canvas").getContext("webgl2")
    .getExtension("WEBGL_lose_context").loseContext(), null`;

/**
 * Loses the context and waits for the page that comes in its place.
 * @param {import("../support/viewer_page.js").ViewerPage} page
 */
async function loseAndComeBack(page) {
    const loaded = page.page.waitForEvent("load");
    await page.evaluate(kLose);
    await page.becomes("SceneStateFromNative() === 'busy'");
    await loaded;
    await page.rest();
}

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`SceneComesBackInItsViewAfterALostContext ${painter}`, async () => {
        const page = await browser.open({ query: `painter=${painter}&${kQuery}` });
        await page.call("ChgstFromNative", 3);
        await page.call("SetFocusFromNative", 20, 60);
        await page.call("PanmoveFromNative", 0, 0, 0);
        await page.call("PanmoveFromNative", 30, 10, 1);
        const [view, picture] = [await page.currentView(), await page.screenshot()];
        await loseAndComeBack(page);
        assert.deepEqual(await page.currentView(), view);
        assert.ok((await page.screenshot()).equals(picture));
        assert.deepEqual(page.reports.filter((report) => report.startsWith("Cannot")), []);
        await page.close();
    });
}

test("ContextThatIsLostAgainAndAgainIsGivenUp", async () => {
    const page = await browser.open({ query: kQuery });
    for (let i = 0; i < 3; ++i) await loseAndComeBack(page);
    await page.evaluate(kLose);
    await page.becomes("SceneStateFromNative() === 'failed'");
    assert.ok(page.reports.includes("Cannot show the scene: The graphics context was lost"));
    const told = await page.evaluate("document.querySelector('[role=alert]').innerText");
    assert.match(told, /“a b%.ply” cannot be shown.\nThe graphics card has stopped working/);
    await page.close();
});

test("EmptyPageIsNotLoadedAgain", async () => {
    const page = await browser.open({ query: "mode=0" });
    await page.evaluate("window.isFirst = true, null");
    await page.evaluate(kLose);
    await page.becomes("SceneStateFromNative() === 'failed'");
    assert.equal(await page.evaluate("window.isFirst"), true);
    await page.close();
});
