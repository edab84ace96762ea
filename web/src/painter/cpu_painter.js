// SPDX-License-Identifier: GPL-3.0-or-later
import { softwarePainter } from "@sparkjsdev/spark";
import { readSplats } from "../read_splats.js";
import { bytesOf, EyePainter } from "./eye_painter.js";
import { PairPainter } from "./pair_painter.js";
import { PaintedPictures } from "./painted_pictures.js";

/** @typedef {import("./eye_pictures.js").Painter} Painter */

/**
 * Paints on the processor, each eye in a worker of its own.
 * @implements {Painter}
 */
export class CpuPainter {
    #pairs;

    /**
     * @param {() => void} onChange a frame would show something new
     * @param {(reason: unknown) => void} onFailure the scene cannot be painted any more
     */
    constructor(onChange, onFailure) {
        this.#pairs = new PairPainter({
            makeEye: () => {
                const { worker, wasm } = softwarePainter;
                return new EyePainter({ worker, module: bytesOf(wasm) });
            },
            isHidden: () => document.visibilityState === "hidden",
            now: () => performance.now(),
            later: (task, delay) => void setTimeout(task, delay),
            onPainted: onChange,
            onFailure,
        });
        document.addEventListener("visibilitychange", () => this.#pairs.update());
    }

    /**
     * @param {ArrayBuffer} bytes
     * @param {string} name
     */
    async show(bytes, name) {
        const number = this.#pairs.expectScene();
        return this.#pairs.take(number, await readSplats(bytes, name));
    }

    /** @param {import("../effects/eye_pair_effect.js").StereoMode} mode */
    pictures(mode) {
        return new PaintedPictures(this.#pairs, mode);
    }

    drawn() {
        return this.#pairs.isFinal;
    }
}
