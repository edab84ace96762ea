// SPDX-License-Identifier: GPL-3.0-or-later
import { SplatMesh } from "@sparkjsdev/spark";
import { checkedFormat } from "./splat_file.js";

/**
 * @param {ArrayBuffer} bytes of a file, which Spark takes over
 * @param {string} name of the file
 * @returns {Promise<SplatMesh>} with the file's Gaussians
 */
export async function readSplats(bytes, name) {
    const fileType = await checkedFormat(bytes, name);
    return new SplatMesh({
        fileBytes: bytes,
        fileName: name,
        fileType: /** @type {import("@sparkjsdev/spark").SplatFileType} */ (fileType),
    }).initialized;
}
