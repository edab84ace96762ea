// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { refuseLongBlocks } from "../../../web/fzstd_text.js";

const text = await readFile(fileURLToPath(import.meta.resolve("fzstd")), "utf8");

test("BlockThatWritesForMinutesIsRefusedAtOnce", async () => {
    const module = `data:text/javascript,${encodeURIComponent(refuseLongBlocks(text))}`;
    const { decompress } = await import(module);
    // A frame of one block: no literals and as many sequences as there can be, all of them by
    // tables of a single entry, the longest match and an offset of few bits.
    const sequences = [0xff, 0xff, 0xff, 0x54, 0, 0, 52];
    const block = [0x00, ...sequences, ...new Array(300_000).fill(0xff), 1];
    const size = block.length;
    const header = [0x28, 0xb5, 0x2f, 0xfd, 0, 0x38, 5 | ((size & 31) << 3), (size >> 5) & 255];
    const frame = Uint8Array.from([...header, size >> 13, ...block]);
    const began = performance.now();
    assert.throws(() => decompress(frame, new Uint8Array(1 << 17)), /invalid zstd data/i);
    assert.ok(performance.now() - began < 1000);
});

test("OtherTextIsRefused", () => {
    assert.throws(() => refuseLongBlocks("if (off > 4) {"), /0 places/);
});
