// SPDX-License-Identifier: GPL-3.0-or-later
import { SplatMesh } from "@sparkjsdev/spark";
import { isAnyPlaced } from "./packed_splats.js";
import { checkedFormat } from "./splat_file.js";

/**
 * @param {ArrayBuffer} bytes of a file, which Spark takes over
 * @param {string} name of the file
 * @returns {Promise<SplatMesh>} with the file's Gaussians
 * @throws {Error} when the file cannot be read, or holds nothing to be seen
 */
export async function readSplats(bytes, name) {
    const fileType = await checkedFormat(bytes, name);
    const mesh = await new SplatMesh({
        fileBytes: bytes,
        fileName: name,
        fileType: /** @type {import("@sparkjsdev/spark").SplatFileType} */ (fileType),
    }).initialized;
    const { packedArray } = mesh.packedSplats;
    if (packedArray && isAnyPlaced(packedArray, mesh.numSplats)) return mesh;
    const isEmpty = mesh.numSplats <= 0;
    mesh.dispose();
    throw new Error(isEmpty ? "It has no Gaussians" : "None of its Gaussians has a place");
}
