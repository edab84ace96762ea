// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { checkPly } from "../../../web/src/ply_header.js";

/**
 * @param {string[]} lines of the header, without its first, its format and its last
 * @param {number[]} body
 * @param {string} [form]
 */
function check(lines, body, form = "binary_little_endian") {
    const header = ["ply", `format ${form} 1.0`, ...lines, "end_header\n"].join("\n");
    checkPly(/** @type {ArrayBuffer} */ (new Uint8Array([...Buffer.from(header), ...body]).buffer));
}

const kVertex = ["element vertex 2", "property uchar a", "property ushort b"];
const kList = ["element face 2", "property list uchar ushort c"];

test("ElementsAreAsLongAsTheirRecords", () => {
    check(kVertex, [0, 0, 0, 0, 0, 0]);
    assert.throws(() => check(kVertex, [0, 0, 0, 0, 0]), /ends in its "vertex"/);
});

test("EveryElementCounts", () => {
    const two = [...kVertex, "element more 1", "property double d"];
    check(two, new Array(14).fill(0));
    assert.throws(() => check(two, new Array(13).fill(0)), /ends in its "more"/);
});

test("ListsAreAsLongAsTheySay", () => {
    check(kList, [1, 0, 0, 2, 0, 0, 0, 0]);
    assert.throws(() => check(kList, [1, 0, 0, 2, 0, 0, 0]), /ends in its "face"/);
    assert.throws(() => check(kList, [200, 0, 0, 0]), RangeError);
});

test("LengthsOfListsHaveTheFilesByteOrder", () => {
    const list = ["element face 1", "property list uint uchar c"];
    check(list, [1, 0, 0, 0, 9]);
    check(list, [0, 0, 0, 1, 9], "binary_big_endian");
    assert.throws(() => check(list, [0, 0, 0, 1, 9]), /ends in its "face"/);
});

test("ListWithoutALengthIsRefused", () => {
    const list = (/** @type {string} */ type) => ["element f 1", `property list ${type} char c`];
    assert.throws(() => check(list("char"), [255, 0]), /no length/);
    assert.throws(() => check(list("float"), [0, 0, 192, 127]), /no length/);
});

test("RecordsOfNothingAreRefused", () => {
    assert.throws(() => check(["element a 99999999999"], []), /nothing in "a"/);
    check(["element a 0"], []);
});

for (const count of ["-1", "NaN", "", "99999999999999999999"]) {
    test(`CountIsRefused "${count}"`, () => {
        const lines = [`element a ${count}`, "property char b"];
        assert.throws(() => check(lines, [0]), /count of "a" cannot/);
    });
}

for (const type of ["constructor", "list", "float32", ""]) {
    test(`TypeIsRefused "${type}"`, () => {
        const property = `property ${type === "list" ? "list uchar list" : type} b`;
        assert.throws(() => check(["element a 1", property], [0, 0, 0, 0]), /no type|ends/);
    });
}

for (const lineEnd of ["\n", "\r\n"]) {
    test(`TextIsRefusedAsSuch ${JSON.stringify(lineEnd)}`, () => {
        const lines = ["ply", "format ascii 1.0", ...kVertex, "end_header", "1 2", "3 4", ""];
        const bytes = new Uint8Array(Buffer.from(lines.join(lineEnd)));
        assert.throws(() => checkPly(bytes.buffer), /PLY file written as text/);
    });
}

test("CommentsDoNotTellTheFormat", () => {
    check(["comment format ascii 1.0", ...kVertex], [0, 0, 0, 0, 0, 0]);
    check(kVertex, [...Buffer.from("\nformat ascii")]);
});

test("HeaderWithoutAnEndIsRefused", () => {
    const bytes = new Uint8Array(70_000).fill(10);
    bytes.set(Buffer.from("end_header\n"), 65_530);
    assert.throws(() => checkPly(bytes.buffer), /does not end/);
});
