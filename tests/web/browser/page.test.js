// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { plyFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

const browser = await startBrowser();
const scene = await browser.file(
    "one.ply",
    plyFile([{ center: [0, 0, 0], scale: 0.3, color: [1, 0.5, 0.2] }]),
);
const kSaved = {
    position: [0.6, -0.4, -2.5],
    target: [0.1, 0.05, 0.2],
    fov: 40,
    zoom: 3,
    swap: true,
    dltx: 20,
    dpt: 80,
    stType: 4,
};

/**
 * @param {Record<string, any>} actual
 * @param {Record<string, any>} expected
 */
function assertView(actual, expected) {
    assert.deepEqual(Object.keys(actual).sort(), Object.keys(expected).sort());
    for (const [name, wanted] of Object.entries(expected)) {
        [wanted].flat().forEach((value, i) => {
            const found = [actual[name]].flat()[i];
            if (typeof value === "number") {
                assert.ok(Math.abs(found - value) < 1e-9, `${name}: ${actual[name]}`);
            } else {
                assert.equal(found, value, name);
            }
        });
    }
}

const kSharpStart = {
    position: [-0.3, 0.5, -3],
    target: [0, 0, 0],
    fov: 30,
    zoom: 1,
    swap: false,
    dltx: 60,
    dpt: 100,
    stType: 0,
};
const kGeneralStart = { ...kSharpStart, position: [0, -1, -3], fov: 65, dltx: 0 };

test("PageIsMadeAsDocumented", async () => {
    const page = await browser.open();
    const found = await page.page.evaluate(() => {
        const style = getComputedStyle(document.body);
        const shown = (/** @type {string} */ id) =>
            getComputedStyle(/** @type {Element} */ (document.getElementById(id))).display;
        return {
            title: document.title,
            body: [style.backgroundColor, style.margin, style.overflow, style.fontSize],
            family: style.fontFamily,
            boxes: [shown("fps"), shown("log")],
            canvases: document.querySelectorAll("#container > canvas").length,
            imports: JSON.parse(
                String(document.querySelector("script[type=importmap]")?.textContent),
            ).imports,
            scripts: document.querySelectorAll("script[type=module]").length,
        };
    });
    assert.deepEqual(found, {
        title: "3D Gaussian Splats",
        body: ["rgb(0, 0, 0)", "0px", "hidden", "13px"],
        family: "monospace",
        boxes: ["none", "none"],
        canvases: 1,
        imports: {
            three: "./three.module.js",
            "three/addons/": "./",
            "three/examples/jsm/": "./",
        },
        scripts: 1,
    });
    assert.deepEqual(page.reports, []);
    await page.close();
});

test("ThereIsOneCopyOfThree", async () => {
    const page = await browser.open({ query: `openFile=${scene}` });
    // three.js warns when a second copy of it starts.
    assert.deepEqual(page.reports, []);
    await page.close();
});

test("StartWithoutAFileDrawsNothingAndSavesTheDefaultView", async () => {
    const page = await browser.open({ query: "nreso=1&mode=0" });
    assert.equal((await page.watch()).frames, 0);
    assertView(await page.savedView(), kSharpStart);
    await page.close();
});

test("StartWithoutAFileTakesModeAndSwapFromTheSavedView", async () => {
    const page = await browser.open({ saved: JSON.stringify(kSaved) });
    assertView(await page.savedView(), { ...kSharpStart, swap: true, stType: 4 });
    await page.close();
});

test("FreshViewTakesModeAndSwapFromTheSavedView", async () => {
    const query = `nreso=1&mode=1&nst=1&openFile=${scene}`;
    const page = await browser.open({ query, saved: JSON.stringify(kSaved) });
    assertView(await page.savedView(), { ...kGeneralStart, swap: true, stType: 4 });
    await page.close();
});

test("WholeViewComesBackInSharpModeButForTheZoom", async () => {
    const query = `mode=0&openFile=${scene}`;
    const page = await browser.open({ query, saved: JSON.stringify(kSaved) });
    assertView(await page.currentView(), { ...kSaved, zoom: 1 });
    await page.close();
});

test("WholeViewComesBackInGeneralModeButForTheFieldOfView", async () => {
    const query = `mode=1&openFile=${scene}`;
    const page = await browser.open({ query, saved: JSON.stringify(kSaved) });
    assertView(await page.currentView(), { ...kSaved, fov: 65 });
    await page.close();
});

test("SharpModeWithoutASavedViewStartsWithItsFocus", async () => {
    const page = await browser.open({ query: `mode=0&openFile=${scene}` });
    assertView(await page.currentView(), kSharpStart);
    await page.close();
});

