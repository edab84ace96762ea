// SPDX-License-Identifier: GPL-3.0-or-later
import { PerspectiveCamera, Quaternion, Vector3 } from "three";
import { DrawLoop } from "../draw_loop.js";
import { createStage } from "../stage.js";
import { kShareModes } from "./flat.js";
import { enterHeadset } from "./headset.js";
import { ShareControls } from "./share_controls.js";
import { Sway, Tilt } from "./motion.js";
import { frustumOf, insidePhotograph, startViewOf, stereoOf } from "./start_view.js";

/** Frames drawn after a change, while the Gaussians are sorted. */
const kFramesAfterChange = 10;
/** More pixels than this for a CSS pixel cost a phone more time than they show. */
const kMostRatio = 2;
/** The nearest and the farthest depth that shows, of the scene's middle. */
const kNear = 0.02;
const kFar = 200;

/**
 * What the viewer tells.
 * @typedef {object} ViewerEvents
 * @property {() => void} onShown the screen shows all of the scene for the first time
 * @property {(reason: unknown) => void} onFailure the scene cannot be shown any more
 * @property {() => void} onLost the screen shows nothing until it is told otherwise
 * @property {() => void} onBack it can be drawn again; the scene has to be shown again
 */

/** A scene from around the place of its photograph. */
export class ShareViewer {
    /** Number among kShareModes. */
    mode = 0;
    focus = 0;
    depth = 50;
    /** @type {ShareControls} */
    controls;
    /** @type {Sway} */
    sway;
    #tilt;
    #start;
    #stage;
    #camera = new PerspectiveCamera();
    /** The camera with sway and tilt, which is drawn. */
    #eye = new PerspectiveCamera();
    /** @type {import("../view_settings.js").ViewSettings} */
    #settings;
    /** @type {import("./start_view.js").Crop} */
    #crop = { magnification: 1, x: 0, y: 0 };
    /** @type {import("../effects/eye_pair_effect.js").Effect | null} */
    #effect = null;
    #loop;
    #events;
    #hasScene = false;
    #isShown = false;
    /** @type {{ end: () => Promise<void> } | null} */
    #session = null;

