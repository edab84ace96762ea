// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import path from "node:path";
import { test } from "node:test";
import { pathToFileURL } from "node:url";
import { builtFolder } from "../support/resting_page.js";
import { startBrowser } from "../support/viewer_page.js";

const browser = await startBrowser();
const address = String(pathToFileURL(path.join(builtFolder(), "gaus3d.html")));

/** Runs in the page before its own scripts, and asks at once when these have run. */
function askEarly() {
    document.addEventListener("DOMContentLoaded", () => {
        Object.assign(window, { early: Object(window).SceneStateFromNative() });
    });
}

test("StateBeforeTheViewerIsThereTellsWhetherAFileIsToCome", async () => {
    const page = await browser.open();
    await page.page.addInitScript(askEarly);
    await page.go("mode=0");
    assert.equal(await page.evaluate("window.early"), "empty");
    await page.go("mode=0&nst=1&openFile=/none.ply");
    assert.equal(await page.evaluate("window.early"), "busy");
    await page.close();
});

test("StateIsFailedWhereThePageCannotStart", async () => {
    const page = await browser.open();
    await page.page.route("**/OrbitControls3d.js", (route) => route.abort());
    await page.load(address);
    await page.page.waitForFunction(() => Object(window).SceneStateFromNative() === "failed");
    assert.equal(await page.hasViewer(), false);
    assert.ok(page.reports.some((report) => report.startsWith("Cannot show the scene: ")));
    await page.close();
});
