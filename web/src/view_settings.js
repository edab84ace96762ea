// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What the user chose about the picture, shared by all that draw.
 * @typedef {object} ViewSettings
 * @property {boolean} bsharp SHARP mode; otherwise general mode. Constant after start
 * @property {boolean} swap exchange the eyes
 * @property {number} dltx focus: how far the eyes' pictures are shifted against each other
 * @property {number} dpt depth: distance between the eyes, 100 is neutral
 * @property {import("three").Vector3} [centre] that the eyes' distance follows, the world's origin
 *     when absent
 */

/** Focus value that a scene made from a photograph starts with. */
export const kSharpStartFocus = 60;

/** The depth slider's neutral position. */
const kNeutralDepth = 30;

/**
 * @param {boolean} bsharp
 * @returns {ViewSettings}
 */
export function defaultSettings(bsharp) {
    return { bsharp, swap: false, dltx: 0, dpt: 100 };
}

/**
 * Maps the two slider positions to the page's values. In SHARP mode the depth slider also moves the
 * convergence, by 2 per step, so that a deeper picture stays around the screen.
 * @param {number} focus slider position
 * @param {number} depth slider position, 30 is neutral
 * @param {boolean} bsharp
 * @returns {{ dltx: number, dpt: number }}
 */
export function mapFocusDepth(focus, depth, bsharp) {
    const steps = depth - kNeutralDepth;
    return {
        dltx: bsharp ? kSharpStartFocus + focus + (steps * 16) / 8 : focus,
        dpt: 100 + (steps * 10) / 3,
    };
}
