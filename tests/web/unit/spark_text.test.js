// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import {
    avoidReservedWord,
    createCompiledParserFn,
    decodeWithoutWebGL,
    readPalettes,
    readRecordsWithoutEval,
    withBytesInText,
    withSmallWorker,
} from "../../../web/spark_text.js";

const kUse = "uvec4 packed = f(packed, packed.x);"; // three uses

test("EveryUseIsRenamed", () => {
    const text = kUse.repeat(20) + "packed.w packed.z // the words are packed here, unpacked = 1";
    const renamed = avoidReservedWord(text);
    assert.equal(renamed.match(/packedWords/g)?.length, 62);
    assert.ok(renamed.endsWith("// the words are packed here, unpacked = 1"));
});

test("OneUseMoreIsRefused", () => {
    assert.throws(() => avoidReservedWord(kUse.repeat(21)), /63 times and not 62 times/);
});

test("OneUseLessIsRefused", () => {
    assert.throws(() => avoidReservedWord(kUse.repeat(20) + "packed.x"), /61 times/);
});

test("TextWithoutTheWordIsRefused", () => {
    assert.throws(() => avoidReservedWord("void main() {}"), / 0 times/);
});

const kNames = [
    "f_rest_1", "rot_3", "x", "f_dc_2", "nx", "scale_0", "opacity", "rot_0", "y", "f_dc_0",
    "scale_2", "rot_1", "f_rest_0", "scale_1", "z", "f_dc_1", "rot_2",
];

for (const littleEndian of [true, false]) {
    test(`RecordIsReadByItsNames ${littleEndian ? "little" : "big"} end first`, () => {
        const properties = Object.fromEntries(
            kNames.map((name) => [name, { isList: false, type: "float" }]),
        );
        const data = new DataView(new ArrayBuffer(4 + 4 * kNames.length));
        kNames.forEach((_, i) => data.setFloat32(4 + 4 * i, i + 0.5, littleEndian));
        /** @type {Record<string, any>} */
        const item = { f_rest: [] };
        const end = createCompiledParserFn(properties, littleEndian)(data, 4, item);
        assert.equal(end, data.byteLength);
        const { f_rest: rest, ...fields } = item;
        const wanted = ["f_rest_0", "f_rest_1"].map((name) => kNames.indexOf(name) + 0.5);
        assert.deepEqual(rest, wanted);
        assert.equal(Object.keys(fields).length, 14);
        for (const [name, value] of Object.entries(fields)) {
            assert.equal(value, kNames.indexOf(name) + 0.5, name);
        }
    });
}

test("AnotherSparkIsNotChangedUnseen", () => {
    assert.throws(() => readRecordsWithoutEval("nothing is compiled here"), /0 and 0 places/);
});

test("BytesAreDecodedAndNotAskedFor", () => {
    const address = 'new URL("data:application/wasm;base64,AAEC", import.meta.url);';
    const text = `a = ${address}b = ${address.replace("import.meta.url", "self.location.href")}`;
    const changed = withBytesInText(text);
    assert.doesNotMatch(changed, /URL/);
    const [a] = /Uint8Array\.from[^;]*/.exec(changed) ?? [""];
    assert.deepEqual([...new Function(`return ${a};`)()], [0, 1, 2]);
    assert.throws(() => withBytesInText("no bytes"), /0 places/);
});

test("TheWorkerIsMinifiedInItsText", async () => {
    const spark = "before;\nconst jsContent = 'let  aLongName = \"it\\'s\";\\n// a comment\\n';\nafter;";
    const changed = await withSmallWorker(spark);
    const [, literal] = /^const jsContent = (".*");$/m.exec(changed) ?? ["", '""'];
    assert.equal(JSON.parse(literal).trim(), `let aLongName="it's";`);
    await assert.rejects(withSmallWorker("const other = 1;"), /no worker/);
});

test("PalettesOfEveryDegreeAreRead", () => {
    const text = readPalettes("const col = (label & 63) * 15;");
    const column = new Function("label", "useSH2", "useSH3", `${text} return col;`);
    assert.equal(column(66, true, true), 30);
    assert.equal(column(66, true, false), 16);
    assert.equal(column(66, false, false), 6);
});

test("OtherPalettesAreRefused", () => {
    assert.throws(() => readPalettes("(label & 63) * 16"), /0 places/);
});

test("PicturesAreDecodedInAnotherWayWhereWebGLIsMissing", () => {
    const spark = "const text = 'if (!gl) {\\n throw new Error(\"Failed to create WebGL2 context\");\\n}';";
    const text = new Function(`${decodeWithoutWebGL(spark)} return text;`)();
    assert.match(text, /^if \(!gl\) \{\n return \(async function decodeOnCanvas[^]*\)\(fileBytes\);\n\}$/);
    assert.throws(() => decodeWithoutWebGL(decodeWithoutWebGL(spark)), /0 places/);
});
