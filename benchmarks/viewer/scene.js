// SPDX-License-Identifier: GPL-3.0-or-later
import { createWriteStream } from "node:fs";
import { finished } from "node:stream/promises";

/** Columns and rows of the grid for as many Gaussians as the program makes of a photograph. */
export const kFullSide = 768;
const kLayers = 2;
const kFloats = 14;

/**
 * @param {number} side columns and rows of the grid
 * @returns {number} Gaussians
 */
export function countOf(side) {
    return side * side * kLayers;
}

/**
 * A hilly surface in front of the camera with a coarser, fainter one behind it, seen under the
 * start camera's field of view.
 * @param {string} file PLY that is written
 * @param {number} side columns and rows of the grid
 */
export async function writeScene(file, side) {
    const out = createWriteStream(file);
    const names = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity"];
    names.push("scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3");
    const lines = ["ply", "format binary_little_endian 1.0", `element vertex ${countOf(side)}`];
    for (const name of names) lines.push(`property float ${name}`);
    out.write(lines.join("\n") + "\nend_header\n");
    for (let layer = 0; layer < kLayers; ++layer) {
        for (let row = 0; row < side; ++row) out.write(sceneRow(row, layer, side));
    }
    out.end();
    await finished(out);
}

/**
 * @param {number} row
 * @param {number} layer 0 in front
 * @param {number} side
 * @returns {Buffer} one record for each column
 */
function sceneRow(row, layer, side) {
    const records = new Float32Array(side * kFloats);
    const v = (row + 0.5) / side - 0.5;
    for (let column = 0; column < side; ++column) {
        const u = (column + 0.5) / side - 0.5;
        const depth = 3 + layer + 0.6 * Math.sin(9 * u) * Math.cos(7 * v) + 0.1 * Math.sin(90 * u);
        const scale = Math.log((0.7 * depth) / side);
        records.set(
            [
                u * depth * 0.9, v * depth * 0.9, depth - 3,
                Math.sin(20 * u), Math.cos(15 * v), Math.sin(30 * (u + v)),
                layer === 0 ? 2.5 : 0.5,
                scale, scale, scale - 1,
                1, 0.1 * u, 0.1 * v, 0,
            ],
            column * kFloats,
        );
    }
    return Buffer.from(records.buffer);
}
