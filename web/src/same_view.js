// SPDX-License-Identifier: GPL-3.0-or-later
/** Part of its size by which a view's number may differ without being another view's. */
const kRounding = 1e-9;

/**
 * The controls compute the camera's position anew for every frame, so its last bits differ.
 * @param {ArrayLike<number>} a numbers that make up a view
 * @param {ArrayLike<number>} b
 * @returns {boolean} whether both are the same view
 */
export function sameView(a, b) {
    return Array.prototype.every.call(a, (value, i) => {
        const other = b[i];
        return Math.abs(value - other) <= kRounding * Math.max(1, Math.abs(other));
    });
}
