// SPDX-License-Identifier: GPL-3.0-or-later
import { PackedSplats } from "@sparkjsdev/spark";
import { isAnyPlaced } from "./packed_splats.js";
import { checkedFormat } from "./splat_file.js";

/**
 * @param {ArrayBuffer} bytes of a file, which Spark takes over
 * @param {string} name of the file
 * @returns {Promise<PackedSplats>} the file's Gaussians
 * @throws {Error} when the file cannot be read, or holds nothing to be seen
 */
export async function readSplats(bytes, name) {
    const fileType = await checkedFormat(bytes, name);
    const splats = await new PackedSplats({
        fileBytes: bytes,
        fileName: name,
        fileType: /** @type {import("@sparkjsdev/spark").SplatFileType} */ (fileType),
    }).initialized;
    const { packedArray, numSplats } = splats;
    if (packedArray && isAnyPlaced(packedArray, numSplats)) return splats;
    throw new Error(numSplats <= 0 ? "It has no Gaussians" : "None of its Gaussians has a place");
}
