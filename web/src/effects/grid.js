// SPDX-License-Identifier: GPL-3.0-or-later
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
 * A grid of left and right above right and left, with black borders and a black cross.
 * @type {import("./eye_pair_effect.js").StereoMode}
 */
export const kGrid = {
    name: "LR/RL",
    combine: kCombine,
    targetSize: 1024,
    widthShare: 0.5,
    eyeStretch: 1,
};
