// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { mock, test } from "node:test";
import { fileNameOf, isSplatFileName } from "../../../web/src/file_name.js";

test("EveryEndingIsThatOfASplatFile", () => {
    for (const name of ["/a/b.ply", "/a/b.splat", "/a/b.ksplat", "/a/b.spz"]) {
        assert.ok(isSplatFileName(name), name);
    }
});

test("UpperCaseEndingIsNoSplatFile", () => {
    assert.ok(!isSplatFileName("SCENE.PLY"));
});

test("OtherEndingIsNoSplatFile", () => {
    for (const name of ["a.obj", "ply", "a.ply.txt", "a.sog", "", "a.plyx"]) {
        assert.ok(!isSplatFileName(name), name);
    }
});

test("NameIsTheLastSegment", () => {
    assert.equal(fileNameOf("/home/a/scene.ply", "file://"), "scene.ply");
    assert.equal(fileNameOf("file:///home/a/scene.spz", "file://"), "scene.spz");
    assert.equal(fileNameOf("C:/Scans/a.ply", "file://"), "a.ply");
});

test("QueryAndFragmentAreNotPartOfTheName", () => {
    assert.equal(fileNameOf("/a/b.ply?x=/c.splat#/d", "file://"), "b.ply");
});

test("PathThatEndsInASlashHasNoName", () => {
    assert.equal(fileNameOf("/home/a/", "file://"), "");
});

test("InvalidUrlIsReportedAndHasNoName", () => {
    const error = mock.method(console, "error", () => {});
    try {
        assert.equal(fileNameOf("http://[", "file://"), "");
        assert.deepEqual(error.mock.calls.map((call) => call.arguments), [["Invalid URL"]]);
    } finally {
        error.mock.restore();
    }
});
