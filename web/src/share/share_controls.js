// SPDX-License-Identifier: GPL-3.0-or-later
import { OrbitControls } from "../OrbitControls3d.js";

/** @typedef {import("./start_view.js").Limits} Limits */

/** Part of the full circle by which a drag over the window's height turns a limited view. */
const kLimitedSpeed = 0.12;
const kFreeSpeed = 0.5;
/** How soon a turn ends after a drag. */
const kDamping = 0.15;

/**
 * Orbit controls of a shared scene. Within limits a view turns a little about the scene's middle;
 * zooming and panning choose a part of the photograph's plane, as for a picture, so that the eye
 * stays where the scene is whole.
 */
export class ShareControls extends OrbitControls {
    #limits;
    #onCrop;

    /**
     * @param {import("three").PerspectiveCamera} camera with the view that turns are counted from
     * @param {HTMLElement} element
     * @param {import("three").Vector3} target
     * @param {Limits | null} limits
     * @param {(factor: number, dx: number, dy: number) => void} onCrop zooms in by a factor and
     *     shifts the picture by pixels to the right and down
     */
    constructor(camera, element, target, limits, onCrop) {
        super(camera, element);
        this.#limits = limits;
        this.#onCrop = onCrop;
        this.target.copy(target);
        this.enableDamping = true;
        this.dampingFactor = kDamping;
        this.rotateSpeed = limits === null ? kFreeSpeed : kLimitedSpeed;
        this.minPolarAngle = 0.1;
        this.maxPolarAngle = 0.75 * Math.PI;
        if (limits !== null) {
            this.minAzimuthAngle = Math.PI - limits.turn;
            this.maxAzimuthAngle = Math.PI + limits.turn;
            this.minPolarAngle = Math.PI / 2 - limits.raise;
            this.maxPolarAngle = Math.PI / 2 + limits.raise;
        }
        this.update();
        this.saveState();
    }

    /**
     * A turn that ends at a limit is over: what was left of it would come back later.
     * @override
     * @param {number | null} [deltaTime] seconds
     * @returns {boolean} whether the view changed
     */
    update(deltaTime = null) {
        const moved = super.update(deltaTime);
        if (!moved && this.enableDamping) this.#finishTurn();
        return moved;
    }

    /** @override */
    reset() {
        this.#finishTurn();
        super.reset();
    }

    #finishTurn() {
        this.enableDamping = false;
        super.update();
        this.enableDamping = true;
    }

    /**
     * @param {import("./motion.js").Turn} turn
     * @returns {import("./motion.js").Turn} as much of it as the limits leave
     */
    within({ yaw, pitch }) {
        if (this.#limits === null) return { yaw, pitch };
        const { turn, raise } = this.#limits;
        // The start's azimuth is pi, which is also minus pi.
        const azimuth = this.getAzimuthalAngle();
        const now = azimuth > 0 ? azimuth - Math.PI : azimuth + Math.PI;
        const up = this.getPolarAngle() - Math.PI / 2;
        return {
            yaw: Math.max(-turn, Math.min(turn, now + yaw)) - now,
            pitch: Math.max(-raise, Math.min(raise, up + pitch)) - up,
        };
    }

    /**
     * @override
     * @param {number} dollyScale below 1 for nearer
     */
    _dollyIn(dollyScale) {
        if (this.#limits === null) return super._dollyIn(dollyScale);
        this.#crop(1 / dollyScale, 0, 0);
    }

    /**
     * @override
     * @param {number} dollyScale above 1 for nearer
     */
    _dollyOut(dollyScale) {
        if (this.#limits === null) return super._dollyOut(dollyScale);
        this.#crop(dollyScale, 0, 0);
    }

    /**
     * @override
     * @param {number} dx pixels
     * @param {number} dy
     */
    _pan(dx, dy) {
        if (this.#limits === null) return super._pan(dx, dy);
        this.#crop(1, dx, dy);
    }

    /**
     * @param {number} factor
     * @param {number} dx
     * @param {number} dy
     */
    #crop(factor, dx, dy) {
        this.#onCrop(factor, dx, dy);
        this.fovChanged = true;
    }
}
