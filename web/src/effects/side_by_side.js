// SPDX-License-Identifier: GPL-3.0-or-later
const kCombine = /* glsl */ `
void main() {
    vec4 l = texture(left, vec2(2.0 * vUv.x, vUv.y));
    vec4 r = texture(right, vec2(2.0 * (vUv.x - 0.5), vUv.y));
    gl_FragColor = vUv.x < 0.5 ? l : r;
}
`;

/**
 * Left eye in the left half, right eye in the right half: each half shows the middle of its eye's
 * picture at the scale of the whole.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kSideBySide = {
    name: "Side-by-Side (SBS)",
    combine: kCombine,
    targetSize: 1024,
    widthShare: 0.5,
    eyeStretch: 2,
};
