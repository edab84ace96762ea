// SPDX-License-Identifier: GPL-3.0-or-later
import { PackedSplats, unpackSplats } from "@sparkjsdev/spark";
import { isAnyPlaced } from "./packed_splats.js";
import { readSog } from "./sog_file.js";
import { checkedFormat } from "./splat_file.js";
import { spz3Of } from "./spz4_file.js";
import { SceneError } from "./texts.js";

/** @typedef {import("@sparkjsdev/spark").SplatFileType} SplatFileType */

/**
 * @param {ArrayBuffer} bytes of a file, which Spark takes over
 * @param {string} name of the file
 * @returns {Promise<PackedSplats>} the file's Gaussians
 * @throws {Error} when the file cannot be read, or holds nothing to be seen
 */
export async function readSplats(bytes, name) {
    const splats = await unpacked(bytes, name);
    const { packedArray, numSplats } = splats;
    if (packedArray && isAnyPlaced(packedArray, numSplats)) return splats;
    throw new SceneError(numSplats <= 0 ? "empty" : "placeless");
}

/**
 * @param {ArrayBuffer} bytes
 * @param {string} name
 * @returns {Promise<PackedSplats>}
 */
async function unpacked(bytes, name) {
    const format = await checkedFormat(bytes, name);
    if (format === "zip") return unpackedSog(bytes);
    const isSpz4 = format === "spz4";
    return new PackedSplats({
        fileBytes: isSpz4 ? spz3Of(bytes) : bytes,
        fileName: name,
        fileType: /** @type {SplatFileType} */ (isSpz4 ? "spz" : format),
    }).initialized;
}

/**
 * @param {ArrayBuffer} bytes
 * @returns {Promise<PackedSplats>}
 */
async function unpackedSog(bytes) {
    const sog = await readSog(bytes);
    if (sog === null) throw new SceneError("noScene", "The archive has no meta.json");
    const splats = await unpackSplats({
        input: new Uint8Array(sog.meta),
        extraFiles: sog.pictures,
        fileType: /** @type {SplatFileType} */ ("pcsogs"),
    });
    return new PackedSplats(splats).initialized;
}
