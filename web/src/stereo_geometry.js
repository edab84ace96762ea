// SPDX-License-Identifier: GPL-3.0-or-later
/** The eyes are two of a row of views that spans this cone about the centre. */
const kViews = 12;
/** Half of the view cone, degrees. */
const kHalfCone = 20;

/**
 * One eye, relative to the viewing camera.
 * @typedef {object} Eye
 * @property {number} offset shift along the camera's right, world units
 * @property {number} skew row 0, column 2 of the eye's projection matrix
 */

/**
 * Angle between the viewing camera and an eye, seen from the world origin.
 * @param {number} dpt depth value
 * @param {-1 | 1} side -1 left, 1 right
 * @returns {number} degrees
 */
export function eyeAngle(dpt, side) {
    const t = (kViews / 2 + (side * dpt) / 200) / (kViews - 1);
    return -kHalfCone + 2 * kHalfCone * t;
}

/**
 * Shift of an eye along the camera's right.
 * @param {number} distance of the camera from the world origin
 * @param {number} dpt depth value
 * @param {-1 | 1} side -1 left, 1 right
 * @returns {number} world units
 */
export function eyeOffset(distance, dpt, side) {
    return distance * Math.tan((eyeAngle(dpt, side) * Math.PI) / 180);
}

/**
 * The eyes about a centre (the world origin where the page names no other). The pair is not
 * centred on the camera: at the neutral depth of 100 the left eye is where the camera is.
 * @param {object} view
 * @param {number} view.distance of the camera from the centre
 * @param {number} view.fov vertical field of view in degrees, as if the camera's zoom were 1
 * @param {number} view.aspect width / height
 * @param {number} view.dltx focus value
 * @param {number} view.dpt depth value
 * @param {boolean} view.bsharp SHARP mode: focus acts at a tenth
 * @returns {{ left: Eye, right: Eye }}
 */
export function eyePair({ distance, fov, aspect, dltx, dpt, bsharp }) {
    const width = 2 * distance * Math.tan((fov * Math.PI) / 360) * aspect;
    const eyeShift = dltx * (bsharp ? 0.001 : 0.01);
    const left = eyeOffset(distance, dpt, -1);
    const right = eyeOffset(distance, dpt, 1);
    return {
        left: { offset: left, skew: (-2 * (left + eyeShift)) / width },
        right: { offset: right, skew: (-2 * (right - eyeShift)) / width },
    };
}
