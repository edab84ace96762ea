import { EyePairEffect } from "./eye_pair_effect.js";

// Both targets are sampled before the choice: a texture read inside a branch has no defined level.
const kFragmentShader = /* glsl */ `
uniform sampler2D left;
uniform sampler2D right;
uniform float mode;
in vec2 vUv;

bool between(float low, float value, float high) {
    return value > low && value < high;
}

vec4 sideBySide() {
    vec4 l = texture(left, vec2(2.0 * vUv.x, vUv.y));
    vec4 r = texture(right, vec2(2.0 * (vUv.x - 0.5), vUv.y));
    return vUv.x < 0.5 ? l : r;
}

vec4 grid() {
    bool onTop = between(0.505, vUv.y, 0.995);
    bool onBottom = between(0.005, vUv.y, 0.495);
    bool onLeft = between(0.005, vUv.x, 0.495);
    bool onRight = between(0.505, vUv.x, 0.995);
    vec2 at = vec2(onLeft ? 2.0 * vUv.x : 2.0 * (vUv.x - 0.5),
                   onTop ? 2.0 * (vUv.y - 0.5) : 2.0 * vUv.y);
    vec4 l = texture(left, at);
    vec4 r = texture(right, at);
    if ((onTop && onLeft) || (onBottom && onRight)) return l;
    if ((onTop && onRight) || (onBottom && onLeft)) return r;
    return vec4(0.0, 0.0, 0.0, 1.0);
}

void main() {
    gl_FragColor = mode < 0.5 || mode > 5.5 ? sideBySide() : grid();
}
`;

/**
 * Mode 0: left eye in the left half, right eye in the right half. Mode 1: a grid of left and right
 * above right and left, with black borders and a black cross.
 */
export class StereoEffect extends EyePairEffect {
    /**
     * @param {import("three").WebGLRenderer} renderer
     * @param {import("../view_settings.js").ViewSettings} settings
     * @param {number} mode
     */
    constructor(renderer, settings, mode) {
        super(renderer, settings, {
            fragmentShader: kFragmentShader,
            uniforms: { mode: { value: mode } },
            size: 1024,
            widthShare: 0.5,
            mode,
        });
    }
}
