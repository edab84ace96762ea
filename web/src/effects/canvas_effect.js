// SPDX-License-Identifier: GPL-3.0-or-later
import { StereoCamera2 } from "../stereo_camera2.js";
import { pictureSize } from "./eye_pair_effect.js";
import { eyePixels } from "./eye_pixels.js";

/** @typedef {import("./eye_pair_effect.js").Effect} Effect */
/** @typedef {import("./eye_pair_effect.js").StereoMode} StereoMode */

/**
 * @param {import("three").Texture} texture with its picture in memory
 * @returns {import("./eye_pixels.js").EyePixels}
 */
function pixelsOf({ image: { data, width, height } }) {
    return eyePixels(data, width, height);
}

/**
 * An effect whose pictures are combined on the processor.
 * @implements {Effect}
 */
export class CanvasEffect {
    #screen;
    #settings;
    #mode;
    #pictures;
    #eyes = new StereoCamera2();

    /**
     * @param {import("../canvas_screen.js").CanvasScreen} screen
     * @param {import("../view_settings.js").ViewSettings} settings read at every render
     * @param {StereoMode} mode
     * @param {import("../painter/eye_pictures.js").EyePictures} pictures in memory, which the
     *     effect disposes
     */
    constructor(screen, settings, mode, pictures) {
        this.#screen = screen;
        this.#settings = settings;
        this.#mode = mode;
        this.#pictures = pictures;
    }

    /**
     * @param {number} width
     * @param {number} height
     */
    setSize(width, height) {
        this.#screen.setSize(width, height);
        this.#pictures.setSize(...pictureSize(this.#mode, width, height, this.#screen.ratio));
    }

    /**
     * @param {import("three").PerspectiveCamera} camera
     * @param {boolean} swap
     */
    render(camera, swap) {
        camera.updateMatrixWorld();
        this.#eyes.update(camera, this.#settings, this.#mode.eyeStretch);
        if (!this.#pictures.paint(this.#eyes, swap)) return false;
        const { left, right } = this.#pictures;
        this.#screen.draw((pixels) => {
            this.#mode.combinePixels(pixelsOf(left), pixelsOf(right), pixels);
        });
        return true;
    }

    /** Nothing is to be done before another effect takes over. */
    end() {}

    /** Frees the pictures. */
    dispose() {
        this.#pictures.dispose();
    }
}
