// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { SceneError, failureText, languageOf } from "../../../web/src/texts.js";

test("FirstKnownLanguageIsThePages", () => {
    assert.equal(languageOf(["ja-JP", "en"]), "ja");
    assert.equal(languageOf(["JA"]), "ja");
    assert.equal(languageOf(["fr", "en-GB", "ja"]), "en");
    assert.equal(languageOf(["de", "ja"]), "ja");
    assert.equal(languageOf(["jam", "fr"]), "en");
    assert.equal(languageOf([]), "en");
});

test("FailureIsToldWithItsFileAndItsReason", () => {
    const error = new SceneError("damaged", "It ends in its header");
    assert.equal(error.message, "It ends in its header");
    assert.equal(
        failureText(error, "en", "a b.ply"),
        "“a b.ply” cannot be shown.\nIt is damaged or cut short.",
    );
    assert.equal(
        failureText(error, "ja", "a b.ply"),
        "「a b.ply」を表示できません。\nファイルが壊れているか、途中で切れています。",
    );
});

test("SceneWithoutANameIsTheScene", () => {
    const error = new SceneError("empty");
    assert.equal(failureText(error, "en"), "The scene cannot be shown.\nIt has no Gaussians.");
    assert.match(failureText(error, "ja"), /^シーンを表示できません。\n/);
});

test("ErrorWithoutADetailIsLoggedAsItIsTold", () => {
    assert.equal(new SceneError("memory").message, "There is not enough memory for it");
});

test("ReasonsOfOthersFollowALeadInTheLanguage", () => {
    const told = failureText(new RangeError("Offset is outside"), "ja", "a.spz");
    assert.equal(told, "「a.spz」を表示できません。\n理由: Offset is outside");
    assert.match(failureText("cut\n    at read (a.js:1)", "en"), /\nThe reason: cut$/);
});

test("WantOfMemoryIsToldInPlainWords", () => {
    for (const message of ["Array buffer allocation failed", "Invalid typed array length: 9"]) {
        const told = failureText(new RangeError(message), "en");
        assert.match(told, /\nThere is not enough memory for it\.$/);
    }
});
