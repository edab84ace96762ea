// SPDX-License-Identifier: GPL-3.0-or-later
import { LinearFilter, NearestFilter, RGBAFormat } from "three";

/** @typedef {import("../stereo_camera2.js").StereoCamera2} StereoCamera2 */

/**
 * What an effect combines: the pictures of the two eyes, which a painter keeps up to date.
 * @typedef {object} EyePictures
 * @property {import("three").Texture} left what goes to the left eye
 * @property {import("three").Texture} right
 * @property {(columns: number, rows: number) => void} setSize pixels that each is to have
 * @property {(eyes: StereoCamera2, swap: boolean) => boolean} paint shows what the eyes see, each
 *     to the other when swapped; whether there is something else to combine than before
 * @property {() => void} dispose
 */

/**
 * What paints the scene for both eyes.
 * @typedef {object} Painter
 * @property {(bytes: ArrayBuffer, name: string) => Promise<boolean>} show replaces what is shown
 *     by the Gaussians of a file and takes over its bytes; whether the file is still the one to
 *     show. Rejected with why it cannot be shown
 * @property {(mode: import("../effects/eye_pair_effect.js").StereoMode) => EyePictures} pictures
 *     for an effect
 * @property {(camera: import("three").PerspectiveCamera,
 *     settings: import("../view_settings.js").ViewSettings) => boolean} drawn called after each
 *     frame; whether the next one would be the same picture
 */

/**
 * Nearest when a picture's pixel meets one of the screen, so that each eye stays exact; linear where
 * the screen shows less of a picture than it holds.
 */
export const kPictureFilters = {
    minFilter: LinearFilter,
    magFilter: NearestFilter,
    format: RGBAFormat,
};
