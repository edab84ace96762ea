// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What a shader has in WebGL, for the processor: pictures of the eyes and a screen, each with a
 * 32-bit word for a pixel (red in the lowest byte) and rows from the bottom up.
 */

/**
 * @typedef {object} EyePixels
 * @property {Uint32Array} words
 * @property {number} width
 * @property {number} height
 */

/**
 * Puts the eyes' pictures together on a screen of any size.
 * @callback CombinePixels
 * @param {EyePixels} left
 * @param {EyePixels} right of the left one's size
 * @param {EyePixels} screen is filled; alpha does not matter
 */

/**
 * @param {Uint8ClampedArray} bytes
 * @param {number} width
 * @param {number} height
 * @returns {EyePixels}
 */
export function eyePixels(bytes, width, height) {
    return { words: new Uint32Array(bytes.buffer, bytes.byteOffset, width * height), width, height };
}

/**
 * The texel that a texture's coordinate is nearest to.
 * @param {number} at 0 to 1; the outermost texels go on beyond
 * @param {number} size texels
 */
function nearest(at, size) {
    return Math.min(Math.max(Math.floor(at * size), 0), size - 1);
}

/**
 * @param {number} count of pixels in a row of the screen
 * @param {number} size of a row of a picture
 * @param {(at: number) => number} coordinate of the picture for one of the screen, 0 to 1
 * @returns {Uint32Array} the picture's column for each of the screen's
 */
export function columnsFor(count, size, coordinate = (at) => at) {
    return Uint32Array.from({ length: count }, (_, x) => {
        return nearest(coordinate((x + 0.5) / count), size);
    });
}

/**
 * @param {EyePixels} picture
 * @param {number} y row of the screen
 * @param {number} height of the screen
 * @returns {Uint32Array} the picture's row that is shown there
 */
export function rowFor({ words, width, height: rows }, y, height) {
    const first = width * nearest((y + 0.5) / height, rows);
    return words.subarray(first, first + width);
}

/**
 * The texels between which a texture's coordinate lies.
 * @param {number} at 0 to 1; the outermost texels go on beyond
 * @param {number} size texels
 * @returns {{ low: number, high: number, share: number }} with the share of the high one
 */
export function linear(at, size) {
    const place = at * size - 0.5;
    const low = Math.floor(place);
    const inside = (/** @type {number} */ texel) => Math.min(Math.max(texel, 0), size - 1);
    return { low: inside(low), high: inside(low + 1), share: place - low };
}
