// SPDX-License-Identifier: GPL-3.0-or-later
/** The help pages, as the program writes them, in both languages. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { mkdtemp, readFile, rm } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, test } from "node:test";
import { pathToFileURL } from "node:url";
import { builtFolder } from "../support/resting_page.js";
import { launchChromium } from "../support/viewer_page.js";

const folder = await mkdtemp(path.join(tmpdir(), "help-"));
const chromium = await launchChromium();
after(async () => {
    await chromium.close();
    await rm(folder, { recursive: true });
});
execFileSync(path.join(builtFolder(), "../tests/extract"), [folder], {
    env: { ...process.env, TMPDIR: folder },
});
const kLanguages = /** @type {const} */ ([
    ["help_en.html", "en", 1],
    ["help_jp.html", "ja", 2],
]);

/** The one link that leads elsewhere. */
const kModelPage = "https://huggingface.co/pearsonkyle/Sharp-onnx";
const kCudaPage = "https://developer.nvidia.com/cuda-downloads";
/** Lines of number, English text, Japanese text; the tests of the shell compare them with it. */
const table = await readFile(new URL("../../ui/ui_texts.tsv", import.meta.url), "utf8");
const kTexts = table.trimEnd().split("\n").map((line) => line.split("\t"));

/**
 * @param {string} name of the page
 * @param {{ width?: number, colorScheme?: "light" | "dark" }} [options]
 */
async function open(name, { width = 1280, colorScheme = "light" } = {}) {
    const context = await chromium.newContext({ viewport: { width, height: 800 }, colorScheme });
    const page = await context.newPage();
    /** @type {string[]} */
    const requests = [];
    /** @type {string[]} */
    const reports = [];
    page.on("request", (request) => requests.push(request.url()));
    page.on("console", (message) => reports.push(message.text()));
    page.on("pageerror", (error) => reports.push(`${error}`));
    await page.goto(`${pathToFileURL(path.join(folder, name))}`);
    return { page, requests, reports, close: () => context.close() };
}

/** @param {string} text of a control or a menu, without what belongs to its place */
function bare(text) {
    const plain = text.replace(/\\t.*/, "").replace(/\(&.\)/, "").replace("&", "");
    return plain.replace(/%d/, "").replace(/\s+/g, " ").replace(/(\.\.\.|:\s?)$/, "").trim();
}

