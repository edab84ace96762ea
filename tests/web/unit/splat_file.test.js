// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { gunzipSync, gzipSync } from "node:zlib";
import { checkedFormat } from "../../../web/src/splat_file.js";
import { sogFile } from "../support/sog_files.js";
import { ksplatFile, plyFile, spz4File, splatFile, spzFile } from "../support/splat_files.js";

/** @type {import("../support/splat_files.js").Gaussian[]} */
const kGaussians = [{ center: [0, 0, 0], scale: 0.1, color: [1, 0, 0] }];

/**
 * @param {Buffer | string} bytes
 * @param {string} [name]
 */
function format(bytes, name = "a") {
    return checkedFormat(new Uint8Array(Buffer.from(bytes)).buffer, name);
}

/**
 * @param {number} offset
 * @param {number} value
 */
function spzWith(offset, value) {
    const content = gunzipSync(spzFile(kGaussians));
    content.writeUInt32LE(value, offset);
    return gzipSync(content);
}

test("ContentTellsTheFormatFirst", async () => {
    assert.equal(await format(plyFile(kGaussians), "a.splat"), "ply");
    assert.equal(await format(spzFile(kGaussians), "a.ply"), "spz");
});

test("EndingTellsTheOtherFormats", async () => {
    assert.equal(await format(splatFile(kGaussians), "a.SPLAT"), "splat");
    assert.equal(await format(ksplatFile(kGaussians), "a.b.ksplat"), "ksplat");
    assert.equal(await format(`\n${plyFile(kGaussians).toString("latin1")}`, "a.ply"), "ply");
});

test("OtherFilesAreRefused", async () => {
    for (const name of ["", "splat", ".splat", "a.", "a.zip", "a.spz4", "a.txt"]) {
        await assert.rejects(format("PK and whatever is in there", name), { kind: "noScene" });
    }
});

test("EndingThatTheContentBeliesIsTold", async () => {
    for (const name of ["a.spz", "a.SOG"]) {
        await assert.rejects(format("whatever is in there", name), { kind: "damaged" });
    }
});

test("GltfIsToldAsSuch", async () => {
    await assert.rejects(format("glTF\x02", "a.ply"), { kind: "gltf" });
    await assert.rejects(format("{}", "a.gltf"), { kind: "gltf" });
});

test("ContentTellsOfWhatHasToBeUnpackedFirst", async () => {
    assert.equal(await format(spz4File(kGaussians), "a.ply"), "spz4");
    assert.equal(await format(sogFile(kGaussians), "a.ply"), "zip");
});

test("LongSpzIsKnownByItsStart", async () => {
    const content = Buffer.alloc(1 << 20);
    gunzipSync(spzFile(kGaussians)).copy(content);
    // Numbers of no pattern, which do not become shorter.
    for (let i = 64, x = 1; i < content.length; ++i) {
        x = (Math.imul(x, 1664525) + 1013904223) >>> 0;
        content[i] = x >>> 24;
    }
    const file = gzipSync(content);
    assert.ok(file.length > 1 << 19);
    assert.equal(await format(file), "spz");
});

test("SpzThatTellsOfTooMuchIsRefused", async () => {
    assert.equal(await format(spzWith(8, 1)), "spz");
    await assert.rejects(format(spzWith(8, 2)), /claims 2 Gaussians/);
    await assert.rejects(format(spzWith(8, 2 ** 32 - 1)), /claims 4294967295 Gaussians/);
});

test("SpzWithUnknownHarmonicsIsRefused", async () => {
    await assert.rejects(format(spzWith(12, 4)), /harmonics/);
});

test("SpzWithoutContentIsRefused", async () => {
    await assert.rejects(format(gzipSync("NGSP"), "a.spz"), /no content/);
    await assert.rejects(format(spzFile(kGaussians).subarray(0, 12), "a.spz"), Error);
});

test("SplatThatEndsInAGaussianIsRefused", async () => {
    const whole = splatFile([...kGaussians, ...kGaussians]);
    await assert.rejects(format(whole.subarray(0, 50), "a.splat"), { kind: "damaged" });
});

test("KsplatThatTellsOfTooMuchIsRefused", async () => {
    const file = ksplatFile(kGaussians);
    file.writeUInt32LE(file.length, 16);
    await assert.rejects(format(file, "a.ksplat"), /Gaussians, more than it holds/);
    await assert.rejects(format(file.subarray(0, 4095), "a.ksplat"), /ends in its header/);
});

test("KsplatOfSeveralSectionsIsRefused", async () => {
    const file = Buffer.concat([ksplatFile(kGaussians), Buffer.alloc(1024)]);
    file.writeUInt32LE(2, 4);
    file.writeUInt32LE(0, 4096 + 1024);
    assert.equal(await format(file, "a.ksplat"), "ksplat");
    file.writeUInt32LE(1, 4096 + 1024);
    await assert.rejects(format(file, "a.ksplat"), /2 sections/);
});

test("PlyThatTellsOfTooMuchIsRefused", async () => {
    await assert.rejects(format(plyFile(kGaussians, { count: 2 })), /ends in its "vertex"/);
    await assert.rejects(format("\nply\nelement vertex x\nend_header\n", "a.ply"), /cannot be x/);
});
