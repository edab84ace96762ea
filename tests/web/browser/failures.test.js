// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { plyFile, splatFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

const browser = await startBrowser();
const kQuery = "mode=0&nst=1";
const kMessage = `document.querySelector("[role=alert]")`;
/** @type {import("../support/splat_files.js").Gaussian[]} */
const kGaussians = [{ center: [0, 0, 0], scale: 0.1, color: [1, 0, 0] }];

/**
 * @param {import("../support/viewer_page.js").ViewerPage} page
 * @returns {Promise<string>}
 */
function message(page) {
    return page.evaluate(`${kMessage}.innerText`);
}

for (const [locale, language, text] of /** @type {const} */ ([
    ["ja-JP", "ja", "「冬 1.ply」を表示できません。\nファイルが壊れているか、途中で切れています。"],
    ["en-GB", "en", "“冬 1.ply” cannot be shown.\nIt is damaged or cut short."],
    ["de-DE", "en", "“冬 1.ply” cannot be shown.\nIt is damaged or cut short."],
])) {
    test(`MessageIsInTheLanguageOfTheBrowser ${locale}`, async () => {
        const file = await browser.file("冬 1.ply", plyFile(kGaussians, { count: 9 }));
        const page = await browser.open({
            locale,
            query: `${kQuery}&openFile=${file.replaceAll(" ", "%20")}`,
        });
        assert.equal(await message(page), text);
        assert.equal(await page.evaluate(`${kMessage}.lang`), language);
        assert.ok(page.reports.includes('Cannot show the scene: The file ends in its "vertex"'));
        await page.close();
    });
}

test("MessageIsReadableInTheMiddleOfASmallPage", async () => {
    const file = await browser.file(`${"long ".repeat(20)}name.splat`, splatFile([]));
    const page = await browser.open({
        query: `${kQuery}&openFile=${file.replaceAll(" ", "%20")}`,
        width: 240,
        height: 320,
    });
    const box = await page.evaluate(`(({ left, top, right, bottom }) =>
        [left, top, right, bottom])(${kMessage}.getBoundingClientRect())`);
    const [left, top, right, bottom] = box;
    assert.ok(left >= 8 && top >= 8 && right <= 232 && bottom <= 312, `${box}`);
    assert.ok(Math.abs(left + right - 240) <= 1 && Math.abs(top + bottom - 320) <= 1, `${box}`);
    const picture = await page.picture();
    const greens = Array.from({ length: 240 * 320 }, (_, i) => picture.at(i % 240, i / 240 | 0)[1]);
    greens.sort((a, b) => a - b);
    assert.ok(greens[Math.floor(0.5 * greens.length)] < 60, "the ground is dark");
    assert.ok(greens[greens.length - 200] > 180, "the letters are bright");
    await page.close();
});

test("MessageGoesWhenAnotherFileIsOpened", async () => {
    const page = await browser.open({ query: kQuery });
    assert.equal(await page.evaluate(`${kMessage}.checkVisibility?.() ?? false`), false);
    await page.call("FileFromNative", "/nowhere/a%20b.ply");
    assert.equal(await message(page), "“a b.ply” cannot be shown.\nThe file cannot be read.");
    await page.call("FileFromNative", await browser.file("good.ply", plyFile(kGaussians)));
    assert.equal(await message(page), "");
    await page.close();
});

test("GltfIsReferredToTheConverter", async () => {
    for (const [name, bytes] of /** @type {const} */ ([
        ["a.glb", Buffer.from("glTF\x02\0\0\0")],
        ["a.gltf", Buffer.from("{}")],
    ])) {
        const file = await browser.file(name, bytes);
        const page = await browser.open({ query: `${kQuery}&openFile=${file}` });
        assert.match(await message(page), /glTF file.*vistrel-convert makes a PLY file of it\.$/);
        await page.close();
    }
});

test("MachineWithoutTheWantedGraphicsIsTold", async () => {
    const page = await browser.open({ query: "painter=cpu&mode=0", withoutWebGL: true });
    await page.page.goto(`${page.page.url()}&painter=gpu`.replace("painter=cpu&", ""));
    await page.becomes(`${kMessage}.innerText !== ""`);
    assert.equal(
        await message(page),
        "The scene cannot be shown.\nThis browser can draw no 3D pictures (WebGL 2).",
    );
    await page.close();
});
