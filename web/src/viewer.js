// SPDX-License-Identifier: GPL-3.0-or-later
import { PerspectiveCamera } from "three";
import { OrbitControls } from "./OrbitControls3d.js";
import { addressToComeBack, mayComeBack } from "./context_loss.js";
import { DrawLoop, FrameRate } from "./draw_loop.js";
import { stereoMode } from "./effects/stereo_modes.js";
import { hideFailure, showFailure } from "./failure_message.js";
import { fileNameOf, shownNameOf } from "./file_name.js";
import { readFile } from "./read_file.js";
import { loadSavedView, storeSavedView } from "./saved_view.js";
import { SceneState } from "./scene_state.js";
import { createStage } from "./stage.js";
import { SceneError } from "./texts.js";
import { defaultSettings, kSharpStartFocus } from "./view_settings.js";

/** Frames drawn after a change of the view or of a setting. */
const kFramesAfterChange = 10;
const kFramesAfterResize = 100;
/** Frames that may still be drawn while a file is read. */
const kFramesWhileReading = 100;
/** Frames drawn after a file was read, while its Gaussians are parsed and sorted. */
const kFramesAfterReading = 300;
/** What a graphics card gets to recover in, milliseconds. */
const kBeforeComingBack = 1000;

/**
 * Camera, controls, scene and effect of the page. Members that the page's start and the calls from
 * outside need are public.
 */
export class Viewer {
    /** @type {import("./view_settings.js").ViewSettings} */
    settings;
    /** Number of the stereo mode. */
    stereoMode = 0;
    /** @type {OrbitControls} */
    controls;
    /** @type {import("./effects/eye_pair_effect.js").Effect | null} */
    #effect = null;
    #stage;
    /** @type {PerspectiveCamera} */
    #camera;
    #loop;
    #state = new SceneState();
    /** Numbers the files in the order in which they were asked for. */
    #lastAsked = 0;
    #lastShown = 0;
    /** @type {string | null} of the file that was asked for last */
    #url = null;
    /** The page is about to be loaded again. */
    #isLeaving = false;

