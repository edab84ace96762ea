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

/** Nearer to a texel than this a coordinate means that texel alone. */
const kExact = 1 / 512;

/**
 * The two texels between which a texture's coordinate lies.
 * @param {number} at 0 to 1; the outermost texels go on beyond
 * @param {number} size texels
 * @returns {{ low: number, high: number, share: number }} with the share of the high one
 */
function texelsAt(at, size) {
    const place = at * size - 0.5;
    const low = Math.floor(place + kExact);
    const share = place - low;
    const inside = (/** @type {number} */ texel) => Math.min(Math.max(texel, 0), size - 1);
    return { low: inside(low), high: inside(low + 1), share: share < kExact ? 0 : share };
}

/**
 * Reads an eye's picture for whole rows of the screen, as a texture is read: between texels their
 * colours are mixed.
 */
export class EyeRows {
    #picture;
    #columns;
    #isExact;
    /** @type {Uint32Array} */
    #row;

    /**
     * @param {EyePixels} picture
     * @param {number} count of pixels in a row of the screen
     * @param {(at: number) => number} [across] the picture's coordinate for one of the screen, 0 to 1
     */
    constructor(picture, count, across = (at) => at) {
        this.#picture = picture;
        this.#columns = Array.from({ length: count }, (_, x) => {
            return texelsAt(across((x + 0.5) / count), picture.width);
        });
        this.#isExact = this.#columns.every(({ share }) => share === 0);
        this.#row = new Uint32Array(count);
    }

    /**
     * @param {number} at the picture's vertical coordinate, 0 to 1
     * @returns {Uint32Array} a word for each of the screen's columns; valid until the next call
     */
    row(at) {
        const { low, high, share } = texelsAt(at, this.#picture.height);
        const { words, width } = this.#picture;
        const below = words.subarray(low * width, (low + 1) * width);
        if (share > 0 || !this.#isExact) {
            this.#mix(below, words.subarray(high * width, (high + 1) * width), share);
        } else {
            this.#columns.forEach(({ low: column }, x) => (this.#row[x] = below[column]));
        }
        return this.#row;
    }

    /**
     * @param {Uint32Array} below a row of the picture
     * @param {Uint32Array} above the next one
     * @param {number} upShare of the next one
     */
    #mix(below, above, upShare) {
        const bytes = new Uint8ClampedArray(this.#row.buffer);
        this.#columns.forEach(({ low, high, share }, x) => {
            const a = below[low];
            const b = below[high];
            const c = above[low];
            const d = above[high];
            for (let shift = 0, at = 4 * x; shift < 24; shift += 8, ++at) {
                const down = mix((a >> shift) & 255, (b >> shift) & 255, share);
                const up = mix((c >> shift) & 255, (d >> shift) & 255, share);
                bytes[at] = mix(down, up, upShare);
            }
        });
    }
}

/**
 * @param {number} a
 * @param {number} b
 * @param {number} share of b
 */
function mix(a, b, share) {
    return a + share * (b - a);
}
