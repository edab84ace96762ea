import { Matrix3 } from "three";
import { EyePairEffect } from "./eye_pair_effect.js";

// The targets hold colours as they are shown, and the matrices are made for those.
const kFragmentShader = /* glsl */ `
uniform sampler2D left;
uniform sampler2D right;
uniform mat3 leftMatrix;
uniform mat3 rightMatrix;
in vec2 vUv;

void main() {
    vec3 colour = leftMatrix * texture(left, vUv).rgb + rightMatrix * texture(right, vUv).rgb;
    gl_FragColor = vec4(clamp(colour, 0.0, 1.0), 1.0);
}
`;

/**
 * The matrices of one kind of anaglyph, row by row: output red, green, blue from input red, green,
 * blue.
 * @typedef {readonly [readonly number[], readonly number[]]} EyeMatrices left eye, right eye
 */

/**
 * The kinds of anaglyph, by index.
 * @type {readonly EyeMatrices[]}
 */
export const kAnaglyphs = [
    // Dubois: least squares fit for red-cyan glasses (E. Dubois, "A projection method to generate
    // anaglyph stereo images", ICASSP 2001).
    [
        [
            0.4561, 0.500484, 0.176381,
            -0.0400822, -0.0378246, -0.0157589,
            -0.0152161, -0.0205971, -0.00546856,
        ],
        [
            -0.0434706, -0.0879388, -0.00155529,
            0.378476, 0.73364, -0.0184503,
            -0.0721527, -0.112961, 1.2264,
        ],
    ],
    // Colour: red from the left eye, green and blue from the right.
    [
        [1, 0, 0, 0, 0, 0, 0, 0, 0],
        [0, 0, 0, 0, 1, 0, 0, 0, 1],
    ],
    // Grey: luminance (ITU-R BT.601) of the left eye in red, of the right eye in green and blue.
    [
        [0.299, 0.587, 0.114, 0, 0, 0, 0, 0, 0],
        [0, 0, 0, 0.299, 0.587, 0.114, 0.299, 0.587, 0.114],
    ],
];

/** Modes 2..4: both eyes in one picture, told apart by coloured glasses. */
export class AnaglyphEffect extends EyePairEffect {
    /**
     * @param {import("three").WebGLRenderer} renderer
     * @param {import("../view_settings.js").ViewSettings} settings
     * @param {number} index 0 Dubois, 1 colour, 2 grey
     */
    constructor(renderer, settings, index) {
        const [left, right] = kAnaglyphs[index];
        super(renderer, settings, {
            fragmentShader: kFragmentShader,
            uniforms: {
                leftMatrix: { value: new Matrix3().fromArray(left).transpose() },
                rightMatrix: { value: new Matrix3().fromArray(right).transpose() },
            },
            size: 512,
            widthShare: 1,
        });
    }
}
