// SPDX-License-Identifier: GPL-3.0-or-later
import { columnsFor, rowFor } from "./eye_pixels.js";

const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vUv);
    vec4 r = texture(right, vUv);
    gl_FragColor = mod(gl_FragCoord.y, 2.0) > 1.0 ? l : r;
}
`;

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const columns = columnsFor(width, left.width); // both pictures are of one size
    for (let y = 0, at = 0; y < height; ++y) {
        const row = rowFor(y % 2 === 1 ? left : right, y, height);
        for (let x = 0; x < width; ++x, ++at) words[at] = row[columns[x]];
    }
}

/**
 * Odd rows of device pixels show the left eye and even rows the right, row 0 being the lowest of
 * the window: for screens behind a parallax barrier.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kInterlaced = {
    name: "Interlaced",
    combine: kCombine,
    combinePixels,
    targetSize: 512,
    widthShare: 1,
    eyeStretch: 1,
};
