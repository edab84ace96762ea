// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What the loop drives.
 * @typedef {object} LoopParts
 * @property {() => boolean} update moves the camera by what the controls gathered; whether it moved
 * @property {() => boolean} draw draws a frame; false when there is nothing to draw with
 * @property {(step: () => void) => number} request asks for a step at the next animation frame
 */

/** Draws frames while something changes, and none otherwise. */
export class DrawLoop {
    /** Further frames to draw while the camera is still. */
    stopTimer = 0;
    /** The loop itself is updating the controls. */
    isUpdating = false;
    /** @type {number | null} pending animation frame, null when idle */
    requestID = null;
    /** @type {LoopParts} */
    #parts;

    /** @param {LoopParts} parts */
    constructor(parts) {
        this.#parts = parts;
    }

    /**
     * Keeps drawing for some frames, beginning at once when the loop is idle.
     * @param {number} count
     */
    drawFrames(count) {
        this.stopTimer = count;
        this.wake();
    }

    /** Draws a frame at once when none is pending; one that is pending will show the change. */
    wake() {
        if (this.requestID === null) this.#step();
    }

    #step() {
        // Idle until proven otherwise: a step that throws must not leave a frame pending for ever.
        this.requestID = null;
        const moved = this.#update();
        if (!this.#parts.draw()) return;
        if (!moved && this.stopTimer <= 0) return;
        if (!moved) this.stopTimer -= 1;
        this.requestID = this.#parts.request(() => this.#step());
    }

    #update() {
        this.isUpdating = true;
        try {
            return this.#parts.update();
        } finally {
            this.isUpdating = false;
        }
    }
}

/** Counts frames and reports their rate about once a second. */
export class FrameRate {
    #frames = 0;
    #since;

    /** @param {number} now milliseconds */
    constructor(now) {
        this.#since = now;
    }

    /**
     * @param {number} now milliseconds
     * @returns {number | null} frames per second, null within the second
     */
    count(now) {
        this.#frames += 1;
        const elapsed = now - this.#since;
        if (elapsed < 1000) return null;
        const rate = (this.#frames * 1000) / elapsed;
        this.#frames = 0;
        this.#since = now;
        return rate;
    }
}
