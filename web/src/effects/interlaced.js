// SPDX-License-Identifier: GPL-3.0-or-later
const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vUv);
    vec4 r = texture(right, vUv);
    gl_FragColor = mod(gl_FragCoord.y, 2.0) > 1.0 ? l : r;
}
`;

/**
 * Odd rows of device pixels show the left eye and even rows the right, row 0 being the lowest of
 * the window: for screens behind a parallax barrier.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kInterlaced = {
    name: "Interlaced",
    combine: kCombine,
    targetSize: 512,
    widthShare: 1,
    eyeStretch: 1,
};
