// SPDX-License-Identifier: GPL-3.0-or-later
import { DataTexture } from "three";
import { kPictureFilters } from "./eye_pictures.js";

/** @typedef {import("./eye_pictures.js").EyePictures} EyePictures */
/** @typedef {import("./pair_painter.js").Pair} Pair */
/** @typedef {import("./pair_painter.js").PairPainter} PairPainter */
/** @typedef {import("three").PerspectiveCamera} PerspectiveCamera */

/** @returns {DataTexture} */
function emptyTexture() {
    return Object.assign(new DataTexture(), kPictureFilters);
}

/**
 * @param {DataTexture} texture
 * @param {import("./eye_painter.js").EyePicture} picture that it is to hold
 */
function fill(texture, { pixels: data, width, height }) {
    const { image } = texture;
    // What is on the graphics card keeps its size.
    if (image.width !== width || image.height !== height) texture.dispose();
    texture.image = { data, width, height };
    texture.needsUpdate = true;
}

/** @param {PerspectiveCamera} eye @returns {number[]} world to view */
function viewMatrixOf(eye) {
    eye.updateMatrixWorld();
    return [...eye.matrixWorldInverse.elements];
}

/**
 * The newest pair of a PairPainter, for one effect. There may be none that suits the effect yet: then
 * the screen keeps what it shows.
 * @implements {EyePictures}
 */
export class PaintedPictures {
    #pairs;
    #stretch;
    #isFlat;
    #width;
    #height;
    #textures = { left: emptyTexture(), right: emptyTexture() };
    /** @type {Pair | null} in the textures */
    #pair = null;
    #swap = false;
    /** The screen shows the pair. */
    #isShown = false;

    /**
     * @param {PairPainter} pairs
     * @param {import("../effects/eye_pair_effect.js").StereoMode} mode
     */
    constructor(pairs, { eyeStretch, targetSize, isFlat = false }) {
        this.#pairs = pairs;
        this.#stretch = eyeStretch;
        this.#isFlat = isFlat;
        this.#width = targetSize;
        this.#height = targetSize;
    }

    get left() {
        return this.#swap ? this.#textures.right : this.#textures.left;
    }

    get right() {
        return this.#swap ? this.#textures.left : this.#textures.right;
    }

    /**
     * @param {number} columns
     * @param {number} rows
     */
    setSize(columns, rows) {
        this.#width = columns;
        this.#height = rows;
        this.#isShown = false; // the screen may be empty now
    }

    /**
     * Asks for the pair of this view, and shows the newest that there is.
     * @param {import("../stereo_camera2.js").StereoCamera2} eyes
     * @param {boolean} swap
     */
    paint({ left, right }, swap) {
        this.#pairs.request({
            viewMatrices: [viewMatrixOf(left), viewMatrixOf(right)],
            projections: [[...left.projectionMatrix.elements], [...right.projectionMatrix.elements]],
            near: left.near,
            width: this.#width,
            height: this.#height,
            stretch: this.#stretch,
            isFlat: this.#isFlat,
        });
        const { pair } = this.#pairs;
        const { view } = pair;
        const isOther = view?.stretch !== this.#stretch || view.isFlat !== this.#isFlat;
        if (view !== null && isOther) return false;
        if (this.#isShown && pair === this.#pair && swap === this.#swap) return false;
        this.#hold(pair);
        this.#swap = swap;
        this.#isShown = true;
        return true;
    }

    /** @param {Pair} pair */
    #hold(pair) {
        if (pair === this.#pair) return;
        this.#pair = pair;
        fill(this.#textures.left, pair.left);
        fill(this.#textures.right, pair.right);
    }

    dispose() {
        this.#textures.left.dispose();
        this.#textures.right.dispose();
    }
}
