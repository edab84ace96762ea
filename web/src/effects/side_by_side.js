// SPDX-License-Identifier: GPL-3.0-or-later
import { EyeRows } from "./eye_pixels.js";

const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vec2(2.0 * vUv.x, vUv.y));
    vec4 r = texture(right, vec2(2.0 * (vUv.x - 0.5), vUv.y));
    gl_FragColor = vUv.x < 0.5 ? l : r;
}
`;

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const ofLeft = new EyeRows(left, width, (at) => 2 * at);
    const ofRight = new EyeRows(right, width, (at) => 2 * (at - 0.5));
    const half = Math.floor(width / 2);
    for (let y = 0; y < height; ++y) {
        const at = (y + 0.5) / height;
        words.set(ofLeft.row(at).subarray(0, half), y * width);
        words.set(ofRight.row(at).subarray(half), y * width + half);
    }
}

/**
 * Left eye in the left half, right eye in the right half: each half shows the middle of its eye's
 * picture at the scale of the whole.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kSideBySide = {
    name: "Side-by-Side (SBS)",
    combine: kCombine,
    combinePixels,
    targetSize: 1024,
    widthShare: 0.5,
    eyeStretch: 2,
};
