// SPDX-License-Identifier: GPL-3.0-or-later
import { Group, PerspectiveCamera } from "three";

/** A unit of the scene is a metre. */
const kNear = 0.05;
const kFar = 1000;

/** @returns {Promise<boolean>} whether the browser has a headset to show pictures in */
export async function hasHeadset() {
    if (!window.isSecureContext || !navigator.xr) return false;
    return navigator.xr.isSessionSupported("immersive-vr").catch(() => false);
}

/**
 * Shows the scene in a headset at its true size: the photograph was taken where the head is when the
 * session starts, in the direction in which it looks.
 * @param {import("../stage.js").Headset} headset
 * @returns {Promise<{ end: () => Promise<void>, ended: Promise<void> }>} `ended` when the page has
 *     its canvas back
 * @throws whatever keeps the session from starting
 */
export async function enterHeadset({ renderer, painter }) {
    const session = await /** @type {XRSystem} */ (navigator.xr).requestSession("immersive-vr");
    const { xr } = renderer;
    const camera = new PerspectiveCamera(50, 1, kNear, kFar);
    // Headsets have y upwards and look along -z.
    const photographer = new Group();
    photographer.rotation.x = Math.PI;
    photographer.add(camera);
    photographer.updateMatrixWorld();
    /** @type {Promise<void>} */
    const ended = new Promise((resolve) => {
        session.addEventListener("end", () => {
            renderer.setAnimationLoop(null);
            xr.enabled = false;
            resolve();
        });
    });
    try {
        xr.enabled = true;
        xr.setReferenceSpaceType("local");
        await xr.setSession(session);
    } catch (error) {
        await session.end().catch(() => {});
        throw error;
    }
    renderer.setAnimationLoop(() => {
        renderer.setRenderTarget(null);
        renderer.render(painter.scene, camera);
        painter.sortFor(camera.matrixWorld);
    });
    return { end: () => session.end(), ended };
}
