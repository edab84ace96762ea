import assert from "node:assert/strict";
import { test } from "node:test";
import { avoidReservedWord } from "../../../web/reserved_word.js";

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
