// SPDX-License-Identifier: GPL-3.0-or-later
import { eyePixels } from "./effects/eye_pixels.js";

/** Covers what was there before. */
const kOpaque = 0xff000000;

/** A screen that is drawn pixel by pixel, for browsers without WebGL 2. */
export class CanvasScreen {
    element = document.createElement("canvas");
    /** Device pixels for a CSS pixel. */
    ratio = 1;
    #context = this.element.getContext("2d", { alpha: false });
    /** Of the canvas's size. */
    #image = new ImageData(1, 1);
    #drawn = new Uint32Array(1);

    /**
     * Empties the canvas only when its size changes.
     * @param {number} width CSS pixels
     * @param {number} height CSS pixels
     */
    setSize(width, height) {
        const columns = Math.max(1, Math.floor(width * this.ratio));
        const rows = Math.max(1, Math.floor(height * this.ratio));
        this.element.style.width = `${width}px`;
        this.element.style.height = `${height}px`;
        if (this.element.width === columns && this.element.height === rows) return;
        this.element.width = columns;
        this.element.height = rows;
    }

    /**
     * @param {(pixels: import("./effects/eye_pixels.js").EyePixels) => void} fill gets rows from the
     *     bottom up
     */
    draw(fill) {
        const { width, height } = this.element;
        if (this.#image.width !== width || this.#image.height !== height) {
            this.#image = new ImageData(width, height);
            this.#drawn = new Uint32Array(width * height);
        }
        const drawn = this.#drawn;
        fill({ words: drawn, width, height });
        const { words: shown } = eyePixels(this.#image.data, width, height);
        for (let y = 0, to = 0; y < height; ++y) {
            for (let from = (height - 1 - y) * width, end = from + width; from < end; ++from, ++to) {
                shown[to] = drawn[from] | kOpaque;
            }
        }
        this.#context?.putImageData(this.#image, 0, 0);
    }
}
