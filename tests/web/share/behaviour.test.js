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
const kScene = spzFile(
    relief(40).map((gaussian) => {
        const [x, y, z] = gaussian.center;
        return { ...gaussian, center: /** @type {[number, number, number]} */ ([x, y, z + 3]) };
    }),
);
const kPoster =
    "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAQAAAADCAIAAAA7ljmRAAAAE0lEQVR4nGP4z8DwHw0zoFEZADgaC/WCnBZMAAAAAElFTkSuQmCC";

/**
 * @typedef {object} Opening
 * @property {Partial<import("../support/shared_page.js").Share>} [share]
 * @property {{ width: number, height: number }} [size]
 * @property {(() => void)[]} [before] run in the page before its scripts
 * @property {import("playwright-core").BrowserContextOptions} [options]
 */

/** @param {Opening} [opening] */
async function open({ share = {}, size, before = [], options } = {}) {
    const scripts = [installWatch, ...before].map((script) => `(${script})();`).join("\n");
    const page = await browser.prepare(scripts, size ?? { width: 320, height: 240 }, {
        reducedMotion: "reduce",
        ...options,
    });
    const html = await sharedPage({ scene: kScene, ...share });
    await page.load(`${pathToFileURL(await browser.file("share.html", html))}`);
    await page.becomes(kIsDone);
    return page;
}

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

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

test("OnlyItselfIsLoaded", async () => {
    const page = await browser.prepare("", { width: 320, height: 240 });
    /** @type {string[]} */
    const asked = [];
    page.page.on("request", (request) => asked.push(request.url()));
    const html = await sharedPage({ scene: kScene, poster: kPoster });
    const url = `${pathToFileURL(await browser.file("share.html", html))}`;
    await page.load(url);
    await page.becomes(kIsDone);
    const others = asked.filter((address) => address !== url && !/^(data|blob):/.test(address));
    assert.deepEqual(others, []);
    await page.close();
});

test("TurningEndsAtTheLimit", async () => {
    const page = await open();
    const start = await pictureOf(page);
    for (let i = 0; i < 4; ++i) await drag(page, 150);
    const end = await pictureOf(page);
    assert.notDeepEqual(end, start);
    await drag(page, 150);
    assert.deepEqual(await pictureOf(page), end);
    await page.page.keyboard.press("Home");
    assert.deepEqual(await pictureOf(page), start);
    await page.close();
});

test("AFreeSceneTurnsOn", async () => {
    const page = await open({ share: { facts: { free: true } } });
    for (let i = 0; i < 4; ++i) await drag(page, 20);
    const there = await pictureOf(page);
    await drag(page, 20);
    assert.notDeepEqual(await pictureOf(page), there);
    await page.close();
});

test("ZoomsIntoThePictureAndBack", async () => {
    const page = await open();
    const start = await pictureOf(page);
    for (let i = 0; i < 5; ++i) await page.page.keyboard.press("+");
    const near = await pictureOf(page);
    assert.notDeepEqual(near, start);
    await page.page.keyboard.press("Shift+ArrowLeft");
    assert.notDeepEqual(await pictureOf(page), near);
    await page.page.keyboard.press("0");
    assert.deepEqual(await pictureOf(page), start);
    await page.close();
});

test("KeysGoThroughTheModes", async () => {
    const page = await open();
    const mode = () => page.evaluate(`document.getElementById("mode").selectedIndex`);
    assert.equal(await mode(), 0);
    await page.page.keyboard.press("a");
    assert.equal(await mode(), 6);
    await page.page.keyboard.press("s");
    await page.page.keyboard.press("s");
    assert.equal(await mode(), 1);
    const plain = await pictureOf(page);
    await page.page.keyboard.press("x");
    assert.notDeepEqual(await pictureOf(page), plain);
    await page.close();
});

