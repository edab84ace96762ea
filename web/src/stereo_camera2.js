// SPDX-License-Identifier: GPL-3.0-or-later
import { PerspectiveCamera, Vector3 } from "three";
import { eyeOffset, eyePair } from "./stereo_geometry.js";

/**
 * The camera's right in the world, which is also stored on the camera as its `right`.
 * @param {PerspectiveCamera} camera
 * @returns {Vector3}
 */
function rightOf(camera) {
    const owner = /** @type {PerspectiveCamera & { right?: Vector3 }} */ (camera);
    owner.right ??= new Vector3();
    return owner.right.set(1, 0, 0).applyQuaternion(camera.quaternion);
}

const kOrigin = new Vector3();

/**
 * @param {PerspectiveCamera} camera
 * @param {import("./view_settings.js").ViewSettings} settings
 * @returns {number} of the camera from what the eyes' distance follows
 */
function distanceOf({ position }, { centre = kOrigin }) {
    return position.distanceTo(centre);
}

/** The two eyes' cameras, derived anew from the viewing camera for every frame. */
export class StereoCamera2 {
    left = new PerspectiveCamera();
    right = new PerspectiveCamera();

    /**
     * @param {PerspectiveCamera} camera is only read, but for its `right`
     * @param {import("./view_settings.js").ViewSettings} settings
     * @param {number} [stretch] factor on the width of the eyes' pictures
     */
    update(camera, settings, stretch = 1) {
        const eyes = eyePair({
            distance: distanceOf(camera, settings),
            fov: camera.fov,
            aspect: camera.aspect,
            dltx: settings.dltx,
            dpt: settings.dpt,
            bsharp: settings.bsharp,
        });
        const right = rightOf(camera);
        placeEye(this.left, camera, right, eyes.left, stretch);
        placeEye(this.right, camera, right, eyes.right, stretch);
    }
}

/**
 * @param {PerspectiveCamera} eye
 * @param {PerspectiveCamera} camera
 * @param {Vector3} right
 * @param {import("./stereo_geometry.js").Eye} placement
 * @param {number} stretch
 */
function placeEye(eye, camera, right, placement, stretch) {
    eye.copy(camera, false);
    eye.position.addScaledVector(right, placement.offset);
    const projection = eye.projectionMatrix.elements;
    projection[0] *= stretch;
    projection[8] = projection[8] * stretch + placement.skew; // column-major: row 0, column 2
    eye.projectionMatrixInverse.copy(eye.projectionMatrix).invert();
}

/**
 * The view halfway between the eyes.
 * @param {PerspectiveCamera} camera
 * @param {import("./view_settings.js").ViewSettings} settings
 * @param {import("three").Matrix4} viewToWorld set by the call
 */
export function middleView(camera, settings, viewToWorld) {
    const distance = distanceOf(camera, settings);
    const offset =
        (eyeOffset(distance, settings.dpt, -1) + eyeOffset(distance, settings.dpt, 1)) / 2;
    const position = rightOf(camera).clone().multiplyScalar(offset).add(camera.position);
    viewToWorld.compose(position, camera.quaternion, new Vector3(1, 1, 1));
}
