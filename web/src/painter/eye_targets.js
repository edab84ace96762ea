// SPDX-License-Identifier: GPL-3.0-or-later
import { WebGLRenderTarget } from "three";
import { kPictureFilters } from "./eye_pictures.js";

/** @typedef {import("./eye_pictures.js").EyePictures} EyePictures */

/**
 * The eyes' pictures as Spark draws them, into a target each.
 * @implements {EyePictures}
 */
export class EyeTargets {
    #renderer;
    #scene;
    #isFlat;
    /** @type {WebGLRenderTarget} */
    #left;
    /** @type {WebGLRenderTarget} */
    #right;

    /**
     * @param {import("three").WebGLRenderer} renderer
     * @param {import("three").Scene} scene
     * @param {import("../effects/eye_pair_effect.js").StereoMode} mode
     */
    constructor(renderer, scene, { targetSize: size, isFlat = false }) {
        this.#renderer = renderer;
        this.#scene = scene;
        this.#isFlat = isFlat;
        this.#left = new WebGLRenderTarget(size, size, kPictureFilters);
        this.#right = new WebGLRenderTarget(size, size, kPictureFilters);
    }

    get left() {
        return this.#left.texture;
    }

    get right() {
        return this.#right.texture;
    }

    /**
     * @param {number} columns
     * @param {number} rows
     */
    setSize(columns, rows) {
        this.#left.setSize(columns, rows);
        if (!this.#isFlat) this.#right.setSize(columns, rows);
    }

    /**
     * Draws what is needed. The renderer clears each target before it draws into it.
     * @param {import("../stereo_camera2.js").StereoCamera2} eyes
     * @param {boolean} swap
     */
    paint({ left, right }, swap) {
        const renderer = this.#renderer;
        this.#scene.updateMatrixWorld();
        renderer.setRenderTarget(this.#left);
        renderer.render(this.#scene, swap ? right : left);
        if (this.#isFlat) return true;
        renderer.setRenderTarget(this.#right);
        renderer.render(this.#scene, swap ? left : right);
        return true;
    }

    dispose() {
        this.#left.dispose();
        this.#right.dispose();
    }
}