test("BrokenSavedViewIsReportedAndTheFileIsShown", async () => {
    for (const query of [`mode=0&openFile=${scene}`, `mode=0&nst=1&openFile=${scene}`]) {
        const page = await browser.open({ query, saved: "{broken" });
        assert.deepEqual(page.reports, ["camera restore failed"]);
        assert.ok((await page.watch()).eyes > 0);
        assertView(await page.currentView(), kSharpStart);
        await page.close();
    }
});

test("ReloadKeepsModeAndSwapButNotTheCamera", async () => {
    const query = `mode=0&nst=1&openFile=${scene}`;
    const page = await browser.open({ query });
    await page.call("ChgstFromNative", 3);
    await page.call("SwapFromNative", true);
    await page.call("SetFocusFromNative", 20, 50);
    await page.call("PanmoveFromNative", 10, 10, 0);
    await page.call("PanmoveFromNative", 60, 30, 1);
    await page.page.reload();
    await page.rest();
    assertView(await page.savedView(), { ...kSharpStart, swap: true, stType: 3 });
    await page.close();
});

test("ViewIsSavedWhenThePageIsLeft", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${scene}` });
    await page.call("SetFocusFromNative", 20, 60);
    assertView(await page.savedView(), kSharpStart);
    await page.go(`mode=0&openFile=${scene}`);
    assertView(await page.savedView(), { ...kSharpStart, dltx: 140, dpt: 200 });
    await page.close();
});

test("ViewIsSavedWhenThePageIsHidden", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${scene}` });
    await page.call("SetFocusFromNative", 20, 60);
    await page.page.evaluate(() => {
        Object.defineProperty(document, "visibilityState", { value: "hidden" });
        document.dispatchEvent(new Event("visibilitychange"));
    });
    assertView(await page.savedView(), { ...kSharpStart, dltx: 140, dpt: 200 });
    await page.close();
});

test("ModeAndSwapAreSavedAsTheyAreChosen", async () => {
    const page = await browser.open({ query: `mode=0&openFile=${scene}` });
    await page.call("ChgstFromNative", 3);
    assert.equal((await page.savedView()).stType, 3);
    await page.call("SwapFromNative", true);
    assert.equal((await page.savedView()).swap, true);
    for (const [key, stType, swap] of /** @type {const} */ ([
        ["x", 3, false],
        ["s", 4, false],
        ["a", 3, false],
    ])) {
        await page.page.keyboard.press(key);
        const saved = await page.savedView();
        assert.deepEqual([saved.stType, saved.swap], [stType, swap], key);
    }
    await page.close();
});

test("KeysChangeModeAndSwapWithoutDrawing", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${scene}` });
    const before = await page.watch();
    const last = kStereoModes.length - 1;
    const found = [];
    for (const key of [...new Array(last + 1).fill("s"), "a", "a", "x"]) {
        await page.page.keyboard.press(key);
        const { stType, swap } = await page.currentView();
        found.push(swap ? "swapped" : stType);
    }
    const forwards = [...kStereoModes.keys()].slice(1);
    assert.deepEqual(found, [...forwards, 0, last, last - 1, "swapped"]);
    assert.equal((await page.watch()).frames, before.frames);
    await page.close();
});

test("KeyLeavesTheOldPictureUntilTheNextFrame", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${scene}` });
    const before = await page.page.screenshot();
    await page.page.keyboard.press("s");
    assert.deepEqual(await page.page.screenshot(), before);
    await page.call("SwapFromNative", false);
    assert.notDeepEqual(await page.page.screenshot(), before);
    await page.close();
});

test("NameOfAnotherKindIsRefused", async () => {
    const page = await browser.open({ query: `mode=0&nst=1&openFile=${scene}` });
    const before = await page.picture();
    for (const name of ["/a/SCENE.PLY", "/a/photo.jpg"]) await page.call("FileFromNative", name);
    assert.deepEqual(page.alerts, new Array(2).fill("It is not a Gaussian spreading file!"));
    assert.deepEqual((await page.picture()).at(60, 75), before.at(60, 75));
    await page.close();
});

test("FileFromNativeWithoutAnEffectDrawsNothingUntilAModeIsChosen", async () => {
    const page = await browser.open({ query: "nreso=1&mode=0" });
    await page.call("FileFromNative", scene);
    assert.equal((await page.watch()).frames, 0);
    assert.deepEqual(page.reports, []);
    await page.call("ChgstFromNative", 0);
    assert.ok((await page.watch()).eyes > 0);
    assert.ok((await page.picture()).at(60, 75)[0] > 100);
    await page.close();
});
