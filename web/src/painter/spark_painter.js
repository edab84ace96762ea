// SPDX-License-Identifier: GPL-3.0-or-later
import { Matrix4 } from "three";
import { SplatScene } from "../splat_scene.js";
import { SplatSorter } from "../splat_sorter.js";
import { middleView } from "../stereo_camera2.js";
import { EyeTargets } from "./eye_targets.js";

/** @typedef {import("./eye_pictures.js").Painter} Painter */

/**
 * Paints with Spark, on the graphics card.
 * @implements {Painter}
 */
export class SparkPainter {
    #renderer;
    #splats;
    #sorter;
    #middleView = new Matrix4();

    /**
     * @param {import("three").WebGLRenderer} renderer
     * @param {() => void} onChange a frame would show something new
     */
    constructor(renderer, onChange) {
        this.#renderer = renderer;
        this.#splats = new SplatScene(renderer);
        this.#sorter = new SplatSorter((viewToWorld) => this.#splats.sort(viewToWorld), onChange);
    }

    /**
     * @param {ArrayBuffer} bytes
     * @param {string} name
     */
    async show(bytes, name) {
        const shown = this.#splats.show(bytes, name);
        this.#sorter.invalidate();
        if (!(await shown)) return false;
        this.#sorter.invalidate();
        return true;
    }

    /** @param {import("../effects/eye_pair_effect.js").StereoMode} mode */
    pictures(mode) {
        return new EyeTargets(this.#renderer, this.#splats.scene, mode);
    }

    /** What a headset's camera looks at. */
    get scene() {
        return this.#splats.scene;
    }

    /** @param {Matrix4} viewToWorld the view to have the drawing order of */
    sortFor(viewToWorld) {
        this.#sorter.request(viewToWorld);
    }

    /**
     * @param {import("three").PerspectiveCamera} camera
     * @param {import("../view_settings.js").ViewSettings} settings
     */
    drawn(camera, settings) {
        const wasSorted = this.#sorter.isSorted;
        middleView(camera, settings, this.#middleView);
        this.sortFor(this.#middleView);
        return wasSorted && this.#sorter.isSorted;
    }
}
