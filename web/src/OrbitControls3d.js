// SPDX-License-Identifier: GPL-3.0-or-later
import { OrbitControls as StockOrbitControls } from "three/addons/controls/OrbitControls.js";

/** Share of the angle by which a drag turns the view while the zoom acts on the field of view. */
const kFovRotateShare = 0.25;
/** Degrees (times `fovZoomSpeed`) of one programmatic zoom step on the field of view. */
const kFovStep = 0.2;
/** Distance factor of one programmatic zoom step. */
const kDistanceStep = 0.995;
/** `deltaY` of one notch of the wheel. */
const kWheelNotch = 100;
/** Taken from the two-finger zoom factor: fingers at rest still zoom a little. */
const kPinchOffset = 0.8;

/**
 * three's orbit controls with a second way to zoom (`usefov`: the field of view changes and the
 * distance stays, which suits a scene that was seen from one point only) and with entry points for
 * gestures that come from outside the page.
 */
export class OrbitControls extends StockOrbitControls {
    /** Set to 100 by every pointer move and programmatic move. */
    anicnt = 0;
    /** Zoom changes the field of view instead of the distance. */
    usefov = false;
    /** Degrees. */
    minFov = 1;
    /** Degrees. */
    maxFov = 100;
    /** Degrees per unit of zoom scale. */
    fovZoomSpeed = 0.5;
    /** The field of view has changed since the last update. */
    fovChanged = false;

    /**
     * @param {import("three").Camera} camera
     * @param {HTMLElement | null} [domElement]
     */
    constructor(camera, domElement = null) {
        super(camera, domElement);
        // The stock listener is attached at each pointerdown by this name.
        const stockPointerMove = this._onPointerMove;
        this._onPointerMove = (/** @type {PointerEvent} */ event) => {
            this.anicnt = 100;
            stockPointerMove(event);
        };
    }

    /**
     * A changed field of view counts as a change of the view.
     * @override
     * @param {number | null} [deltaTime] seconds, for the automatic rotation only
     * @returns {boolean} whether the view changed
     */
    update(deltaTime = null) {
        // Cleared first: a listener of 'change' may call update() again.
        const fovChanged = this.fovChanged;
        this.fovChanged = false;
        const moved = super.update(deltaTime);
        if (fovChanged && !moved) this.dispatchEvent({ type: "change" });
        return moved || fovChanged;
    }

    /**
     * Turns the azimuth at the next update, as a pointer drag would.
     * @param {number} angle radians
     */
    rotateLeft(angle) {
        this._rotateLeft(angle);
    }

    /**
     * @override
     * @param {number} angle radians
     */
    _rotateLeft(angle) {
        super._rotateLeft(this.usefov ? -kFovRotateShare * angle : angle);
    }

    /**
     * @override
     * @param {number} angle radians
     */
    _rotateUp(angle) {
        super._rotateUp(this.usefov ? -kFovRotateShare * angle : angle);
    }

    /**
     * @override
     * @param {number} dollyScale
     */
    _dollyOut(dollyScale) {
        const camera = this.#fovCamera();
        if (!camera) return super._dollyOut(dollyScale);
        this.#setFov(camera, Math.min(this.maxFov, camera.fov + dollyScale * this.fovZoomSpeed));
    }

    /**
     * @override
     * @param {number} dollyScale
     */
    _dollyIn(dollyScale) {
        const camera = this.#fovCamera();
        if (!camera) return super._dollyIn(dollyScale);
        this.#setFov(camera, Math.max(this.minFov, camera.fov - dollyScale * this.fovZoomSpeed));
    }

    /**
     * @override
     * @param {PointerEvent} event
     */
    _handleTouchMoveDolly(event) {
        if (!this.usefov) return super._handleTouchMoveDolly(event);
        const other = this._getSecondPointerPosition(event);
        this._dollyEnd.set(0, Math.hypot(event.pageX - other.x, event.pageY - other.y));
        const scale = Math.pow(this._dollyEnd.y / this._dollyStart.y, this.zoomSpeed);
        if (scale > 1) {
            this._dollyIn(scale - kPinchOffset);
        } else if (scale <= 1) {
            this._dollyOut(1 / scale - kPinchOffset);
        } // neither: both fingers lie on one point, and no zoom follows from 0 / 0
        this._dollyStart.copy(this._dollyEnd);
    }

    /**
     * Starts a rotation.
     * @param {number} x client coordinate
     * @param {number} y client coordinate
     */
    handleMouseDownRotateset(x, y) {
        this._handleMouseDownRotate({ clientX: x, clientY: y });
    }

    /**
     * Continues a rotation and updates.
     * @param {number} x client coordinate
     * @param {number} y client coordinate
     */
    handleMouseMoveRotateset(x, y) {
        this.anicnt = 100;
        this._handleMouseMoveRotate({ clientX: x, clientY: y });
    }

    /**
     * Starts a pan.
     * @param {number} x client coordinate
     * @param {number} y client coordinate
     */
    handleMouseDownPanset(x, y) {
        this._handleMouseDownPan({ clientX: x, clientY: y });
    }

    /**
     * Continues a pan and updates.
     * @param {number} x client coordinate
     * @param {number} y client coordinate
     */
    handleMouseMovePanset(x, y) {
        this.anicnt = 100;
        this._handleMouseMovePan({ clientX: x, clientY: y });
    }

    /**
     * Zooms by one fixed step and updates.
     * @param {number} x in when positive, otherwise out
     */
    handleTouchMoveDollyset(x) {
        this.anicnt = 100;
        const step = this.usefov ? kFovStep : kDistanceStep;
        if (x > 0) {
            this._dollyIn(step);
        } else {
            this._dollyOut(step);
        }
        this.update();
    }

    /**
     * Turns as a drag over so many pixels does, and updates. A drag that is under way goes on from
     * where it is.
     * @param {number} dx
     * @param {number} dy
     */
    turnBy(dx, dy) {
        const element = /** @type {HTMLElement} */ (this.domElement);
        const angle = (2 * Math.PI * this.rotateSpeed) / element.clientHeight;
        this.anicnt = 100;
        this._rotateLeft(dx * angle);
        this._rotateUp(dy * angle);
        this.update();
    }

    /**
     * Pans as a drag over so many pixels does, and updates.
     * @param {number} dx
     * @param {number} dy
     */
    panBy(dx, dy) {
        this.anicnt = 100;
        this._pan(dx * this.panSpeed, dy * this.panSpeed);
        this.update();
    }

    /**
     * Zooms as one notch of the wheel does, and updates.
     * @param {boolean} isIn
     */
    zoomStep(isIn) {
        const scale = this._getZoomScale(kWheelNotch);
        this.anicnt = 100;
        if (isIn) this._dollyIn(scale);
        else this._dollyOut(scale);
        this.update();
    }

    /** @returns {import("three").PerspectiveCamera | null} the camera whose field of view zooms */
    #fovCamera() {
        const camera = /** @type {import("three").PerspectiveCamera} */ (this.object);
        return this.usefov && camera.isPerspectiveCamera ? camera : null;
    }

    /**
     * @param {import("three").PerspectiveCamera} camera
     * @param {number} fov degrees
     */
    #setFov(camera, fov) {
        camera.fov = fov;
        camera.updateProjectionMatrix();
        this.fovChanged = true;
    }
}
