// SPDX-License-Identifier: GPL-3.0-or-later
/** Words of a Gaussian as Spark packs it: colour; x and y; z and more; sizes and more. */
const kWords = 4;
/** Exponent of a 16-bit float; all of it is set in what is infinite or no number. */
const kExponent = 0x7c00;

/** @param {number} half the lower 16 bits are a float */
function isFinite16(half) {
    return (half & kExponent) !== kExponent;
}

/**
 * @param {Uint32Array} packed Gaussians
 * @param {number} count of them
 * @returns {boolean} whether one of them is somewhere
 */
export function isAnyPlaced(packed, count) {
    for (let at = 0; at < count * kWords; at += kWords) {
        const [xy, z] = [packed[at + 1], packed[at + 2]];
        if (isFinite16(xy) && isFinite16(xy >>> 16) && isFinite16(z)) return true;
    }
    return false;
}
