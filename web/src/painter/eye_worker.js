// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The worker of one eye: passes what it is asked on to the WebAssembly module, of which it has a
 * new instance for every scene, since a module's memory never shrinks.
 */
import { kNoMemory, kPartMultiple, kWords } from "./eye_painter.js";

/** @typedef {import("./eye_painter.js").PackedEncoding} PackedEncoding */

/**
 * The module's interface; render/wasm/painter.cpp explains it.
 * @typedef {object} Painter
 * @property {WebAssembly.Memory} memory
 * @property {() => number} encoding
 * @property {(degree: number) => number} words
 * @property {() => number} view
 * @property {(count: number, degree: number) => void} begin
 * @property {(count: number) => void} append
 * @property {(width: number, height: number) => number} paint
 */

/** On each side of a picture. */
const kMostPixels = 32768;

/** @type {Promise<WebAssembly.Module>} */
let compiled;
/** @type {Promise<unknown>} settled when all that was asked before is done */
let last = Promise.resolve();
/** @type {Painter | null} null: there is no scene that could be painted */
let painter = null;
let degree = 0;
/** Why there is none. */
let failure = "There is no scene";

/** @param {BufferSource} module */
function start(module) {
    compiled = WebAssembly.compile(module);
    compiled.catch(() => {}); // told when there is a scene
}

/**
 * @param {{ count: number, encoding: PackedEncoding, shDegree: number }} scene
 */
async function begin({ count, encoding, shDegree }) {
    painter = null; // its memory can go before more is asked for
    const { exports } = await WebAssembly.instantiate(await compiled, {});
    const next = /** @type {Painter} */ (/** @type {unknown} */ (exports));
    new Float32Array(next.memory.buffer, next.encoding(), 10).set([
        encoding.rgbMin ?? 0, encoding.rgbMax ?? 1,
        encoding.lnScaleMin ?? -12, encoding.lnScaleMax ?? 9,
        encoding.sh1Min ?? -1, encoding.sh1Max ?? 1,
        encoding.sh2Min ?? -1, encoding.sh2Max ?? 1,
        encoding.sh3Min ?? -1, encoding.sh3Max ?? 1,
    ]);
    next.begin(count, shDegree);
    painter = next;
    degree = shDegree;
}

/** @param {{ words: Uint32Array, harmonics: Uint32Array[] }} part */
function append({ words, harmonics }) {
    if (painter === null) return;
    const count = words.length / kWords[0];
    const { buffer } = painter.memory;
    const sources = [words, ...harmonics.slice(0, degree)];
    const places = sources.map((_, i) => painter?.words(i) ?? 0);
    for (let first = 0; first < count; first += kPartMultiple) {
        const end = Math.min(first + kPartMultiple, count);
        sources.forEach((source, i) => {
            const size = kWords[i];
            const part = source.subarray(size * first, size * end);
            new Uint32Array(buffer, places[i], part.length).set(part);
        });
        painter.append(end - first);
    }
}

/** Settled as failed where there is nothing to paint. */
function finish() {
    if (painter === null) throw new Error(failure);
}

/**
 * The view as the module wants it.
 * @param {Float32Array} m world to view
 * @param {Float32Array} p projection
 * @param {number} width
 * @param {number} height
 * @returns {number[]}
 */
function cameraOf(m, p, width, height) {
    const rows = [m[0], m[4], m[8], m[1], m[5], m[9], -m[2], -m[6], -m[10]];
    const position = [0, 1, 2].map(
        (i) => -(m[4 * i] * m[12] + m[4 * i + 1] * m[13] + m[4 * i + 2] * m[14]),
    );
    return [
        ...rows,
        ...position,
        (width * p[0]) / 2,
        (height * p[5]) / 2,
        (width * (1 - p[8])) / 2,
        (height * (1 - p[9])) / 2,
    ];
}

/**
 * @param {{ viewMatrix: Float32Array, projection: Float32Array, width: number, height: number,
 *     near: number, share: number, spare?: Uint8ClampedArray<ArrayBuffer> }} view
 * @returns {import("./eye_painter.js").EyePicture}
 */
function paint({ viewMatrix, projection, width, height, near, share, spare }) {
    if (painter === null) throw new Error(failure);
    if (![width, height].every((side) => side >= 1 && side <= kMostPixels)) {
        throw new Error(`A picture has 1 to ${kMostPixels} pixels on each side`);
    }
    const began = performance.now();
    const view = [...cameraOf(viewMatrix, projection, width, height), near, share];
    new Float32Array(painter.memory.buffer, painter.view(), view.length).set(view);
    const place = painter.paint(width, height);
    const size = 4 * width * height;
    const pixels = spare?.length === size ? spare : new Uint8ClampedArray(size);
    pixels.set(new Uint8ClampedArray(painter.memory.buffer, place, size)); // memory may have grown
    return { pixels, width, height, milliseconds: performance.now() - began };
}

/**
 * @param {any} message
 * @returns {Promise<any>}
 */
async function answer({ request, ...content }) {
    try {
        switch (request) {
            case "start": return start(content.module);
            case "begin": return await begin(content);
            case "append": return append(content);
            case "finish": return finish();
            default: return paint(content);
        }
    } catch (error) {
        // A module that has stopped half-way is of no more use.
        if (error instanceof WebAssembly.RuntimeError) painter = null;
        if (painter === null) failure = reasonOf(error);
        throw error;
    }
}

/** @param {unknown} error */
function reasonOf(error) {
    const isForMemory = error instanceof WebAssembly.RuntimeError || error instanceof RangeError;
    if (isForMemory) return kNoMemory;
    return error instanceof Error ? error.message : `${error}`;
}

onmessage = ({ data }) => {
    last = last.then(async () => {
        const { id } = data;
        try {
            const result = await answer(data);
            if (id === undefined) return;
            postMessage({ id, answer: result }, { transfer: result ? [result.pixels.buffer] : [] });
        } catch (error) {
            if (id !== undefined) postMessage({ id, failure: reasonOf(error) });
        }
    });
};
