// SPDX-License-Identifier: GPL-3.0-or-later
/** What people do with a shared page, on desks and on phones. */
import assert from "node:assert/strict";
import { test } from "node:test";
import { pathToFileURL } from "node:url";
import { keepContext, pretendCard, takeWebGLAway } from "../support/graphics.js";
import { kIsDone, kIsStill, sharedPage } from "../support/shared_page.js";
import { relief, spzFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";
import { installWatch } from "../support/watch.js";

const browser = await startBrowser();
const kSize = { width: 320, height: 240 };
const kScene = spzFile(
    relief(40).map((gaussian) => {
        const [x, y, z] = gaussian.center;
        return { ...gaussian, center: /** @type {[number, number, number]} */ ([x, y, z + 3]) };
    }),
);
const kPoster =
    "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAQAAAADCAIAAAA7ljmRAAAAE0lEQVR4nGP4z8DwHw0zoFEZADgaC/WCnBZMAAAAAElFTkSuQmCC";

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

/**
 * @typedef {object} Opening
 * @property {Partial<import("../support/shared_page.js").Share>} [share]
 * @property {{ width: number, height: number }} [size]
 * @property {(() => void)[]} [before] run in the page before its scripts
 * @property {import("playwright-core").BrowserContextOptions} [options]
 * @property {(page: ViewerPage) => unknown} [prepare] before the page is loaded
 */

/** @param {Opening} [opening] */
async function open({ share = {}, size = kSize, before = [], options = {}, prepare } = {}) {
    const scripts = [installWatch, ...before].map((script) => `(${script})();`).join("\n");
    const page = await browser.prepare(scripts, size, { reducedMotion: "reduce", ...options });
    await prepare?.(page);
    const html = await sharedPage({ scene: kScene, ...share });
    await page.load(`${pathToFileURL(await browser.file("share.html", html))}`);
    await page.becomes(kIsDone);
    return page;
}

/**
 * The picture without the bar, at rest.
 * @param {ViewerPage} page
 */
async function pictureOf(page) {
    await page.evaluate(`document.getElementById("bar").style.visibility = "hidden", null`);
    await page.becomes(kIsStill);
    const png = await page.screenshot();
    await page.evaluate(`document.getElementById("bar").style.visibility = "", null`);
    return png;
}

/**
 * @param {ViewerPage} page
 * @param {number} dx
 */
async function drag({ page }, dx) {
    await page.mouse.move(160, 120);
    await page.mouse.down();
    await page.mouse.move(160 + dx, 120, { steps: 3 });
    await page.mouse.up();
}

/**
 * @param {ViewerPage} page
 * @param {string} id
 */
function textOf(page, id) {
    return page.evaluate(`document.getElementById("${id}").textContent`);
}

const desk = await open();

test("TurningEndsAtTheLimit", async () => {
    const start = await pictureOf(desk);
    for (let i = 0; i < 4; ++i) await drag(desk, 150);
    const end = await pictureOf(desk);
    assert.notDeepEqual(end, start);
    await drag(desk, 150);
    assert.deepEqual(await pictureOf(desk), end);
    await desk.page.keyboard.press("Home");
    assert.deepEqual(await pictureOf(desk), start);
});

test("ZoomsIntoThePictureAndBack", async () => {
    const start = await pictureOf(desk);
    for (let i = 0; i < 5; ++i) await desk.page.keyboard.press("+");
    const near = await pictureOf(desk);
    assert.notDeepEqual(near, start);
    await desk.page.keyboard.press("Shift+ArrowLeft");
    assert.notDeepEqual(await pictureOf(desk), near);
    await desk.page.keyboard.press("0");
    assert.deepEqual(await pictureOf(desk), start);
});

test("KeysGoThroughTheModes", async () => {
    const mode = () => desk.evaluate(`document.getElementById("mode").selectedIndex`);
    assert.equal(await mode(), 0);
    await desk.page.keyboard.press("a");
    assert.equal(await mode(), 6);
    await desk.page.keyboard.press("s");
    await desk.page.keyboard.press("s");
    assert.equal(await mode(), 1);
    const plain = await pictureOf(desk);
    await desk.page.keyboard.press("x");
    assert.notDeepEqual(await pictureOf(desk), plain);
    await desk.page.keyboard.press("a");
});

test("ThePhotographFitsATurnedWindow", async () => {
    await desk.page.setViewportSize({ width: 120, height: 240 });
    await pictureOf(desk);
    const picture = await desk.picture();
    // 4 : 3 in a width of 120 is 90 rows in the middle.
    assert.ok(Math.max(...picture.at(60, 120)) > 40);
    assert.ok(Math.max(...picture.at(60, 40)) < 20);
    await desk.close();
});

test("AFreeSceneTurnsOn", async () => {
    const page = await open({ share: { facts: { free: true } } });
    for (let i = 0; i < 4; ++i) await drag(page, 20);
    const there = await pictureOf(page);
    await drag(page, 20);
    assert.notDeepEqual(await pictureOf(page), there);
    await page.close();
});

test("OnlyItselfIsLoaded", async () => {
    /** @type {string[]} */
    const asked = [];
    /** @param {ViewerPage} page */
    const prepare = ({ page }) => page.on("request", (request) => asked.push(request.url()));
    const page = await open({ share: { poster: kPoster }, options: { locale: "de-DE" }, prepare });
    const others = asked.filter((address) => !/^(data|blob):/.test(address));
    assert.deepEqual(others, [await page.evaluate("location.href")]);
    assert.equal(await page.evaluate("document.documentElement.lang"), "en");
    await page.close();
});

test("MovesByItselfUntilTheFirstTouchAndThenWithThePhone", async () => {
    const options = /** @type {const} */ ({ reducedMotion: "no-preference", hasTouch: true });
    const page = await open({ options });
    const { frames } = await page.watch();
    await page.becomes(`watch.frames > ${frames} + 20`);
    await page.page.touchscreen.tap(10, 10);
    await page.becomes(kIsStill);
    const straight = await pictureOf(page);
    const hold = (/** @type {number} */ gamma) => page.evaluate(`window.dispatchEvent(
        new DeviceOrientationEvent("deviceorientation", { beta: 40, gamma: ${gamma} })), null`);
    await hold(0);
    await hold(12);
    assert.notDeepEqual(await pictureOf(page), straight);
    await page.close();
});

test("TheBarFadesAndComesBack", async () => {
    const page = await open({ prepare: ({ page }) => page.clock.install() });
    const isFaded = `document.getElementById("bar").classList.contains("faded")`;
    for (const wake of [() => page.page.mouse.move(20, 20), () => page.page.keyboard.press("q")]) {
        await page.page.clock.fastForward(5000);
        assert.equal(await page.evaluate(isFaded), true);
        await wake();
        assert.equal(await page.evaluate(isFaded), false);
    }
    // What has the keyboard's focus stays to be seen.
    await page.page.focus("#mode");
    await page.page.keyboard.press("Tab");
    await page.page.clock.fastForward(5000);
    assert.equal(await page.evaluate(isFaded), false);
    await page.close();
});

test("APhonesFingersReachTheBar", async () => {
    const options = { hasTouch: true, isMobile: true, locale: "ja-JP" };
    const page = await open({ size: { width: 360, height: 640 }, options });
    assert.equal(await page.evaluate("document.documentElement.lang"), "ja");
    const third = `document.getElementById("mode").options[4].text`;
    assert.equal(await page.evaluate(third), "カラーアナグリフ");
    await page.page.keyboard.press("s");
    for (const [width, height] of [[360, 640], [640, 360]]) {
        await page.page.setViewportSize({ width, height });
        const problems = await page.evaluate(`
            Array.from(document.querySelectorAll("#bar button, #bar select, #bar input"))
                .filter((control) => control.offsetParent !== null)
                .map((control) => [control.id, control.getBoundingClientRect()])
                .filter(([, box]) => box.height < 44 || box.width < 44 || box.left < 0 ||
                    box.top < 0 || box.right > innerWidth || box.bottom > innerHeight)
                .map(([id]) => id)`);
        assert.deepEqual(problems, [], `${width} x ${height}`);
        assert.ok(await page.evaluate("document.documentElement.scrollWidth <= innerWidth"));
    }
    await page.close();
});

for (const [painter, before] of /** @type {const} */ ([
    ["ours", [keepContext]],
    ["Spark's", [keepContext, pretendCard]],
])) {
    test(`ALostContextSaysSoAndComesBack ${painter}`, async () => {
        const share = { poster: kPoster };
        const page = await open({ share, before: [...before], size: { width: 80, height: 60 } });
        const whole = await pictureOf(page);
        await page.evaluate(`(window.losing = context.getExtension("WEBGL_lose_context"),
            losing.loseContext(), null)`);
        await page.becomes(`document.getElementById("message").textContent.includes("graphics")`);
        assert.equal(await page.evaluate(`document.getElementById("poster").hidden`), false);
        await page.evaluate(`losing.restoreContext(), null`);
        await page.becomes(`document.getElementById("message").textContent === ""`);
        await page.becomes(`document.getElementById("poster").hidden`);
        assert.deepEqual(await pictureOf(page), whole);
        await page.close();
    });
}

test("WithoutWebGLItIsPaintedOnACanvas", async () => {
    const page = await open({ before: [takeWebGLAway] });
    assert.equal(await textOf(page, "message"), "");
    await pictureOf(page);
    const picture = await page.picture();
    assert.ok(Math.max(...picture.at(160, 120)) > 40);
    await page.close();
});

test("ADamagedSceneSaysSoBehindThePoster", async () => {
    for (const scene of [kScene.subarray(0, 200), Buffer.from("no scene at all")]) {
        const share = { scene, title: "Nasty </title> & title", poster: kPoster };
        const page = await open({ share });
        assert.match(await textOf(page, "message"), /“Nasty <\/title> & title” cannot be shown/);
        assert.equal(await page.evaluate(`document.getElementById("poster").hidden`), false);
        await page.close();
    }
});

test("APageThatWasCutShortSaysSo", async () => {
    const page = await open({ share: { facts: { length: 10_000_000 } } });
    assert.match(await textOf(page, "message"), /damaged or cut short/);
    await page.close();
});
