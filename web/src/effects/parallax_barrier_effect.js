import { EyePairEffect } from "./eye_pair_effect.js";

const kFragmentShader = /* glsl */ `
uniform sampler2D left;
uniform sampler2D right;
in vec2 vUv;

void main() {
    vec4 l = texture(left, vUv);
    vec4 r = texture(right, vUv);
    gl_FragColor = mod(gl_FragCoord.y, 2.0) > 1.0 ? l : r;
}
`;

/**
 * Mode 5: odd rows of device pixels show the left eye and even rows the right, row 0 being the
 * lowest of the window.
 */
export class ParallaxBarrierEffect extends EyePairEffect {
    /**
     * @param {import("three").WebGLRenderer} renderer
     * @param {import("../view_settings.js").ViewSettings} settings
     */
    constructor(renderer, settings) {
        super(renderer, settings, { fragmentShader: kFragmentShader, size: 512, widthShare: 1 });
    }
}
