// SPDX-License-Identifier: GPL-3.0-or-later
import { SceneError } from "../texts.js";

/**
 * A photograph's camera, in pixels of the photograph.
 * @typedef {object} Photograph
 * @property {number} focalX
 * @property {number} focalY
 * @property {number} centreX
 * @property {number} centreY
 * @property {number} width
 * @property {number} height
 */

/**
 * Depths that the start's camera sees, along its axis: positive and in this order.
 * @typedef {object} Depths
 * @property {number} nearest
 * @property {number} middle
 * @property {number} farthest
 */

/**
 * What is known of the scene before it is read.
 * @typedef {object} Facts
 * @property {Photograph | null} photograph
 * @property {Depths | null} depths
 * @property {boolean} free
 * @property {number} length of the scene's text, characters; 0 when unknown
 */

/**
 * @param {unknown} value
 * @returns {value is number}
 */
function isPositive(value) {
    return typeof value === "number" && Number.isFinite(value) && value > 0;
}

/**
 * @param {any} camera
 * @returns {Photograph | null}
 */
function photographOf(camera) {
    const { focalX, focalY, width, height } = camera ?? {};
    if (![focalX, focalY, width, height].every(isPositive)) return null;
    const centreX = isPositive(camera.centreX) ? camera.centreX : width / 2;
    const centreY = isPositive(camera.centreY) ? camera.centreY : height / 2;
    return { focalX, focalY, centreX, centreY, width, height };
}

/**
 * @param {any} depths
 * @returns {Depths | null}
 */
function depthsOf(depths) {
    const { nearest, middle, farthest } = depths ?? {};
    if (![nearest, middle, farthest].every(isPositive)) return null;
    return nearest <= middle && middle <= farthest ? { nearest, middle, farthest } : null;
}

/**
 * @param {string} text JSON
 * @returns {Facts} with null for what it does not tell
 * @throws {SceneError} when it is no object
 */
export function readFacts(text) {
    try {
        const { camera, depths, free, length } = JSON.parse(text);
        return {
            photograph: photographOf(camera),
            depths: depthsOf(depths),
            free: free === true,
            length: isPositive(length) ? length : 0,
        };
    } catch {
        throw new SceneError("damaged", "The scene's facts cannot be read");
    }
}
