// SPDX-License-Identifier: GPL-3.0-or-later
import { Matrix3 } from "three";
import { EyeRows } from "./eye_pixels.js";

/** @typedef {import("./eye_pair_effect.js").StereoMode} StereoMode */

// The targets hold colours as they are shown, and the matrices are made for those.
const kCombine = /* glsl */ `
uniform mat3 leftMatrix;
uniform mat3 rightMatrix;

void main() {
    vec3 colour = leftMatrix * texture(left, vUv).rgb + rightMatrix * texture(right, vUv).rgb;
    gl_FragColor = vec4(clamp(colour, 0.0, 1.0), 1.0);
}
`;

/**
 * @param {Matrix3} leftMatrix
 * @param {Matrix3} rightMatrix
 * @returns {import("./eye_pixels.js").CombinePixels}
 */
function combineBy({ elements: l }, { elements: r }) {
    return (left, right, { words, width, height }) => {
        const bytes = new Uint8ClampedArray(words.buffer, words.byteOffset, 4 * words.length);
        const [rowsOfLeft, rowsOfRight] = [left, right].map((eye) => new EyeRows(eye, width));
        for (let y = 0, at = 0; y < height; ++y) {
            const ofLeft = rowsOfLeft.row((y + 0.5) / height);
            const ofRight = rowsOfRight.row((y + 0.5) / height);
            for (let x = 0; x < width; ++x, at += 4) {
                const a = ofLeft[x];
                const b = ofRight[x];
                for (let c = 0; c < 3; ++c) {
                    bytes[at + c] =
                        l[c] * (a & 255) + l[c + 3] * ((a >> 8) & 255) +
                        l[c + 6] * ((a >> 16) & 255) +
                        r[c] * (b & 255) + r[c + 3] * ((b >> 8) & 255) +
                        r[c + 6] * ((b >> 16) & 255);
                }
            }
        }
    };
}

/**
 * Both eyes in one picture, told apart by coloured glasses.
 * @param {string} name
 * @param {Matrix3} leftMatrix output red, green, blue from the left eye's red, green, blue
 * @param {Matrix3} rightMatrix the same from the right eye's
 * @returns {StereoMode}
 */
function anaglyph(name, leftMatrix, rightMatrix) {
    return {
        name,
        combine: kCombine,
        combinePixels: combineBy(leftMatrix, rightMatrix),
        uniforms: { leftMatrix: { value: leftMatrix }, rightMatrix: { value: rightMatrix } },
        targetSize: 512,
        widthShare: 1,
        eyeStretch: 1,
    };
}

/**
 * Least squares fit for red-cyan glasses (E. Dubois, "A projection method to generate anaglyph
 * stereo images", ICASSP 2001).
 */
export const kDubois = anaglyph(
    "Dubois",
    new Matrix3(
        0.4561, 0.500484, 0.176381,
        -0.0400822, -0.0378246, -0.0157589,
        -0.0152161, -0.0205971, -0.00546856,
    ),
    new Matrix3(
        -0.0434706, -0.0879388, -0.00155529,
        0.378476, 0.73364, -0.0184503,
        -0.0721527, -0.112961, 1.2264,
    ),
);

/** Red from the left eye, green and blue from the right. */
export const kColorAnaglyph = anaglyph(
    "Color Anaglyph",
    new Matrix3(1, 0, 0, 0, 0, 0, 0, 0, 0),
    new Matrix3(0, 0, 0, 0, 1, 0, 0, 0, 1),
);

/** Luminance (ITU-R BT.601) of the left eye in red, of the right eye in green and blue. */
export const kGrayAnaglyph = anaglyph(
    "Gray Anaglyph",
    new Matrix3(0.299, 0.587, 0.114, 0, 0, 0, 0, 0, 0),
    new Matrix3(0, 0, 0, 0.299, 0.587, 0.114, 0.299, 0.587, 0.114),
);
