// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * How far the newest scene has come: "empty" before the first one, "busy" while it is read, parsed,
 * sorted or drawn, "shown" when the picture on the display is the one that stays until something
 * changes, "failed" when it cannot be shown.
 * @typedef {"empty" | "busy" | "shown" | "failed"} SceneStateName
 */

/** The display runs behind the page by fewer frames than this. */
const kFramesBehind = 8;

/** Follows the newest scene from its file to the display, for a program that waits for a picture. */
export class SceneState {
    /** @type {"none" | "reading" | "parsed" | "failed"} */
    #file = "none";
    /** Frames in a row that were all the same picture. */
    #sameFrames = 0;

    /** A file was asked for. */
    asked() {
        this.#file = "reading";
        this.#sameFrames = 0;
    }

    /** The file's Gaussians are in the scene. */
    parsed() {
        this.#file = "parsed";
        this.#sameFrames = 0;
    }

    failed() {
        this.#file = "failed";
    }

    /** Something else is to be drawn than before. */
    changed() {
        this.#sameFrames = 0;
    }

    /**
     * A frame was drawn.
     * @param {boolean} final the next frame would be the same picture
     */
    drawn(final) {
        this.#sameFrames = final ? this.#sameFrames + 1 : 0;
    }

    /**
     * @param {boolean} isIdle no frame will be drawn by itself
     * @returns {SceneStateName}
     */
    name(isIdle) {
        if (this.#file === "none") return "empty";
        if (this.#file === "failed") return "failed";
        const isShown = this.#sameFrames >= kFramesBehind || (isIdle && this.#sameFrames > 0);
        return this.#file === "parsed" && isShown ? "shown" : "busy";
    }
}
