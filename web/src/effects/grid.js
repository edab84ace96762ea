// SPDX-License-Identifier: GPL-3.0-or-later
import { linear } from "./eye_pixels.js";

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
 * @param {number} count of the screen's pixels, in one direction
 * @param {number} size of a picture in this direction
 */
function placesFor(count, size) {
    return Array.from({ length: count }, (_, i) => {
        const at = (i + 0.5) / count;
        const half = halfOf(at);
        return { half, ...linear(half < 0 ? 2 * at : 2 * (at - 0.5), size) };
    });
}

/**
 * @param {number} a
 * @param {number} b
 * @param {number} share of b
 */
function mix(a, b, share) {
    return a + share * (b - a);
}

/** @type {import("./eye_pixels.js").CombinePixels} */
function combinePixels(left, right, { words, width, height }) {
    const bytes = new Uint8ClampedArray(words.buffer, words.byteOffset, 4 * words.length);
    const columns = placesFor(width, left.width);
    const rows = placesFor(height, left.height);
    words.fill(0);
    for (let y = 0; y < height; ++y) {
        const row = rows[y];
        if (row.half === 0) continue;
        for (let x = 0; x < width; ++x) {
            const column = columns[x];
            if (column.half === 0) continue;
            const eye = column.half === row.half ? right : left;
            const low = row.low * eye.width;
            const high = row.high * eye.width;
            const a = eye.words[low + column.low];
            const b = eye.words[low + column.high];
            const c = eye.words[high + column.low];
            const d = eye.words[high + column.high];
            for (let shift = 0, at = 4 * (y * width + x); shift < 24; shift += 8, ++at) {
                const e = mix((a >> shift) & 255, (b >> shift) & 255, column.share);
                const f = mix((c >> shift) & 255, (d >> shift) & 255, column.share);
                bytes[at] = mix(e, f, row.share);
            }
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
