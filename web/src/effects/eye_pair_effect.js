// SPDX-License-Identifier: GPL-3.0-or-later
import { Mesh, OrthographicCamera, PlaneGeometry, ShaderMaterial, Vector2 } from "three";
import { StereoCamera2 } from "../stereo_camera2.js";

/** @typedef {import("three").WebGLRenderer} WebGLRenderer */
/** @typedef {import("../painter/eye_pictures.js").EyePictures} EyePictures */
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
 * @property {import("./eye_pixels.js").CombinePixels} combinePixels does what the shader does, where
 *     there is no WebGL
 * @property {number} targetSize of the eyes' pictures before the first setSize, pixels
 * @property {number} widthShare of the screen that an eye's picture is wide
 * @property {number} eyeStretch factor on the width of what an eye sees, of which its picture shows
 *     the middle
 * @property {boolean} [isFlat] the left eye's picture is all there is
 */

/**
 * Shows both eyes' pictures on the screen as a stereo mode says.
 * @typedef {object} Effect
 * @property {(width: number, height: number) => void} setSize of the screen, CSS pixels
 * @property {(camera: import("three").PerspectiveCamera, swap: boolean) => boolean} render one
 *     frame. The camera keeps its position and projection; a swap gives each eye the other's
 *     picture. Whether something was drawn: it is not where the screen already shows all that can
 *     be shown
 * @property {() => void} end called before dispose when another effect takes over
 * @property {() => void} dispose
 */

/**
 * @param {StereoMode} mode
 * @param {number} width of the screen, CSS pixels
 * @param {number} height
 * @param {number} ratio device pixels for a CSS pixel
 * @returns {[number, number]} columns and rows of an eye's picture
 */
export function pictureSize({ widthShare }, width, height, ratio) {
    return [
        Math.max(1, Math.floor(width * widthShare * ratio)),
        Math.max(1, Math.floor(height * ratio)),
    ];
}

/**
 * An effect whose pictures are combined by WebGL.
 * @implements {Effect}
 */
export class EyePairEffect {
    /** @type {WebGLRenderer} */
    #renderer;
    /** @type {ViewSettings} */
    #settings;
    /** @type {StereoMode} */
    #mode;
    /** @type {EyePictures} */
    #pictures;
    #eyes = new StereoCamera2();
    #quadCamera = new OrthographicCamera(-1, 1, 1, -1, 0, 1);
    /** @type {Mesh<PlaneGeometry, ShaderMaterial>} */
    #quad;

    /**
     * @param {WebGLRenderer} renderer
     * @param {ViewSettings} settings read at every render
     * @param {StereoMode} mode
     * @param {EyePictures} pictures which the effect disposes
     */
    constructor(renderer, settings, mode, pictures) {
        this.#renderer = renderer;
        this.#settings = settings;
        this.#mode = mode;
        this.#pictures = pictures;
        const material = new ShaderMaterial({
            name: mode.name, // shown when its shader does not compile
            uniforms: {
                left: { value: pictures.left },
                right: { value: pictures.right },
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
     * @param {number} width
     * @param {number} height
     */
    setSize(width, height) {
        // Sizing the canvas empties it, even to the size that it has; a picture that is still shown
        // until the next drawn frame must not vanish.
        const current = this.#renderer.getSize(new Vector2());
        if (current.x !== width || current.y !== height) this.#renderer.setSize(width, height);
        const ratio = this.#renderer.getPixelRatio();
        this.#pictures.setSize(...pictureSize(this.#mode, width, height, ratio));
    }

    /**
     * @param {import("three").PerspectiveCamera} camera
     * @param {boolean} swap
     */
    render(camera, swap) {
        const renderer = this.#renderer;
        const remembered = renderer.getRenderTarget();
        if (camera.parent === null) camera.updateMatrixWorld();
        this.#eyes.update(camera, this.#settings, this.#mode.eyeStretch);
        try {
            if (!this.#pictures.paint(this.#eyes, swap)) return false;
            const { left, right } = this.#quad.material.uniforms;
            left.value = this.#pictures.left;
            right.value = this.#pictures.right;
            renderer.setRenderTarget(null);
            renderer.render(this.#quad, this.#quadCamera);
            return true;
        } finally {
            renderer.setRenderTarget(remembered);
        }
    }

    /** Nothing is to be done before another effect takes over. */
    end() {}

    /** Frees the pictures and the quad. */
    dispose() {
        this.#pictures.dispose();
        this.#quad.geometry.dispose();
        this.#quad.material.dispose();
    }
}
