// SPDX-License-Identifier: GPL-3.0-or-later
import { EyeRows } from "./eye_pixels.js";

const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vUv);
    vec4 r = texture(right, vUv);
    gl_FragColor = mod(gl_FragCoord.y, 2.0) > 1.0 ? l : r;
}
`;

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const [ofLeft, ofRight] = [left, right].map((picture) => new EyeRows(picture, width));
    for (let y = 0; y < height; ++y) {
        const shown = y % 2 === 1 ? ofLeft : ofRight;
        words.set(shown.row((y + 0.5) / height), y * width);
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