    /**
     * @param {HTMLElement} container receives the canvas
     * @param {import("./facts.js").Facts} facts
     * @param {ViewerEvents} events
     */
    constructor(container, facts, events) {
        this.#events = events;
        this.#start = startViewOf(facts);
        const { position, target, limits, depths } = this.#start;
        const turn = limits?.turn ?? Infinity;
        this.sway = new Sway(turn);
        this.#tilt = new Tilt(Math.min(turn, 0.15));
        this.#stage = createStage(null, {
            onSorted: () => this.#loop.wake(),
            onPainted: () => this.redraw(),
            onFailure: events.onFailure,
        });
        const { element } = this.#stage;
        container.appendChild(element);
        element.addEventListener("webglcontextlost", (event) => {
            event.preventDefault(); // it may come back
            this.#hasScene = false;
            this.#isShown = false;
            events.onLost();
        });
        element.addEventListener("webglcontextrestored", events.onBack);
        this.#camera.up.set(0, -1, 0);
        this.#camera.position.set(...position);
        this.#camera.near = kNear * depths.middle;
        this.#camera.far = kFar * depths.middle;
        const centre = new Vector3(...target);
        this.#settings = { bsharp: false, swap: false, dltx: 0, dpt: 100, centre };
        this.#loop = new DrawLoop({
            update: () => this.#update(performance.now()),
            draw: () => this.#draw(),
            request: (step) => requestAnimationFrame(step),
        });
        this.controls = new ShareControls(this.#camera, element, centre, limits, (...change) => {
            this.#cropBy(...change);
        });
        this.controls.addEventListener("change", () => {
            if (!this.#loop.isUpdating) this.redraw();
        });
        this.setMode(0);
    }

    /** Draws what changed. */
    redraw() {
        this.#loop.drawFrames(kFramesAfterChange);
    }

    /** @returns {boolean} */
    get swap() {
        return this.#settings.swap;
    }

    set swap(swap) {
        this.#settings.swap = swap;
        this.redraw();
    }

    /** @param {number} number among kShareModes */
    setMode(number) {
        const mode = kShareModes[number];
        this.mode = number;
        this.#effect?.end();
        this.#effect?.dispose();
        this.#effect = this.#stage.createEffect(this.#settings, mode);
        this.setSliders(this.focus, this.depth);
        this.resize();
    }

    /**
     * @param {number} focus -50 to 50
     * @param {number} depth 0 to 100
     */
    setSliders(focus, depth) {
        this.focus = focus;
        this.depth = depth;
        const { isFlat = false } = kShareModes[this.mode];
        const neutral = { dltx: 0, dpt: 100 };
        Object.assign(this.#settings, isFlat ? neutral : stereoOf(this.#start, focus, depth));
        this.redraw();
    }

    /** Fits everything to the window. */
    resize() {
        if (this.#session !== null) return;
        const { innerWidth: width, innerHeight: height, devicePixelRatio } = window;
        this.#stage.setSize(width, height, Math.min(kMostRatio, devicePixelRatio));
        this.#effect?.setSize(width, height);
        this.#fit();
        this.redraw();
    }

    /** Back to where the photograph was taken. */
    goHome() {
        this.#crop = { magnification: 1, x: 0, y: 0 };
        this.#fit();
        this.controls.reset();
        this.redraw();
    }

    /**
     * @param {number} factor of zooming in
     * @param {number} dx pixels by which the picture moves to the right
     * @param {number} dy and down
     */
    #cropBy(factor, dx, dy) {
        const { magnification, x, y } = this.#crop;
        this.#crop = insidePhotograph({
            magnification: factor * magnification,
            x: x - (2 * dx) / (window.innerWidth * magnification),
            y: y + (2 * dy) / (window.innerHeight * magnification),
        });
        this.#fit();
    }

    #fit() {
        const window_ = { width: window.innerWidth, height: window.innerHeight };
        // Where an eye gets half of the window, the photograph is to fit there.
        const share = 1 / kShareModes[this.mode].eyeStretch;
        const frustum = frustumOf(this.#start.photograph, window_, share, this.#crop);
        const camera = this.#camera;
        camera.fov = frustum.fov;
        camera.aspect = frustum.aspect;
        camera.updateProjectionMatrix();
        camera.projectionMatrix.elements[8] = frustum.skewX; // column-major
        camera.projectionMatrix.elements[9] = frustum.skewY;
        camera.projectionMatrixInverse.copy(camera.projectionMatrix).invert();
    }

    /**
     * How a phone is held.
     * @param {number} beta degrees
     * @param {number} gamma degrees
     * @param {number} screen degrees by which the page is turned in the phone
     */
    tilted(beta, gamma, screen) {
        if (this.#tilt.held(beta, gamma, screen, performance.now())) this.redraw();
    }

    /**
     * @param {number} now milliseconds
     * @returns {boolean} whether the view moves by itself
     */
    #update(now) {
        const moved = this.controls.update();
        const goes = this.#isShown && (this.sway.isMoving(now) || this.#tilt.isMoving);
        const sway = this.sway.turn(now);
        const tilt = this.#tilt.turn(now);
        const turn = { yaw: sway.yaw + tilt.yaw, pitch: sway.pitch + tilt.pitch };
        this.#turnEye(this.controls.within(turn));
        return moved || goes;
    }

    /** @param {import("./motion.js").Turn} turn about the target */
    #turnEye({ yaw, pitch }) {
        const { position, quaternion, up } = this.#camera;
        const right = new Vector3(1, 0, 0).applyQuaternion(quaternion);
        const by = new Quaternion().setFromAxisAngle(up, yaw);
        by.multiply(new Quaternion().setFromAxisAngle(right, pitch));
        const eye = this.#eye;
        eye.copy(this.#camera, false);
        eye.position.copy(position).sub(this.controls.target).applyQuaternion(by);
        eye.position.add(this.controls.target);
        eye.quaternion.copy(quaternion).premultiply(by);
    }

    #draw() {
        if (this.#effect === null || this.#session !== null || this.#stage.isLost()) return false;
        const { isFlat = false } = kShareModes[this.mode];
        this.#effect.render(this.#eye, this.#settings.swap && !isFlat);
        const isFinal = this.#stage.painter.drawn(this.#eye, this.#settings);
        if (isFinal && this.#hasScene && !this.#isShown) {
            this.#isShown = true;
            this.#events.onShown();
            this.redraw();
        }
        return true;
    }

    /**
     * @param {ArrayBuffer} bytes of an SPZ file, taken over
     * @throws {Error} why they cannot be shown
     */
    async show(bytes) {
        await this.#stage.painter.show(bytes, "scene.spz");
        this.#hasScene = true;
        this.redraw();
    }

    /** The graphics card draws, so that a headset can be drawn for. */
    get canEnterHeadset() {
        return this.#stage.headset !== null;
    }

    /**
     * Enters a headset, or leaves it.
     * @param {(isInside: boolean) => void} onChange
     */
    async toggleHeadset(onChange) {
        if (this.#session !== null) return this.#session.end();
        if (this.#stage.headset === null) return;
        const { end, ended } = await enterHeadset(this.#stage.headset);
        this.#session = { end };
        onChange(true);
        await ended;
        this.#session = null;
        onChange(false);
        this.resize();
    }
}
