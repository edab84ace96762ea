// SPDX-License-Identifier: GPL-3.0-or-later
import { kColorAnaglyph, kDubois, kGrayAnaglyph } from "./anaglyph.js";
import { kGrid } from "./grid.js";
import { kInterlaced } from "./interlaced.js";
import { kSideBySide } from "./side_by_side.js";

/** @typedef {import("./eye_pair_effect.js").StereoMode} StereoMode */

/**
 * The stereo modes. A mode's number, by which the program and saved views know it, is its place
 * here: a further mode comes last.
 * @type {readonly StereoMode[]}
 */
export const kStereoModes = [
    kSideBySide,
    kGrid,
    kDubois,
    kColorAnaglyph,
    kGrayAnaglyph,
    kInterlaced,
];

/**
 * What a number shows that is none of a mode: the grid between two modes, and halves with each
 * eye's whole picture before the first mode and after the last.
 * @param {number} number
 * @returns {StereoMode}
 */
function substitute(number) {
    const isOutside = number < 0.5 || number > kStereoModes.length - 0.5;
    return isOutside ? { ...kSideBySide, eyeStretch: 1 } : kGrid;
}

/**
 * @param {number} number of a stereo mode, or any other
 * @returns {StereoMode}
 */
export function stereoMode(number) {
    return kStereoModes[number] ?? substitute(number);
}
