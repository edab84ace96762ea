// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { parseQuery } from "../../../web/src/query.js";

test("EmptyQueryIsSharpModeWithoutFile", () => {
    assert.deepEqual(parseQuery(""), {
        bsharp: true,
        filepath: null,
        freshView: false,
        painter: null,
    });
});

test("ModeOneIsGeneral", () => {
    assert.equal(parseQuery("?mode=1").bsharp, false);
});

test("AnyOtherModeIsSharp", () => {
    for (const mode of ["0", "2", "01", "true", ""]) {
        assert.equal(parseQuery(`?mode=${mode}`).bsharp, true, mode);
    }
});

test("FileNameIsDecoded", () => {
    const query = parseQuery("?nreso=1&mode=0&nst=1&openFile=/home/a/My%20Scans/a.ply");
    assert.equal(query.filepath, "/home/a/My Scans/a.ply");
    assert.equal(query.freshView, true);
});

test("AmpersandCutsTheFileName", () => {
    assert.equal(parseQuery("?openFile=/a&b.ply").filepath, "/a");
});

test("EmptyFileNameIsNoFile", () => {
    assert.equal(parseQuery("?openFile=").filepath, null);
});

test("OnlyOneAsksForAFreshView", () => {
    assert.equal(parseQuery("?nst=0").freshView, false);
    assert.equal(parseQuery("?nst=true").freshView, false);
});

test("PainterIsOneOfTwoOrNone", () => {
    assert.equal(parseQuery("?painter=gpu").painter, "gpu");
    assert.equal(parseQuery("?painter=cpu").painter, "cpu");
    for (const painter of ["", "GPU", "spark"]) {
        assert.equal(parseQuery(`?painter=${painter}`).painter, null, painter);
    }
});
