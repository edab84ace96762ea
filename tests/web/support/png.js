// SPDX-License-Identifier: GPL-3.0-or-later
import { inflateSync } from "node:zlib";

/**
 * A picture as the screen shows it.
 * @typedef {object} Picture
 * @property {number} width
 * @property {number} height
 * @property {(x: number, y: number) => [number, number, number]} at red, green, blue, 0..255; row 0
 *     is the top
 */

/**
 * @param {number} a left
 * @param {number} b above
 * @param {number} c above left
 */
function paeth(a, b, c) {
    const p = a + b - c;
    const [da, db, dc] = [Math.abs(p - a), Math.abs(p - b), Math.abs(p - c)];
    if (da <= db && da <= dc) return a;
    return db <= dc ? b : c;
}

/**
 * Decodes what browsers write: 8 bits, RGB or RGBA, not interlaced.
 * @param {Buffer} png
 * @returns {Picture}
 */
export function decodePng(png) {
    const width = png.readUInt32BE(16);
    const height = png.readUInt32BE(20);
    const [depth, type, , , interlace] = png.subarray(24, 29);
    if (depth !== 8 || interlace !== 0 || (type !== 2 && type !== 6)) {
        throw new Error("A PNG of another kind");
    }
    const data = [];
    for (let at = 8; at < png.length; ) {
        const length = png.readUInt32BE(at);
        if (png.toString("latin1", at + 4, at + 8) === "IDAT") {
            data.push(png.subarray(at + 8, at + 8 + length));
        }
        at += 12 + length;
    }
    const step = type === 6 ? 4 : 3;
    const pixels = unfilter(inflateSync(Buffer.concat(data)), width * step, height, step);
    return {
        width,
        height,
        at(x, y) {
            const i = (y * width + x) * step;
            return [pixels[i], pixels[i + 1], pixels[i + 2]];
        },
    };
}

/**
 * @param {Buffer} raw rows, each after its filter's number
 * @param {number} stride bytes of a row
 * @param {number} height
 * @param {number} step bytes of a pixel
 */
function unfilter(raw, stride, height, step) {
    const out = new Uint8Array(stride * height);
    for (let y = 0; y < height; ++y) {
        const filter = raw[y * (stride + 1)];
        for (let x = 0; x < stride; ++x) {
            const i = y * stride + x;
            const a = x >= step ? out[i - step] : 0;
            const b = y > 0 ? out[i - stride] : 0;
            const c = x >= step && y > 0 ? out[i - stride - step] : 0;
            const predicted = [0, a, b, (a + b) >> 1, paeth(a, b, c)][filter];
            out[i] = raw[y * (stride + 1) + 1 + x] + predicted;
        }
    }
    return out;
}