test("SwaysUntilTheFirstTouch", async () => {
    const page = await open({ options: { reducedMotion: "no-preference" } });
    const { frames } = await page.watch();
    await page.becomes(`watch.frames > ${frames} + 20`);
    await page.page.mouse.move(10, 10);
    await page.page.mouse.down();
    await page.page.mouse.up();
    await page.becomes(kIsStill);
    const stopped = (await page.watch()).frames;
    await page.page.evaluate("new Promise((done) => window.displayFrame(() => done(null)))");
    assert.equal((await page.watch()).frames, stopped);
    await page.close();
});

test("StaysStillForThoseWhoWantNoMotion", async () => {
    const page = await open();
    await page.becomes(kIsStill);
    await page.close();
});

test("TheBarFadesAndComesBack", async () => {
    const page = await open();
    const isFaded = `document.getElementById("bar").classList.contains("faded")`;
    assert.equal(await page.evaluate(isFaded), false);
    await page.becomes(isFaded);
    await page.page.mouse.move(20, 20);
    assert.equal(await page.evaluate(isFaded), false);
    await page.becomes(isFaded);
    await page.page.keyboard.press("Tab");
    assert.equal(await page.evaluate(isFaded), false);
    await page.close();
});

for (const [language, bar, first] of /** @type {const} */ ([
    ["ja", "表示", "カラーアナグリフ"],
    ["en", "View", "Color Anaglyph"],
])) {
    test(`SpeaksTheBrowsersLanguage ${language}`, async () => {
        const page = await open({ options: { locale: language === "ja" ? "ja-JP" : "de-DE" } });
        assert.equal(await page.evaluate("document.documentElement.lang"), language);
        const name = `document.getElementById("bar").getAttribute("aria-label")`;
        assert.equal(await page.evaluate(name), bar);
        assert.equal(await page.evaluate(`document.getElementById("mode").options[4].text`), first);
        await page.close();
    });
}

for (const [width, height] of /** @type {const} */ ([
    [360, 640],
    [640, 360],
    [1280, 720],
])) {
    test(`TheBarFits ${width} x ${height}`, async () => {
        const isPhone = width < 1000;
        const page = await open({
            size: { width, height },
            options: { hasTouch: isPhone, isMobile: isPhone, locale: "ja-JP" },
        });
        await page.page.keyboard.press("s");
        const problems = await page.evaluate(`
            Array.from(document.querySelectorAll("#bar button, #bar select, #bar input"))
                .filter((e) => e.checkVisibility?.() ?? e.offsetParent)
                .map((e) => [e.id, e.getBoundingClientRect()])
                .filter(([, r]) => r.height < 44 || r.width < 44 || r.left < 0 || r.top < 0 ||
                    r.right > innerWidth || r.bottom > innerHeight)
                .map(([id, r]) => id + JSON.stringify(r))`);
        assert.deepEqual(problems, []);
        const wide = `document.documentElement.scrollWidth <= innerWidth`;
        assert.equal(await page.evaluate(wide), true);
        await page.close();
    });
}

test("ThePhotographFitsATurnedWindow", async () => {
    const page = await open();
    await page.page.setViewportSize({ width: 120, height: 240 });
    await pictureOf(page);
    const picture = await page.picture();
    // 4 : 3 in a width of 120 is 90 rows in the middle.
    assert.ok(Math.max(...picture.at(60, 120)) > 40);
    assert.ok(Math.max(...picture.at(60, 40)) < 20);
    await page.close();
});

for (const [painter, before] of /** @type {const} */ ([
    ["ours", [keepContext]],
    ["Spark's", [keepContext, pretendCard]],
])) {
    test(`ALostContextSaysSoAndComesBack ${painter}`, async () => {
        const page = await open({ before: [...before], share: { poster: kPoster } });
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

test("FollowsThePhoneALittle", async () => {
    const page = await open({ options: { reducedMotion: "no-preference", hasTouch: true } });
    await page.page.touchscreen.tap(160, 60);
    const straight = await pictureOf(page);
    const hold = (/** @type {number} */ gamma) => page.evaluate(`window.dispatchEvent(
        new DeviceOrientationEvent("deviceorientation", { beta: 40, gamma: ${gamma} })), null`);
    await hold(0);
    await hold(12);
    assert.notDeepEqual(await pictureOf(page), straight);
    await page.close();
});
