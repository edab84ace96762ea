// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { kWords } from "../../../web/manual/words.js";
import { manualPage } from "../../../web/manual_page.js";

/** @type {import("../../../web/manual_page.js").Sources} */
const kSources = {
    frame: `<html lang="{language}"><meta content="(the page's policy)"><title>{title}</title>
<style>{style}</style>{icon}<p>{claim}</p>{chapters}<main>{text}</main>`,
    style: "p { color: red }",
    icon: '<svg width="2"><title>Icon</title><path d="M0 0"/></svg>',
    language: "en",
    words: { ...kWords.en, title: "The title", claim: "The claim" },
    text: '<h2 id="one">First <b>part</b></h2><p>{claim}</p><h2 id="two">Second</h2>',
    picture: (name) => {
        throw new Error(`There is no ${name}`);
    },
};

/** @param {Partial<import("../../../web/manual_page.js").Sources>} other */
const page = (other = {}) => manualPage({ ...kSources, ...other });

test("WordsAndLanguageAreFilledIn", () => {
    assert.match(page(), /^<html lang="en">/);
    assert.ok(page().includes("<title>The title</title>"));
    assert.ok(page().includes("<p>The claim</p>"));
});

test("PlaceThatNothingBelongsIntoIsRefused", () => {
    const frame = `${kSources.frame}{tittle}`;
    assert.throws(() => page({ frame }), /\{tittle\}/);
});

test("BracesInTheTextAreNoPlaces", () => {
    assert.ok(page().includes("<main><h2 id=\"one\">First <b>part</b></h2><p>{claim}</p>"));
});

test("EveryHeadingIsInTheContents", () => {
    const items = '<li><a href="#one">First <b>part</b></a></li>\n<li><a href="#two">Second</a></li>';
    assert.ok(page().includes(items));
});

test("PolicyHoldsTheHashOfTheStyle", () => {
    const hash = createHash("sha256").update(kSources.style).digest("base64");
    const policy = "default-src 'none'; style-src 'sha256-" + hash + "'; img-src data:; " +
        "base-uri 'none'; form-action 'none'";
    assert.ok(page().includes(`<meta content="${policy}">`));
});

test("FrameWithoutAPlaceForThePolicyIsRefused", () => {
    const frame = kSources.frame.replace("(the page's policy)", "");
    assert.throws(() => page({ frame }), /no policy place/);
});

test("IconIsDecorative", () => {
    const icon = '<svg aria-hidden="true" focusable="false" width="2"><path d="M0 0"/></svg>';
    assert.ok(page().includes(icon));
});

test("PicturesAreInThePage", () => {
    /** @type {string[]} */
    const asked = [];
    const withPictures = page({
        text: '<img src="../a.png" alt="A"> and <img src="b.jpg" alt="B">',
        picture: (name) => {
            asked.push(name);
            return Buffer.from(name);
        },
    });
    assert.deepEqual(asked, ["../a.png", "b.jpg"]);
    assert.ok(withPictures.includes('<img src="data:image/png;base64,Li4vYS5wbmc=" alt="A">'));
    assert.ok(withPictures.includes('<img src="data:image/jpeg;base64,Yi5qcGc=" alt="B">'));
});

test("PictureThatIsNotThereIsRefused", () => {
    assert.throws(() => page({ text: '<img src="lost.png" alt="">' }), /There is no lost\.png/);
});

test("PictureOfUnknownKindIsRefused", () => {
    const picture = () => Buffer.alloc(1);
    assert.throws(() => page({ text: '<img src="a.tiff" alt="">', picture }), /a\.tiff is of no kind/);
});

test("BothTextsHaveTheSameParts", async () => {
    const parts = [];
    for (const language of ["en", "ja"]) {
        const file = new URL(`../../../web/manual/${language}.html`, import.meta.url);
        const text = await readFile(file, "utf8");
        const tags = text.matchAll(/<(h2|h3|ol|ul|li|dt|tr|pre|img|kbd|a|p class)\b(?: (?:id|href)="[^"]*")?/g);
        parts.push([...tags].map(([tag]) => tag));
    }
    assert.ok(parts[0].includes('<h2 id="first"'));
    assert.deepEqual(parts[0], parts[1]);
});
