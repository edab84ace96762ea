// SPDX-License-Identifier: GPL-3.0-or-later
import {
    LinearFilter,
    Mesh,
    NearestFilter,
    OrthographicCamera,
    PlaneGeometry,
    RGBAFormat,
    ShaderMaterial,
    Vector2,
    WebGLRenderTarget,
} from "three";
import { StereoCamera2 } from "../stereo_camera2.js";

/** @typedef {import("three").WebGLRenderer} WebGLRenderer */
/** @typedef {import("../view_settings.js").ViewSettings} ViewSettings */

const kVertexShader = /* glsl */ `
out vec2 vUv;
void main() {
    vUv = uv;
    gl_Position = vec4(position.xy, 0.0, 1.0);
}
`;

const kFragmentHead = /* glsl */ `
uniform sampler2D left;
uniform sampler2D right;
in vec2 vUv;
`;

/**
 * What distinguishes a stereo mode from the others.
 * @typedef {object} StereoMode
 * @property {string} name as in the program's menu
 * @property {string} combine `main` of the shader that sets `gl_FragColor` from the eyes' textures
 *     `left` and `right` at `vUv`. It reads both before it chooses: a texture read inside a branch
 *     has no defined level
 * @property {Record<string, import("three").IUniform>} [uniforms] of that shader but its textures
 * @property {number} targetSize of the targets before the first setSize, pixels
 * @property {number} widthShare of the screen that a target is wide
 * @property {number} eyeStretch factor on the width of an eye's picture, of which its target shows
 *     the middle
 */

/** Draws both eyes into a target each and combines the two on the screen as a stereo mode says. */
export class EyePairEffect {
    /** @type {WebGLRenderer} */
    #renderer;
    /** @type {ViewSettings} */
    #settings;
    /** @type {StereoMode} */
    #mode;
    #eyes = new StereoCamera2();
    #quadCamera = new OrthographicCamera(-1, 1, 1, -1, 0, 1);
    /** @type {WebGLRenderTarget} */
    #left;
    /** @type {WebGLRenderTarget} */
    #right;
    /** @type {Mesh<PlaneGeometry, ShaderMaterial>} */
    #quad;

    /**
     * @param {WebGLRenderer} renderer
     * @param {ViewSettings} settings read at every render
     * @param {StereoMode} mode
     */
    constructor(renderer, settings, mode) {
        this.#renderer = renderer;
        this.#settings = settings;
        this.#mode = mode;
        // Nearest when a target's pixel meets one of the screen, so that each eye stays exact;
        // linear where the screen shows less of a target than it holds.
        const options = {
            minFilter: LinearFilter,
            magFilter: NearestFilter,
            format: RGBAFormat,
        };
        this.#left = new WebGLRenderTarget(mode.targetSize, mode.targetSize, options);
        this.#right = new WebGLRenderTarget(mode.targetSize, mode.targetSize, options);
        const material = new ShaderMaterial({
            name: mode.name, // shown when its shader does not compile
            uniforms: {
                left: { value: this.#left.texture },
                right: { value: this.#right.texture },
                ...mode.uniforms,
            },
            vertexShader: kVertexShader,
            fragmentShader: kFragmentHead + mode.combine,
            depthTest: false,
            depthWrite: false,
        });
        this.#quad = new Mesh(new PlaneGeometry(2, 2), material);
        this.#quad.frustumCulled = false;
    }

    /**
     * @param {number} width of the screen, CSS pixels
     * @param {number} height of the screen, CSS pixels
     */
    setSize(width, height) {
        // Sizing the canvas empties it, even to the size that it has; a picture that is still shown
        // until the next drawn frame must not vanish.
        const current = this.#renderer.getSize(new Vector2());
        if (current.x !== width || current.y !== height) this.#renderer.setSize(width, height);
        const ratio = this.#renderer.getPixelRatio();
        const columns = Math.max(1, Math.floor(width * this.#mode.widthShare * ratio));
        const rows = Math.max(1, Math.floor(height * ratio));
        this.#left.setSize(columns, rows);
        this.#right.setSize(columns, rows);
    }

    /**
     * Draws one frame to the screen. The renderer clears each target before it draws into it.
     * @param {import("three").Scene} scene
     * @param {import("three").PerspectiveCamera} camera keeps its position and projection
     * @param {boolean} swap each eye goes to the other's target
     */
    render(scene, camera, swap) {
        const renderer = this.#renderer;
        const remembered = renderer.getRenderTarget();
        if (camera.parent === null) camera.updateMatrixWorld();
        scene.updateMatrixWorld();
        this.#eyes.update(camera, this.#settings, this.#mode.eyeStretch);
        const { left, right } = this.#eyes;
        try {
            renderer.setRenderTarget(this.#left);
            renderer.render(scene, swap ? right : left);
            renderer.setRenderTarget(this.#right);
            renderer.render(scene, swap ? left : right);
            renderer.setRenderTarget(null);
            renderer.render(this.#quad, this.#quadCamera);
        } finally {
            renderer.setRenderTarget(remembered);
        }
    }

    /** Called before dispose when another effect takes over; nothing to do. */
    end() {}

    /** Frees the targets and the quad. */
    dispose() {
        this.#left.dispose();
        this.#right.dispose();
        this.#quad.geometry.dispose();
        this.#quad.material.dispose();
    }
}
