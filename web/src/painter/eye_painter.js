// SPDX-License-Identifier: GPL-3.0-or-later
import { SceneError } from "../texts.js";

/**
 * How numbers are packed into the words of Gaussians; Spark's `splatEncoding`, with its defaults.
 * @typedef {object} PackedEncoding
 * @property {number} [rgbMin]
 * @property {number} [rgbMax]
 * @property {number} [lnScaleMin]
 * @property {number} [lnScaleMax]
 * @property {number} [sh1Min]
 * @property {number} [sh1Max]
 * @property {number} [sh2Min]
 * @property {number} [sh2Max]
 * @property {number} [sh3Min]
 * @property {number} [sh3Max]
 */

/**
 * @typedef {object} EyeView
 * @property {ArrayLike<number>} viewMatrix world to view (looks along -z, y up), column-major: a
 *     camera's `matrixWorldInverse.elements`
 * @property {ArrayLike<number>} projection column-major: a camera's `projectionMatrix.elements`, of
 *     which 0, 5, 8 and 9 count
 * @property {number} width of the picture, pixels
 * @property {number} height
 * @property {number} [near] depth below which nothing shows; 0.1 when absent
 * @property {number} [share] of the Gaussians that is painted, over 0 to 1: always the same ones, spread
 *     over the scene and enlarged so that they cover; all when absent
 * @property {Uint8ClampedArray} [spare] `pixels` of an earlier picture that nobody needs any more,
 *     for the memory; lost to the caller
 */

/**
 * @typedef {object} EyePicture
 * @property {Uint8ClampedArray} pixels red, green, blue over black, and how much is covered; rows
 *     from the bottom up, as textures have them
 * @property {number} width
 * @property {number} height
 * @property {number} milliseconds of painting
 */

/** What can be asked for: the kind of message to the worker. */
/** @typedef {"start" | "begin" | "append" | "finish" | "paint"} Request */

/** What the worker answers when a scene is too large for it. */
export const kNoMemory = "There is not enough memory";

/** How many Gaussians the parts of a scene have a multiple of, but for the last. */
export const kPartMultiple = 1024;

/**
 * Words for each Gaussian: of itself, then of its harmonics of degree 1, 2 and 3, as Spark has them
 * in `packedArray` and in `extra.sh1` to `extra.sh3`.
 */
export const kWords = [4, 2, 4, 4];

/**
 * One eye's painter: a worker of its own, with a WebAssembly memory of its own. What is asked is
 * done in its order.
 */
export class EyePainter {
    /** @type {Worker} */
    #worker;
    /** Of the worker's text. */
    #url;
    /** @type {Map<number, { resolve: (value: any) => void, reject: (reason: Error) => void }>} */
    #waiting = new Map();
    #lastId = 0;
    /** @type {Error | null} why nothing more comes from the worker */
    #failure = null;

    /**
     * @param {object} painter
     * @param {string} painter.worker its text
     * @param {Uint8Array} painter.module the bytes of its WebAssembly
     */
    constructor({ worker, module }) {
        this.#url = URL.createObjectURL(new Blob([worker], { type: "text/javascript" }));
        this.#worker = new Worker(this.#url);
        this.#worker.onmessage = ({ data }) => this.#answered(data);
        this.#worker.onerror = (event) => {
            event.preventDefault();
            this.#fail(new Error(event.message || "The painter's worker does not start"));
        };
        this.#worker.onmessageerror = () => this.#fail(new Error("A picture was lost"));
        this.#post("start", { module });
    }

    /**
     * Begins a new scene, which replaces the old one.
     * @param {object} scene
     * @param {number} scene.count of Gaussians
     * @param {PackedEncoding} [scene.encoding]
     * @param {number} [scene.shDegree] of the harmonics, 0 to 3
     */
    begin({ count, encoding = {}, shDegree = 0 }) {
        this.#post("begin", { count, encoding: { ...encoding }, shDegree });
    }

    /**
     * Adds the next Gaussians, kPartMultiple or a multiple of that many but for the last part. The
     * arrays' memory goes to the worker.
     * @param {Uint32Array} words kWords[0] for each
     * @param {Uint32Array[]} [harmonics] of degrees 1 to shDegree, kWords of the degree for each
     */
    append(words, harmonics = []) {
        this.#post("append", { words, harmonics }, [
            words.buffer,
            ...harmonics.map(({ buffer }) => buffer),
        ]);
    }

    /**
     * @returns {Promise<void>} settled when the scene can be painted; rejected when it cannot, for
     *     want of memory above all
     */
    finish() {
        return this.#ask("finish", {});
    }

    /**
     * @param {EyeView} view
     * @returns {Promise<EyePicture>}
     */
    paint({ viewMatrix, projection, width, height, near = 0.1, share = 1, spare }) {
        const message = {
            viewMatrix: Float32Array.from(viewMatrix),
            projection: Float32Array.from(projection),
            width,
            height,
            near,
            share,
            spare,
        };
        return this.#ask("paint", message, spare ? [spare.buffer] : []);
    }

    /** Ends the worker; what waits is rejected. */
    dispose() {
        this.#fail(new Error("The painter was disposed"));
    }

    /**
     * @param {Request} request
     * @param {object} content
     * @param {Transferable[]} [transfer]
     */
    #post(request, content, transfer = []) {
        if (this.#failure === null) this.#worker.postMessage({ request, ...content }, transfer);
    }

    /**
     * @param {Request} request
     * @param {object} content
     * @param {Transferable[]} [transfer]
     * @returns {Promise<any>}
     */
    #ask(request, content, transfer) {
        return new Promise((resolve, reject) => {
            if (this.#failure !== null) {
                reject(this.#failure);
                return;
            }
            const id = ++this.#lastId;
            this.#waiting.set(id, { resolve, reject });
            this.#post(request, { ...content, id }, transfer);
        });
    }

    /** @param {{ id: number, answer?: unknown, failure?: string }} message */
    #answered({ id, answer, failure }) {
        const waiting = this.#waiting.get(id);
        this.#waiting.delete(id);
        if (failure === undefined) {
            waiting?.resolve(answer);
        } else {
            const isForMemory = failure === kNoMemory;
            waiting?.reject(isForMemory ? new SceneError("memory", failure) : new Error(failure));
        }
    }

    /** @param {Error} reason why nothing more comes */
    #fail(reason) {
        if (this.#failure !== null) return;
        this.#failure = reason;
        this.#worker.terminate();
        URL.revokeObjectURL(this.#url);
        for (const { reject } of this.#waiting.values()) reject(reason);
        this.#waiting.clear();
    }
}

/**
 * @param {string} base64
 * @returns {Uint8Array<ArrayBuffer>}
 */
export function bytesOf(base64) {
    return Uint8Array.from(atob(base64), (character) => character.charCodeAt(0));
}
