// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Where a point of the world appears on the screen, worked out from the viewing geometry alone and
 * without the page's own modules.
 */

/** @typedef {[number, number, number]} Vector */

/**
 * @param {Vector} a
 * @param {Vector} b
 * @returns {number}
 */
function dot(a, b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/**
 * @param {Vector} a
 * @param {Vector} b
 * @returns {Vector}
 */
function cross(a, b) {
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
}

/**
 * @param {Vector} a
 * @returns {Vector}
 */
function unit(a) {
    const length = Math.sqrt(dot(a, a));
    return [a[0] / length, a[1] / length, a[2] / length];
}

/**
 * @typedef {object} View
 * @property {Vector} position of the camera
 * @property {Vector} [target] that it looks at, the origin when absent
 * @property {number} fov vertical, degrees
 * @property {number} width of the picture that is shown whole, pixels
 * @property {number} height of that picture, pixels
 * @property {number} dltx
 * @property {number} dpt
 * @property {boolean} sharp
 * @property {boolean} [half] the eye has half of the width, at the same scale
 */

/**
 * Column and row (from the top) of a point in one eye's picture, in pixels of a picture of
 * width x height, or of half the width where `half` is set.
 * @param {Vector} point
 * @param {View} view
 * @param {"left" | "right"} side
 * @returns {{ x: number, y: number }}
 */
export function pixelOf(point, view, side) {
    const target = view.target ?? [0, 0, 0];
    const forward = unit(/** @type {Vector} */ (target.map((t, i) => t - view.position[i])));
    const right = unit(cross(forward, [0, -1, 0]));
    const up = cross(right, forward);
    const distance = Math.sqrt(dot(view.position, view.position));
    const degrees = side === "left" ? (20 - view.dpt / 5) / 11 : (20 + view.dpt / 5) / 11;
    const offset = distance * Math.tan((degrees * Math.PI) / 180);
    const shift = view.dltx * (view.sharp ? 0.001 : 0.01) * (side === "left" ? 1 : -1);
    const fromEye = /** @type {Vector} */ (
        point.map((p, i) => p - view.position[i] - offset * right[i])
    );
    const depth = dot(fromEye, forward);
    const tangent = Math.tan((view.fov * Math.PI) / 360);
    const aspect = view.width / view.height;
    // A point at the origin's distance that lies straight ahead of the camera stays where it is
    // when the eye moves away from it, but for the shift.
    const skew = (2 * (offset + shift)) / (2 * distance * tangent * aspect);
    let x = (dot(fromEye, right) / (depth * tangent * aspect)) * (view.half ? 2 : 1) + skew;
    const y = dot(fromEye, up) / (depth * tangent);
    const columns = view.half ? view.width / 2 : view.width;
    return { x: ((x + 1) / 2) * columns, y: ((1 - y) / 2) * view.height };
}

/**
 * Centre of what is bright in one colour, in a part of a picture.
 * @param {import("./png.js").Picture} picture
 * @param {0 | 1 | 2} channel
 * @param {{ x?: number, y?: number, width?: number, height?: number }} [part]
 * @returns {{ x: number, y: number, sum: number }} relative to the part; NaN where all is dark
 */
export function centreOf(picture, channel, part = {}) {
    const { x: left = 0, y: top = 0, width = picture.width, height = picture.height } = part;
    let [sum, sumX, sumY] = [0, 0, 0];
    for (let y = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) {
            const value = picture.at(left + x, top + y)[channel];
            sum += value;
            sumX += value * (x + 0.5);
            sumY += value * (y + 0.5);
        }
    }
    return { x: sumX / sum, y: sumY / sum, sum };
}
