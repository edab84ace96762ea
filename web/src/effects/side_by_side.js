// SPDX-License-Identifier: GPL-3.0-or-later
import { columnsFor, rowFor } from "./eye_pixels.js";

const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vec2(2.0 * vUv.x, vUv.y));
    vec4 r = texture(right, vec2(2.0 * (vUv.x - 0.5), vUv.y));
    gl_FragColor = vUv.x < 0.5 ? l : r;
}
`;

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const ofLeft = columnsFor(width, left.width, (at) => 2 * at);
    const ofRight = columnsFor(width, right.width, (at) => 2 * (at - 0.5));
    const half = Math.floor(width / 2);
    for (let y = 0, at = 0; y < height; ++y) {
        const [l, r] = [rowFor(left, y, height), rowFor(right, y, height)];
        for (let x = 0; x < half; ++x, ++at) words[at] = l[ofLeft[x]];
        for (let x = half; x < width; ++x, ++at) words[at] = r[ofRight[x]];
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
