// SPDX-License-Identifier: GPL-3.0-or-later
import { kPartMultiple, kWords } from "./eye_painter.js";

/** Gaussians that are sent at a time. */
const kPart = 128 * kPartMultiple;

/**
 * Gaussians as Spark has unpacked them from a file.
 * @typedef {object} PackedScene
 * @property {number} numSplats
 * @property {Uint32Array | null} packedArray
 * @property {Record<string, unknown>} extra with harmonics as `sh1` to `sh3`
 * @property {import("./eye_painter.js").PackedEncoding} [splatEncoding]
 */

/**
 * @param {PackedScene} scene
 * @returns {Uint32Array[]} words of the harmonics by degree, from the first
 */
function harmonicsOf({ extra }) {
    /** @type {Uint32Array[]} */
    const found = [];
    for (const words of [extra.sh1, extra.sh2, extra.sh3]) {
        if (!(words instanceof Uint32Array)) break;
        found.push(words);
    }
    return found;
}

/**
 * Sends a scene part by part, with a pause after each: the painters take over one part while the
 * next is copied for them, so that there is never a further copy of the whole scene.
 * @param {PackedScene} scene is empty afterwards
 * @param {import("./eye_painter.js").EyePainter[]} painters
 * @param {() => boolean} isWanted asked after each pause
 * @returns {Promise<boolean>} whether all of it was sent
 */
export async function sendScene(scene, painters, isWanted) {
    const { numSplats: count, packedArray, splatEncoding: encoding } = scene;
    const harmonics = harmonicsOf(scene);
    scene.packedArray = null;
    scene.extra = {};
    if (packedArray === null) return false;
    for (const painter of painters) painter.begin({ count, encoding, shDegree: harmonics.length });
    for (let first = 0; first < count; first += kPart) {
        const end = Math.min(first + kPart, count);
        if (first > 0) await new Promise((resolve) => setTimeout(resolve));
        if (!isWanted()) return false;
        for (const painter of painters) {
            painter.append(
                packedArray.slice(kWords[0] * first, kWords[0] * end),
                harmonics.map((words, i) => words.slice(kWords[i + 1] * first, kWords[i + 1] * end)),
            );
        }
    }
    return true;
}
