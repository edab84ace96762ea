// SPDX-License-Identifier: GPL-3.0-or-later
import { EyeRows } from "./eye_pixels.js";

const kCombine = /* glsl */ `
bool between(float low, float value, float high) {
    return value > low && value < high;
}

void main() {
    bool onTop = between(0.505, vUv.y, 0.995);
    bool onBottom = between(0.005, vUv.y, 0.495);
    bool onLeft = between(0.005, vUv.x, 0.495);
    bool onRight = between(0.505, vUv.x, 0.995);
    vec2 at = vec2(onLeft ? 2.0 * vUv.x : 2.0 * (vUv.x - 0.5),
                   onTop ? 2.0 * (vUv.y - 0.5) : 2.0 * vUv.y);
    vec4 l = texture(left, at);
    vec4 r = texture(right, at);
    bool isL = (onTop && onLeft) || (onBottom && onRight);
    bool isR = (onTop && onRight) || (onBottom && onLeft);
    gl_FragColor = isL ? l : isR ? r : vec4(0.0, 0.0, 0.0, 1.0);
}
`;

/**
 * @param {number} at place on the screen, 0 to 1
 * @returns {-1 | 0 | 1} the lower half, what is between the halves and around them, the upper half
 */
function halfOf(at) {
    if (at > 0.005 && at < 0.495) return -1;
    return at > 0.505 && at < 0.995 ? 1 : 0;
}

/**
 * @param {number} at place on the screen
 * @returns {number} of a picture that fills a half
 */
function inHalf(at) {
    return halfOf(at) < 0 ? 2 * at : 2 * (at - 0.5);
}

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const [ofLeft, ofRight] = [left, right].map((eye) => new EyeRows(eye, width, inHalf));
    const columns = Int8Array.from({ length: width }, (_, x) => halfOf((x + 0.5) / width));
    words.fill(0);
    for (let y = 0; y < height; ++y) {
        const at = (y + 0.5) / height;
        const half = halfOf(at);
        if (half === 0) continue;
        const [l, r] = [ofLeft.row(inHalf(at)), ofRight.row(inHalf(at))];
        for (let x = 0; x < width; ++x) {
            if (columns[x] !== 0) words[y * width + x] = columns[x] === half ? r[x] : l[x];
        }
    }
}

/**
 * A grid of left and right above right and left, with black borders and a black cross.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kGrid = {
    name: "LR/RL",
    combine: kCombine,
    combinePixels,
    targetSize: 1024,
    widthShare: 0.5,
    eyeStretch: 1,
};
