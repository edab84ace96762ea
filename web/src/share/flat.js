// SPDX-License-Identifier: GPL-3.0-or-later
import { EyeRows } from "../effects/eye_pixels.js";
import { kStereoModes } from "../effects/stereo_modes.js";

const kCombine = /* glsl */ `
void main() {
    gl_FragColor = texture(left, vUv);
}
`;

/** @type {import("../effects/eye_pixels.js").CombinePixels} */
function combinePixels(left, _right, { words, width, height }) {
    const rows = new EyeRows(left, width);
    for (let y = 0; y < height; ++y) words.set(rows.row((y + 0.5) / height), y * width);
}

/**
 * One picture for both eyes.
 * @type {import("../effects/eye_pair_effect.js").StereoMode}
 */
export const kFlat = {
    name: "2D",
    combine: kCombine,
    combinePixels,
    targetSize: 512,
    widthShare: 1,
    eyeStretch: 1,
    isFlat: true,
};

/** What the shared page offers: a picture for everybody first. */
export const kShareModes = [kFlat, ...kStereoModes];
