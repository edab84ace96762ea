// SPDX-License-Identifier: GPL-3.0-or-later
import { sameView } from "../same_view.js";
import { MovingView } from "./moving_view.js";
import { sendScene } from "./scene_parts.js";

/** @typedef {import("./eye_painter.js").EyePainter} EyePainter */
/** @typedef {import("./eye_painter.js").EyePicture} EyePicture */

/** A view that was still for so long is painted with all Gaussians, milliseconds. */
const kStill = 100;

/**
 * What is to be painted for both eyes.
 * @typedef {object} PairView
 * @property {[number[], number[]]} viewMatrices world to view, of the left eye and the right
 * @property {[number[], number[]]} projections
 * @property {number} near
 * @property {number} width of each picture, pixels
 * @property {number} height
 * @property {number} stretch factor on the width that the projections already have
 * @property {boolean} [isFlat] only the left eye's picture is needed
 */

/**
 * Both eyes' pictures of one view; of a flat one the right eye has the left one's.
 * @typedef {object} Pair
 * @property {EyePicture} left
 * @property {EyePicture} right
 * @property {PairView | null} view null where nothing was painted
 * @property {number} share of the Gaussians that was painted
 */

const kBlack = {
    pixels: Uint8ClampedArray.of(0, 0, 0, 255),
    width: 1,
    height: 1,
    milliseconds: 0,
};
/** @type {Pair} */
const kNothing = { left: kBlack, right: kBlack, view: null, share: 1 };

/**
 * @param {PairView} a
 * @param {PairView} b
 */
function sameForm(a, b) {
    const isSameSize = a.width === b.width && a.height === b.height;
    return isSameSize && a.stretch === b.stretch && a.isFlat === b.isFlat;
}

/** @param {PairView} view */
function numbersOf({ viewMatrices, projections, near }) {
    return [...viewMatrices.flat(), ...projections.flat(), near];
}

/**
 * Has two painters paint the same view, one eye each, and always shows both eyes of one view. One
 * pair is painted at a time; of the views that come meanwhile only the newest is painted. A view
 * that moves may get a part of the Gaussians; at rest it gets all.
 */
export class PairPainter {
    /** @type {Pair} the newest */
    pair = kNothing;
    #parts;
    /** @type {EyePainter[] | null} left and right, null where none are at work */
    #eyes = null;
    /** @type {PairView | null} */
    #wanted = null;
    #wantedSince = 0;
    /** The wanted view differs from the one before by where the eyes are. */
    #isMoving = false;
    #movingView = new MovingView();
    /** Numbers the scenes. */
    #scene = 0;
    /** The painters have the newest scene. */
    #isReady = false;
    #isPainting = false;
    #isTimed = false;
    /** @type {(Uint8ClampedArray | undefined)[]} */
    #spares = [];

    /**
     * @param {object} parts
     * @param {() => EyePainter} parts.makeEye
     * @param {() => boolean} parts.isHidden nobody sees the pictures
     * @param {() => number} parts.now milliseconds
     * @param {(task: () => void, delay: number) => void} parts.later
     * @param {() => void} parts.onPainted there is another pair
     * @param {(reason: unknown) => void} parts.onFailure a scene that was shown cannot be painted
     */
    constructor(parts) {
        this.#parts = parts;
    }

    /** The newest pair shows the wanted view as it stays. */
    get isFinal() {
        return this.#isReady && this.#isPainted() && this.pair.share === 1;
    }

    /**
     * Lets go of the pictures, and starts the painters, for there will be another scene.
     * @returns {number} of that scene
     */
    expectScene() {
        this.#isReady = false;
        this.#eyes ??= [this.#parts.makeEye(), this.#parts.makeEye()];
        this.pair = kNothing;
        this.#movingView.reset();
        return ++this.#scene;
    }

    /**
     * Has the painters take over a scene, unless a newer one is expected.
     * @param {number} number of the scene
     * @param {import("./scene_parts.js").PackedScene} scene is emptied
     * @returns {Promise<boolean>} whether it is the newest scene
     * @throws {Error} why it cannot be painted
     */
    async take(number, scene) {
        const isNewest = () => number === this.#scene;
        try {
            const eyes = this.#eyes ?? [];
            if (!(await sendScene(scene, eyes, isNewest))) return false;
            await Promise.all(eyes.map((eye) => eye.finish()));
        } catch (error) {
            if (!isNewest()) return false;
            this.#dispose();
            throw error;
        }
        if (!isNewest()) return false;
        this.#isReady = true;
        this.update();
        return true;
    }

    /** @param {PairView} view to be painted as soon as can be */
    request(view) {
        const last = this.#wanted;
        const isSameForm = last !== null && sameForm(view, last);
        if (isSameForm && sameView(numbersOf(view), numbersOf(last))) return;
        if (!isSameForm) this.#movingView.reset();
        this.#isMoving = isSameForm;
        this.#wanted = view;
        this.#wantedSince = this.#parts.now();
        this.update();
    }

    /** Paints what is due. */
    update() {
        const view = this.#wanted;
        if (!this.#isReady || this.#isPainting || view === null || this.#parts.isHidden()) return;
        const share = this.#dueShare();
        if (share !== null) void this.#paint(view, share);
    }

    #isPainted() {
        return this.pair.view !== null && this.pair.view === this.#wanted;
    }

    /** @returns {number | null} null when nothing is to be painted now */
    #dueShare() {
        if (!this.#isPainted()) return this.#isMoving ? this.#movingView.share() : 1;
        if (this.pair.share === 1) return null;
        const wait = this.#wantedSince + kStill - this.#parts.now();
        if (wait <= 0) return 1;
        this.#updateLater(wait);
        return null;
    }

    /** @param {number} delay milliseconds */
    #updateLater(delay) {
        if (this.#isTimed) return;
        this.#isTimed = true;
        this.#parts.later(() => {
            this.#isTimed = false;
            this.update();
        }, delay);
    }

    /**
     * @param {PairView} view
     * @param {number} share
     */
    async #paint(view, share) {
        const scene = this.#scene;
        const { now, onPainted, onFailure } = this.#parts;
        const { width, height, near, isFlat } = view;
        const eyes = this.#eyes?.slice(0, isFlat ? 1 : 2) ?? [];
        const spares = this.#spares;
        const began = now();
        this.#isPainting = true;
        this.#spares = [];
        try {
            const [left, right = left] = await Promise.all(eyes.map((eye, i) => eye.paint({
                viewMatrix: view.viewMatrices[i],
                projection: view.projections[i],
                width,
                height,
                near,
                share,
                spare: spares[i],
            })));
            this.#isPainting = false;
            if (scene !== this.#scene) {
                this.update();
                return;
            }
            this.#movingView.painted(share, now() - began);
            const { left: oldLeft, right: oldRight } = this.pair;
            if (this.pair !== kNothing) {
                this.#spares = [...new Set([oldLeft.pixels, oldRight.pixels])];
            }
            this.pair = { left, right, view, share };
            this.update();
            onPainted();
        } catch (error) {
            this.#isPainting = false;
            if (scene !== this.#scene) return;
            this.#dispose();
            this.pair = kNothing;
            onFailure(error);
        }
    }

    /** Ends the painters, whose memory may be what was wanting. */
    #dispose() {
        this.#scene += 1;
        this.#isReady = false;
        for (const eye of this.#eyes ?? []) eye.dispose();
        this.#eyes = null;
        this.#spares = [];
    }
}
