// SPDX-License-Identifier: GPL-3.0-or-later
import { kStereoModes } from "./effects/stereo_modes.js";

const kKey = "cameraState";

/**
 * The saved view. A member that is missing or of another type is left alone by a restore.
 * @typedef {object} SavedView
 * @property {[number, number, number]} [position] of the camera
 * @property {[number, number, number]} [target] that the camera orbits
 * @property {number} [fov] degrees
 * @property {number} [zoom]
 * @property {boolean} [swap]
 * @property {number} [dltx]
 * @property {number} [dpt]
 * @property {number} [stType] number of the stereo mode
 */

/**
 * @param {unknown} value
 * @returns {number | undefined}
 */
function finite(value) {
    return typeof value === "number" && Number.isFinite(value) ? value : undefined;
}

/**
 * @param {unknown} value
 * @returns {number | undefined}
 */
function positive(value) {
    const number = finite(value);
    return number !== undefined && number > 0 ? number : undefined;
}

/**
 * @param {unknown} value
 * @returns {number | undefined}
 */
function modeNumber(value) {
    const number = finite(value);
    return number !== undefined && kStereoModes[number] ? number : undefined;
}

/**
 * @param {unknown} value
 * @returns {[number, number, number] | undefined}
 */
function vector(value) {
    if (!Array.isArray(value) || value.length !== 3) return undefined;
    if (value.some((component) => finite(component) === undefined)) return undefined;
    return [value[0], value[1], value[2]];
}

/**
 * @param {string} text
 * @returns {SavedView}
 * @throws {Error} when the text is no JSON object
 */
export function parseSavedView(text) {
    const json = JSON.parse(text);
    if (typeof json !== "object" || json === null || Array.isArray(json)) {
        throw new TypeError("The saved view is no object");
    }
    return {
        position: vector(json.position),
        target: vector(json.target),
        fov: positive(json.fov),
        zoom: positive(json.zoom),
        swap: typeof json.swap === "boolean" ? json.swap : undefined,
        dltx: finite(json.dltx),
        dpt: finite(json.dpt),
        stType: modeNumber(json.stType),
    };
}

/**
 * @param {Storage} storage
 * @returns {SavedView | null} null when no view is saved, or when it cannot be read, which is
 *     reported to the console
 */
export function loadSavedView(storage) {
    try {
        const text = storage.getItem(kKey);
        return text === null ? null : parseSavedView(text);
    } catch {
        console.error("camera restore failed");
        return null;
    }
}

/**
 * @param {Storage} storage
 * @param {Required<SavedView>} view
 */
export function storeSavedView(storage, view) {
    storage.setItem(kKey, JSON.stringify(view));
}
