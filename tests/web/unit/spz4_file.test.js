// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { gunzipSync } from "node:zlib";
import { spz3Of } from "../../../web/src/spz4_file.js";
import { createSpz } from "../../support/adobe_spz.js";
import { cloud, spz4File, spz4Of, spzFile, storedZstd } from "../support/splat_files.js";

const spz = await createSpz();
const kGaussians = cloud(300);

/** @param {Buffer} bytes */
function ownBytes(bytes) {
    return /** @type {ArrayBuffer} */ (new Uint8Array(bytes).buffer);
}

/** @param {Buffer} file of version 4 */
function content(file) {
    return gunzipSync(new Uint8Array(spz3Of(ownBytes(file))));
}

/**
 * What the format's own library writes.
 * @param {number} version
 * @param {0 | 1 | 2 | 3} degree
 * @param {number} count
 * @returns {Buffer}
 */
function official(version, degree, count) {
    const perGaussian = { positions: 3, scales: 3, rotations: 4, alphas: 1, colors: 3 };
    const values = (/** @type {number} */ size) =>
        Float32Array.from({ length: size * count }, (_, i) => Math.sin(i * i));
    const attributes = Object.entries(perGaussian).map(([name, size]) => [name, values(size)]);
    const cloud = {
        numPoints: count,
        shDegree: degree,
        antialiased: true,
        extensions: [],
        ...Object.fromEntries(attributes),
        sh: values(3 * ((degree + 1) ** 2 - 1)),
    };
    const from = spz.CoordinateSystem.UNSPECIFIED;
    const options = { version, from, sh1Bits: 5, shRestBits: 4 };
    return Buffer.from(spz.saveSpzToBuffer(cloud, /** @type {any} */ (options)));
}

for (const degree of /** @type {const} */ ([0, 1, 2, 3])) {
    test(`StreamsOfVersion4AreThoseOfVersion3 ${degree}`, () => {
        // Several blocks in each stream.
        const count = 16_000;
        assert.ok(content(official(4, degree, count)).equals(gunzipSync(official(3, degree, count))));
    });
}

test("StreamsThatAreNotPackedAreRead", () => {
    const file = content(spz4File(kGaussians));
    const older = gunzipSync(spzFile(kGaussians));
    assert.equal(file.readUInt32LE(4), 3);
    assert.ok(file.subarray(16, 16 + 16 * 300).equals(older.subarray(16, 16 + 16 * 300)));
});

/**
 * @param {RegExp} reason
 * @param {(file: Buffer) => Buffer | void} change
 */
function assertRefused(reason, change) {
    const file = spz4File(kGaussians);
    assert.throws(() => content(change(file) ?? file), reason);
}

test("FileThatClaimsMoreThanItHoldsIsRefused", () => {
    assertRefused(/claims 4294967295 Gaussians/, (file) => void file.writeUInt32LE(2 ** 32 - 1, 8));
    assertRefused(/Stream 0 has 2700 bytes and not 2709/, (file) => void file.writeUInt32LE(301, 8));
});

test("FileThatEndsEarlyIsRefused", () => {
    assertRefused(/ends in its header/, (file) => file.subarray(0, 31));
    assertRefused(/ends in its table/, (file) => file.subarray(0, 111));
    assertRefused(/ends in stream 4/, (file) => file.subarray(0, -1));
    assertRefused(/ends in its table/, (file) => void file.writeUInt32LE(2 ** 32 - 1, 16));
    assertRefused(/ends in its table/, (file) => void file.writeUInt32LE(16, 16));
});

test("OtherStreamsAreRefused", () => {
    assertRefused(/other streams/, (file) => void file.writeUInt8(6, 15));
    assertRefused(/colours are stored/, (file) => void file.writeUInt8(4, 12));
    assertRefused(/version is 5/, (file) => void file.writeUInt32LE(5, 4));
    assertRefused(/ends in stream 0/, (file) => void file.writeBigUInt64LE(2n ** 63n, 32));
    assertRefused(/not packed by Zst/, (file) => void file.writeUInt32LE(0, 32 + 5 * 16));
});

/**
 * @param {Buffer} packed the frame of the opacities
 * @param {number} size
 */
function withOpacities(packed, size = 300) {
    const file = spz4File(kGaussians);
    const header = file.subarray(0, 16);
    const sizes = [2700, 300, 900, 900, 1200];
    let at = 32 + 5 * 16;
    const streams = sizes.map((length) => {
        const end = at + (length < 256 ? 9 : 10) + length;
        const stream = { packed: file.subarray(at, end), size: length };
        at = end;
        return stream;
    });
    streams[1] = { packed, size };
    return spz4Of(header, streams);
}

/** @param {number[]} blocks of a frame that does not tell its size */
function frame(...blocks) {
    return Buffer.from([0x28, 0xb5, 0x2f, 0xfd, 0, 0, ...blocks]);
}

test("StreamOfAnotherSizeIsRefused", () => {
    assert.equal(content(withOpacities(storedZstd(Buffer.alloc(300)))).length, 16 + 300 * 20);
    const short = withOpacities(storedZstd(Buffer.alloc(299)));
    assert.throws(() => content(short), /Stream 1 holds less than 300 bytes/);
    const long = withOpacities(storedZstd(Buffer.alloc(301)));
    assert.throws(() => content(long), /unpacked|another size/);
});

test("StreamThatRepeatsAByteForEverIsRefused", () => {
    const exact = frame(0x63, 0x09, 0, 7); // the last block: 300 times the byte
    assert.equal(content(withOpacities(exact)).readUInt8(16 + 9 * 300), 7);
    const long = frame(0xfb, 0xff, 0xff, 7); // two million times
    assert.throws(() => content(withOpacities(long)), /cannot be unpacked/);
});

test("StreamThatDoesNotEndIsRefused", () => {
    const open = frame(0x62, 0x09, 0, 7); // not the last block
    assert.throws(() => content(withOpacities(open)), /cut short/);
    const followed = frame(0x63, 0x09, 0, 7, 1);
    assert.throws(() => content(withOpacities(followed)), /does not end/);
    const unknown = frame(0x67, 0x09, 0, 7);
    assert.throws(() => content(withOpacities(unknown)), /cut short/);
});
