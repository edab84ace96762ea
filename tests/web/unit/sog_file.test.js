// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { checkedMeta, readSog, webpPixels } from "../../../web/src/sog_file.js";
import { sogFile, sogParts, webpFile, zipFile } from "../support/sog_files.js";
import { cloud } from "../support/splat_files.js";

const kGaussians = cloud(30);

/** @param {Buffer} bytes */
function read(bytes) {
    return readSog(/** @type {ArrayBuffer} */ (new Uint8Array(bytes).buffer));
}

/** @param {(parts: ReturnType<typeof sogParts>) => void} change */
function changed(change) {
    const parts = sogParts(kGaussians, { degree: 1 });
    change(parts);
    const meta = Buffer.from(JSON.stringify(parts.meta));
    return zipFile({ "meta.json": meta, ...parts.pictures });
}

for (const version of /** @type {const} */ ([1, 2])) {
    test(`WholeFileIsHandedOver ${version}`, async () => {
        for (const options of [{}, { folder: "a/b/" }, { isPacked: true }]) {
            const sog = await read(sogFile(kGaussians, { version, degree: 3, ...options }));
            const meta = JSON.parse(new TextDecoder().decode(sog?.meta));
            const { pictures, meta: written } = sogParts(kGaussians, { version, degree: 3 });
            assert.equal(meta.version, version === 1 ? undefined : 2);
            assert.deepEqual({ count: 30, ...meta.shN }, { count: 30, ...written.shN });
            assert.deepEqual(Object.keys(sog?.pictures ?? {}).sort(), Object.keys(pictures).sort());
            for (const [name, bytes] of Object.entries(sog?.pictures ?? {})) {
                assert.ok(pictures[name].equals(new Uint8Array(bytes)), name);
            }
        }
    });
}

test("NothingElseOfTheFileIsHandedOver", async () => {
    const sog = await read(changed(({ meta }) => (meta.more = meta.means.more = [1])));
    assert.ok(!new TextDecoder().decode(sog?.meta).includes("more"));
});

test("ArchiveOfOtherFilesIsNoScene", async () => {
    assert.equal(await read(zipFile({ "a.txt": Buffer.from("a") })), null);
});

test("DamagedArchiveIsRefused", async () => {
    const file = sogFile(kGaussians);
    for (const length of [10, 60, 1000, file.length - 30, file.length - 1]) {
        await assert.rejects(read(file.subarray(0, length)), /director|cut short/);
    }
    const other = Buffer.from(file);
    other[file.indexOf("VP8L") + 30] ^= 1;
    await assert.rejects(read(other), /is damaged/);
    const packed = sogFile(kGaussians, { isPacked: true });
    packed[200] ^= 1;
    await assert.rejects(read(packed), /cannot be unpacked/);
});

test("FileThatUnpacksToMoreIsRefused", async () => {
    const packed = zipFile({ "meta.json": Buffer.alloc(300_000, " ") }, { isPacked: true });
    await assert.rejects(read(packed), /claims 300000 bytes/);
    packed.writeUInt32LE(1000, packed.lastIndexOf("PK\x01\x02") + 24);
    await assert.rejects(read(packed), /cannot be unpacked/);
});

test("CountThatTheFileCannotHoldIsRefused", async () => {
    await assert.rejects(read(changed(({ meta }) => (meta.count = 1e9))), /claims 1000000000/);
    await assert.rejects(read(changed(({ meta }) => (meta.count = 33))), /32 pixels for 33/);
    for (const count of [-1, 1.5, "30", null, undefined]) {
        await assert.rejects(read(changed(({ meta }) => (meta.count = count))), /no count/);
    }
});

test("PictureThatIsTooLargeIsRefused", async () => {
    const large = webpFile(4, 4, new Array(64).fill(0));
    large.writeUInt32LE(0x0fffffff, 21);
    assert.equal(webpPixels(large), 2 ** 28);
    for (const name of ["sh0.webp", "shN_centroids.webp"]) {
        const file = changed(({ pictures }) => (pictures[name] = large));
        await assert.rejects(read(file), /has 268435456 pixels for 30/);
    }
});

test("PictureOfAnotherKindIsRefused", async () => {
    const lossy = webpFile(4, 9, new Array(144).fill(0));
    lossy.write("VP8 ", 12);
    for (const picture of [Buffer.alloc(40), lossy, Buffer.alloc(0)]) {
        const file = changed(({ pictures }) => (pictures["quats.webp"] = picture));
        await assert.rejects(read(file), /no (lossless )?WebP/);
    }
});

test("PictureWithMoreAroundItIsMeasured", () => {
    const extended = Buffer.from("RIFF....WEBPVP8X....flag............");
    extended.writeUIntLE(99, 24, 3);
    extended.writeUIntLE(4, 27, 3);
    assert.equal(webpPixels(extended), 500);
});

test("MetaWithoutItsPartsIsRefused", () => {
    const { meta } = sogParts(kGaussians, { degree: 2 });
    const { meta: older } = sogParts(kGaussians, { degree: 2, version: 1 });
    for (const [whole, name, member] of /** @type {const} */ ([
        [meta, "means", "mins"],
        [meta, "means", "files"],
        [meta, "scales", "codebook"],
        [meta, "sh0", "codebook"],
        [meta, "shN", "codebook"],
        [meta, "shN", "bands"],
        [older, "means", "maxs"],
        [older, "sh0", "mins"],
        [older, "quats", "encoding"],
        [older, "shN", "maxs"],
        [older, "shN", "shape"],
    ])) {
        assert.ok(checkedMeta(whole).count === 30);
        const part = { ...whole[name], [member]: [1, 2] };
        assert.throws(() => checkedMeta({ ...whole, [name]: part }), Error, `${name}.${member}`);
    }
    for (const nothing of [null, 5, [], "a"]) assert.throws(() => checkedMeta(nothing), Error);
});

test("NewerVersionIsToldAsSuch", () => {
    const { meta } = sogParts(kGaussians);
    assert.throws(() => checkedMeta({ ...meta, version: 3 }), { kind: "version" });
});
