// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { deflateRawSync, gunzipSync } from "node:zlib";
import { crc32, inflated, storedGzip } from "../../../web/src/gzip.js";

const kContent = Uint8Array.from({ length: 200_000 }, (_, i) => (i * i) >> 7);

test("ChecksumIsThatOfTheFormat", () => {
    assert.equal(crc32(Buffer.from("123456789")), 0xcbf43926);
    assert.equal(crc32(new Uint8Array(0)), 0);
});

for (const length of [0, 1, 65535, 65536, 131070, 200_000]) {
    test(`StoredContentComesOutAgain ${length}`, () => {
        const content = kContent.subarray(0, length);
        assert.deepEqual(new Uint8Array(gunzipSync(storedGzip(content))), content);
    });
}

test("DeflatedContentIsUnpacked", async () => {
    const packed = deflateRawSync(kContent);
    assert.deepEqual(await inflated(packed, kContent.length, crc32(kContent)), kContent);
});

test("OtherSizeOrChecksumIsRefused", async () => {
    const packed = deflateRawSync(kContent);
    const [size, crc] = [kContent.length, crc32(kContent)];
    await assert.rejects(inflated(packed, size - 1, crc), Error);
    await assert.rejects(inflated(packed, size + 1, crc), Error);
    await assert.rejects(inflated(packed, size, crc ^ 1), Error);
    await assert.rejects(inflated(packed.subarray(0, -5), size, crc), Error);
});
