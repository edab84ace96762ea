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

/**
 * How an effect differs from the others.
 * @typedef {object} EffectRules
 * @property {string} fragmentShader combines `left` and `right` at `vUv`
 * @property {Record<string, import("three").IUniform>} [uniforms] of that shader but its targets
 * @property {number} size of the targets before the first setSize, pixels
 * @property {number} widthShare of the screen that a target is wide
 * @property {number} [mode] passed on to StereoCamera2
 */

/**
 * Draws both eyes into a target each and combines the two on the screen. The effects are subclasses
 * that bring their combining shader.
 */
export class EyePairEffect {
    /** @type {WebGLRenderer} */
    #renderer;
    /** @type {ViewSettings} */
    #settings;
    /** @type {EffectRules} */
    #rules;
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
     * @param {EffectRules} rules
     */
    constructor(renderer, settings, rules) {
        this.#renderer = renderer;
        this.#settings = settings;
        this.#rules = rules;
        // Nearest when a target's pixel meets one of the screen, so that each eye stays exact;
        // linear where the screen shows less of a target than it holds.
        const options = {
            minFilter: LinearFilter,
            magFilter: NearestFilter,
            format: RGBAFormat,
        };
        this.#left = new WebGLRenderTarget(rules.size, rules.size, options);
        this.#right = new WebGLRenderTarget(rules.size, rules.size, options);
        const material = new ShaderMaterial({
            uniforms: {
                left: { value: this.#left.texture },
                right: { value: this.#right.texture },
                ...rules.uniforms,
            },
            vertexShader: kVertexShader,
            fragmentShader: rules.fragmentShader,
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
        const columns = Math.max(1, Math.floor(width * this.#rules.widthShare * ratio));
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
        this.#eyes.update(camera, this.#settings, this.#rules.mode);
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

    /** Called before dispose when another effect takes over; there is nothing to wind up. */
    end() {}

    /** Frees the targets and the quad. */
    dispose() {
        this.#left.dispose();
        this.#right.dispose();
        this.#quad.geometry.dispose();
        this.#quad.material.dispose();
    }
}
