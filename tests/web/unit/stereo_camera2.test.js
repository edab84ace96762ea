// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { Matrix4, PerspectiveCamera, Vector3 } from "three";
import { StereoCamera2, middleView } from "../../../web/src/stereo_camera2.js";
import { defaultSettings } from "../../../web/src/view_settings.js";

const kTan = 0.06355187013195693; // of 40/11 degrees

/** A camera at (0, 0, 2) that looks at the origin, 90 degrees, twice as wide as high. */
function frontCamera() {
    const camera = new PerspectiveCamera(90, 2, 0.1, 500);
    camera.position.set(0, 0, 2);
    return camera;
}

/**
 * @param {{ toArray(): number[] }} actual
 * @param {number[]} expected
 */
function assertClose(actual, expected) {
    const values = actual.toArray();
    expected.forEach((value, i) => {
        assert.ok(Math.abs(values[i] - value) < 1e-9, `${i}: ${values[i]} is not ${value}`);
    });
}

test("EyesStandSideBySide", () => {
    const eyes = new StereoCamera2();
    eyes.update(frontCamera(), defaultSettings(false));
    assertClose(eyes.left.position, [0, 0, 2]);
    assertClose(eyes.right.position, [2 * kTan, 0, 2]);
});

test("EyesKeepTheCamerasDirection", () => {
    const camera = frontCamera();
    camera.position.set(2, 0, 0);
    camera.lookAt(0, 0, 0);
    const eyes = new StereoCamera2();
    eyes.update(camera, defaultSettings(false));
    // Looking along -x with y up, right is -z.
    assertClose(eyes.right.position, [2, 0, -2 * kTan]);
    assert.ok(eyes.right.quaternion.equals(camera.quaternion));
});

test("OnlyTheSkewOfTheProjectionDiffers", () => {
    const camera = frontCamera();
    const expected = camera.projectionMatrix.clone();
    const eyes = new StereoCamera2();
    eyes.update(camera, { ...defaultSettings(false), dltx: 10 });
    expected.elements[8] = -0.025;
    assertClose(eyes.left.projectionMatrix, expected.elements);
    expected.elements[8] = -0.006775935065978463;
    assertClose(eyes.right.projectionMatrix, expected.elements);
});

test("InverseProjectionFollowsTheSkew", () => {
    const eyes = new StereoCamera2();
    eyes.update(frontCamera(), { ...defaultSettings(false), dltx: 10 }, 2);
    const product = eyes.left.projectionMatrix.clone().multiply(eyes.left.projectionMatrixInverse);
    assertClose(product, new Matrix4().elements);
});

test("StretchDoublesTheWidthOnly", () => {
    const eyes = new StereoCamera2();
    eyes.update(frontCamera(), { ...defaultSettings(false), dltx: 10 }, 2);
    for (const eye of [eyes.left, eyes.right]) {
        assert.ok(Math.abs(eye.projectionMatrix.elements[0] - 1) < 1e-12); // (1 / 2) * 2
        assert.ok(Math.abs(eye.projectionMatrix.elements[5] - 1) < 1e-12);
    }
    assert.ok(Math.abs(eyes.left.projectionMatrix.elements[8] + 0.025) < 1e-12);
});

test("WithoutStretchTheWidthStays", () => {
    const eyes = new StereoCamera2();
    eyes.update(frontCamera(), defaultSettings(false));
    assert.ok(Math.abs(eyes.left.projectionMatrix.elements[0] - 0.5) < 1e-12);
});

test("ZoomScalesTheProjectionButNotTheSkew", () => {
    const camera = frontCamera();
    camera.zoom = 2;
    camera.updateProjectionMatrix();
    const eyes = new StereoCamera2();
    eyes.update(camera, { ...defaultSettings(false), dltx: 10 });
    assert.ok(Math.abs(eyes.left.projectionMatrix.elements[0] - 1) < 1e-12);
    assert.ok(Math.abs(eyes.left.projectionMatrix.elements[8] + 0.025) < 1e-12);
});

test("CameraIsLeftAloneButForItsRight", () => {
    const camera = /** @type {PerspectiveCamera & { right?: Vector3 }} */ (frontCamera());
    const before = camera.projectionMatrix.clone();
    new StereoCamera2().update(camera, defaultSettings(true), 2);
    assertClose(camera.position, [0, 0, 2]);
    assert.ok(camera.projectionMatrix.equals(before));
    assertClose(/** @type {Vector3} */ (camera.right), [1, 0, 0]);
});

test("EveryUpdateStartsAnew", () => {
    const camera = frontCamera();
    const eyes = new StereoCamera2();
    eyes.update(camera, defaultSettings(false), 2);
    eyes.update(camera, defaultSettings(false), 2);
    assertClose(eyes.right.position, [2 * kTan, 0, 2]);
    assert.ok(Math.abs(eyes.right.projectionMatrix.elements[0] - 1) < 1e-12);
});

test("MiddleViewIsHalfwayBetweenTheEyes", () => {
    const view = new Matrix4();
    middleView(frontCamera(), defaultSettings(false), view);
    assertClose(new Vector3().setFromMatrixPosition(view), [kTan, 0, 2]);
});