for (const [name, language, column] of kLanguages) {
    test(`PageNeedsNothingButItself ${language}`, async () => {
        const { page, requests, reports, close } = await open(name);
        assert.ok(requests.every((url) => /^(file:.*\.html$|data:)/.test(url)), `${requests}`);
        assert.deepEqual(reports, []);
        assert.equal(await page.getAttribute("html", "lang"), language);
        await close();
    });

    test(`PolicyAllowsTheStyleAndPictures ${language}`, async () => {
        const { page, close } = await open(name);
        const style = String(await page.textContent("style"));
        const hash = createHash("sha256").update(style).digest("base64");
        const policy = await page.getAttribute("meta[http-equiv]", "content");
        const wanted = [
            "default-src 'none'",
            `style-src 'sha256-${hash}'`,
            "img-src data:",
            "base-uri 'none'",
            "form-action 'none'",
        ];
        assert.equal(policy, wanted.join("; "));
        await close();
    });

    test(`EveryLinkHasItsTarget ${language}`, async () => {
        const { page, close } = await open(name);
        const places = await page.$$eval("a", (links) =>
            links.map((link) => link.getAttribute("href")),
        );
        const ids = await page.$$eval("[id]", (elements) => elements.map(({ id }) => id));
        assert.equal(new Set(ids).size, ids.length);
        const outside = places.filter((place) => !place?.startsWith("#"));
        assert.deepEqual(outside, [kModelPage, kCudaPage]);
        const inside = places.filter((place) => place?.startsWith("#"));
        assert.deepEqual(inside.filter((place) => !ids.includes(String(place).slice(1))), []);
        const inContents = await page.$$eval("nav a", (links) => links.map((a) => a.textContent));
        const titles = await page.$$eval("main h2", (heads) => heads.map((h) => h.textContent));
        assert.deepEqual(inContents, titles);
        await close();
    });

    test(`EveryPictureIsShown ${language}`, async () => {
        const { page, close } = await open(name);
        const pictures = await page.$$eval("img", (images) =>
            images.map(({ alt, naturalWidth, naturalHeight, width, height }) => {
                return { alt, natural: [naturalWidth, naturalHeight], ratio: width / height };
            }),
        );
        assert.equal(pictures.length, 3);
        for (const { alt, natural, ratio } of pictures) {
            assert.ok(alt.length > 10);
            assert.ok(Math.min(...natural) > 300, `${natural}`);
            assert.ok(Math.abs(natural[0] / natural[1] / ratio - 1) < 0.01, `${natural} ${ratio}`);
        }
        await close();
    });

    for (const width of [400, 1280]) {
        test(`NothingIsCutOff ${language} ${width}`, async () => {
            const { page, close } = await open(name, { width });
            const wide = await page.$$eval("html, .wide, pre, main", (elements) => {
                const isWide = (/** @type {Element} */ e) => e.scrollWidth > e.clientWidth;
                return elements.filter(isWide).map((e) => e.textContent?.slice(0, 60));
            });
            assert.deepEqual(wide, []);
            await close();
        });
    }

    test(`TextsOfTheProgramAreQuotedAsTheyAre ${language}`, async () => {
        const { page, close } = await open(name);
        const quoted = await page.$$eval(".ui", (elements) => elements.map((e) => e.textContent));
        // What Qt and file dialogs say, and what is the same in both languages.
        const others = ["Select…", "Focus", "Depth", "Yes", "All Files", "すべてのファイル"];
        const known = [...others, ...kTexts.map((texts) => bare(texts[column]))];
        for (const text of quoted.flatMap((whole) => String(whole).split("›"))) {
            assert.ok(known.includes(bare(text)), `"${bare(text)}"`);
        }
        await close();
    });

    test(`StereoModesHaveTheirNames ${language}`, async () => {
        const { page, close } = await open(name);
        const names = await page.$$eval("#stereo ~ .wide tbody th", (heads) =>
            heads.slice(0, 6).map((head) => head.textContent),
        );
        assert.deepEqual(names, kTexts.slice(17, 23).map((texts) => texts[column]));
        await close();
    });

    test(`MessagesOfTheProgramAreExplained ${language}`, async () => {
        const { page, close } = await open(name);
        const flat = (/** @type {string} */ text) => text.replace(/\\n|\s/g, "");
        const text = flat(String(await page.textContent("main")));
        for (const slot of [29, 30, 37, 38, 39, 40, 41]) {
            assert.ok(text.includes(flat(kTexts[slot][column])), kTexts[slot][column]);
        }
        await close();
    });
}

test("BothLanguagesHaveTheSameParts", async () => {
    const kParts = "[id], h2, h3, img, tr, li, dt, a, pre, .note, .mark, kbd";
    const parts = [];
    for (const [name] of kLanguages) {
        const { page, close } = await open(name);
        const found = await page.$$eval(kParts, (elements) =>
            elements.map((e) => `${e.tagName} ${e.id || e.classList}`),
        );
        parts.push(found);
        await close();
    }
    assert.deepEqual(parts[0], parts[1]);
});

test("DarkSchemeIsDark", async () => {
    for (const [name] of kLanguages) {
        for (const colorScheme of /** @type {const} */ (["light", "dark"])) {
            const { page, close } = await open(name, { colorScheme });
            const colors = await page.evaluate(() => {
                const main = /** @type {Element} */ (document.querySelector("main"));
                const { color, backgroundColor } = getComputedStyle(main);
                return [color, backgroundColor].map((c) => Number(/\d+/.exec(c)?.[0]));
            });
            assert.equal(colors[0] > colors[1], colorScheme === "dark", `${name} ${colors}`);
            await close();
        }
    }
});