    /**
     * @param {HTMLElement} container receives the canvas
     * @param {import("./query.js").Query} query
     * @param {(framesPerSecond: number) => void} onRate about once a second while drawing
     */
    constructor(container, { bsharp, painter }, onRate) {
        this.settings = defaultSettings(bsharp);
        this.#stage = createStage(painter, {
            onSorted: () => this.#loop.wake(),
            onPainted: () => this.#loop.drawFrames(kFramesAfterChange),
            onFailure: (reason) => this.#fail(this.#lastAsked, reason),
        });
        this.#fitStage();
        const { element } = this.#stage;
        container.appendChild(element);
        element.addEventListener("webglcontextlost", () => this.#comeBack());
        this.#camera = createCamera(bsharp);
        const rate = new FrameRate(performance.now());
        this.#loop = new DrawLoop({
            update: () => this.controls.update(),
            draw: () => {
                if (this.#effect === null) return false;
                const perSecond = this.#draw(this.#effect) ? rate.count(performance.now()) : null;
                if (perSecond !== null) onRate(perSecond);
                return true;
            },
            request: (step) => requestAnimationFrame(step),
        });
        this.controls = createControls(this.#camera, element, bsharp);
        this.controls.addEventListener("change", () => {
            if (!this.#loop.isUpdating) this.redraw();
        });
    }

    /**
     * @param {import("./effects/eye_pair_effect.js").Effect} effect
     * @returns {boolean} whether the screen was drawn anew
     */
    #draw(effect) {
        const isDrawn = effect.render(this.#camera, this.settings.swap);
        this.#state.drawn(this.#stage.painter.drawn(this.#camera, this.settings));
        return isDrawn;
    }

    /** @returns {import("./scene_state.js").SceneStateName} */
    get sceneState() {
        if (this.#isLeaving) return "busy";
        const isIdle = this.#loop.requestID === null;
        return this.#stage.isLost() ? "failed" : this.#state.name(isIdle);
    }

    /** The graphics context is gone with all that it held, and only a new page gets another one. */
    #comeBack() {
        if (this.#url === null) return;
        if (!mayComeBack(window.sessionStorage, Date.now())) {
            this.#report(new SceneError("graphicsLost", "The graphics context was lost"));
            return;
        }
        this.#isLeaving = true;
        this.saveView();
        const address = addressToComeBack(window.location.href, this.#url);
        setTimeout(() => window.location.replace(address), kBeforeComingBack);
    }

    /** Draws what changed. */
    redraw() {
        this.#state.changed();
        this.#loop.drawFrames(kFramesAfterChange);
    }

    #fitStage() {
        this.#stage.setSize(window.innerWidth, window.innerHeight, window.devicePixelRatio);
    }

    /** Fits everything to the window and its device pixel ratio. */
    resize() {
        this.#camera.aspect = window.innerWidth / window.innerHeight;
        this.#camera.updateProjectionMatrix();
        this.#fitStage();
        this.#effect?.setSize(window.innerWidth, window.innerHeight);
        this.#state.changed();
        this.#loop.drawFrames(kFramesAfterResize);
    }

    /**
     * Exchanges the stereo effect. The change shows at the next drawn frame.
     * @param {number} number of a stereo mode
     */
    setStereoMode(number) {
        this.#effect?.end();
        this.#effect?.dispose();
        this.stereoMode = number;
        this.#effect = this.#stage.createEffect(this.settings, stereoMode(number));
        this.#effect.setSize(window.innerWidth, window.innerHeight);
    }

    /**
     * @param {string} url
     * @param {boolean} start also creates the effect, without which nothing is drawn
     */
    load(url, start) {
        this.#url = url;
        this.#loop.stopTimer = kFramesWhileReading;
        const number = ++this.#lastAsked;
        hideFailure();
        this.#state.asked();
        const onBytes = (/** @type {ArrayBuffer} */ bytes) => {
            // A large file that was asked for first may arrive last.
            if (number > this.#lastShown) {
                this.#lastShown = number;
                this.#show(bytes, fileNameOf(url, window.location.origin));
            }
            if (start) this.setStereoMode(this.stereoMode);
            this.#loop.drawFrames(kFramesAfterReading);
        };
        readFile(url, onBytes, (reason) => this.#fail(number, reason));
    }

    /**
     * @param {number} number of the file
     * @param {unknown} reason
     */
    #fail(number, reason) {
        if (number !== this.#lastAsked) return;
        this.#state.failed();
        this.#report(reason);
    }

    /** @param {unknown} reason why the file that was asked for last is not shown */
    #report(reason) {
        showFailure(reason, shownNameOf(this.#url ?? "", window.location.origin));
    }

    /**
     * @param {ArrayBuffer} bytes
     * @param {string} name
     */
    async #show(bytes, name) {
        const number = this.#lastShown;
        try {
            if (!(await this.#stage.painter.show(bytes, name))) return;
        } catch (error) {
            this.#fail(number, error);
            return;
        }
        if (number === this.#lastAsked) this.#state.parsed();
        this.#loop.wake();
    }

    /**
     * Takes the stereo mode and the eyes' exchange from the saved view.
     * @returns {import("./saved_view.js").SavedView | null} the saved view
     */
    restoreMode() {
        const { settings } = this;
        if (settings.bsharp) settings.dltx = kSharpStartFocus;
        const saved = loadSavedView(window.localStorage);
        settings.swap = saved?.swap ?? settings.swap;
        this.stereoMode = saved?.stType ?? this.stereoMode;
        return saved;
    }

    /** Takes the whole saved view. */
    restoreView() {
        const saved = this.restoreMode();
        if (!saved) return;
        const { settings } = this;
        settings.dltx = saved.dltx ?? settings.dltx;
        settings.dpt = saved.dpt ?? settings.dpt;
        const camera = this.#camera;
        if (saved.position) camera.position.fromArray(saved.position);
        if (saved.target) this.controls.target.fromArray(saved.target);
        if (settings.bsharp) {
            camera.fov = saved.fov ?? camera.fov;
        } else {
            camera.zoom = saved.zoom ?? camera.zoom;
        }
        camera.updateProjectionMatrix();
        this.controls.update();
    }

    /**
     * Saves what the next page restores. Choices are saved as they are made: a page that is busy
     * when the program ends is not told.
     */
    saveView() {
        const { swap, dltx, dpt } = this.settings;
        const { position, fov, zoom } = this.#camera;
        storeSavedView(window.localStorage, {
            position: position.toArray(),
            target: this.controls.target.toArray(),
            fov,
            zoom,
            swap,
            dltx,
            dpt,
            stType: this.stereoMode,
        });
    }
}

/**
 * The start view. Scenes are y-down.
 * @param {boolean} bsharp
 * @returns {PerspectiveCamera}
 */
function createCamera(bsharp) {
    const newFov = bsharp ? 30 : 65;
    const aspect = window.innerWidth / window.innerHeight;
    const camera = new PerspectiveCamera(newFov, aspect, 0.1, 500);
    if (bsharp) {
        camera.position.set(-0.3, 0.5, -3);
    } else {
        camera.position.set(0, -1, -3);
    }
    camera.lookAt(0, 0, 0);
    camera.up.set(0, -1, 0);
    return camera;
}

/**
 * @param {PerspectiveCamera} camera
 * @param {HTMLElement} element
 * @param {boolean} bsharp
 * @returns {OrbitControls}
 */
function createControls(camera, element, bsharp) {
    const controls = new OrbitControls(camera, element);
    controls.rotateSpeed = 0.5;
    controls.maxPolarAngle = 0.75 * Math.PI;
    controls.minPolarAngle = 0.1;
    controls.usefov = bsharp;
    controls.fovZoomSpeed = 1;
    return controls;
}
