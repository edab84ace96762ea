// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The page's reading of files, with Spark as it is built, in Node: what a browser has and Node has
 * not is stood in for. A worker's text runs in this thread, and gets and gives copies as it would
 * between threads.
 */
import { resolveObjectURL } from "node:buffer";
import { register } from "node:module";
import path from "node:path";
import { pathToFileURL } from "node:url";
import { runInThisContext } from "node:vm";
import { builtFolder } from "../support/resting_page.js";

/** @typedef {(event: { data: any }) => void} Listener */

/** One side of a pair that sends messages to each other. */
class Port {
    location = { href: "file:///gaus3d.html" };
    /** @type {Set<Listener>} */
    listeners = new Set();
    /** @type {Listener | null} */
    onmessage = null;
    /** @type {Port | null} */
    other = null;

    /**
     * @param {string} _kind
     * @param {Listener} listener
     */
    addEventListener(_kind, listener) {
        this.listeners.add(listener);
    }

    /**
     * @param {string} _kind
     * @param {Listener} listener
     */
    removeEventListener(_kind, listener) {
        this.listeners.delete(listener);
    }

    /**
     * @param {any} message
     * @param {{ transfer: ArrayBuffer[] }} options
     */
    postMessage(message, options) {
        const data = structuredClone(message, options);
        queueMicrotask(() => {
            this.other?.onmessage?.({ data });
            for (const listener of this.other?.listeners ?? []) listener({ data });
        });
    }
}

class WorkerHere extends Port {
    /** @param {string} url of a text */
    constructor(url) {
        super();
        const self = new Port();
        self.other = this;
        this.other = self;
        // Messages wait in the text's promise, as its own first listener would let them.
        /** @type {any[]} */
        const early = [];
        self.onmessage = (event) => early.push(event);
        void resolveObjectURL(url)?.text().then((text) => {
            self.onmessage = null;
            runInThisContext(`(function (self) {${text}\n})`)(self);
            for (const event of early) for (const listener of self.listeners) listener(event);
        });
    }
}

/** A lossless WebP picture of which nobody knows more than its size. */
async function createImageBitmapHere(/** @type {Blob} */ blob) {
    const view = new DataView(await blob.arrayBuffer());
    if (view.getUint8(20) !== 0x2f) throw new Error("The picture cannot be decoded");
    const bits = view.getUint32(21, true);
    return { width: (bits & 0x3fff) + 1, height: ((bits >>> 14) & 0x3fff) + 1 };
}

/** Where pictures are drawn: their pixels are any. */
class CanvasHere {
    getContext() {
        const readPixels = (/** @type {any[]} */ ...values) => {
            const pixels = values.at(-1);
            for (let i = 0; i < pixels.length; ++i) pixels[i] = i;
        };
        const nothing = () => {};
        return new Proxy({}, { get: (_, name) => (name === "readPixels" ? readPixels : nothing) });
    }
}

/** Bytes that arrays of the program took at once, at most, since it was set to 0. */
export const largest = { bytes: 0 };

/** @param {"Uint32Array" | "Uint8Array" | "Float32Array"} name of arrays that are watched */
function watch(name) {
    const arrays = /** @type {any} */ (globalThis);
    const kind = arrays[name];
    arrays[name] = new Proxy(kind, {
        construct(target, values, newTarget) {
            if (typeof values[0] === "number") {
                largest.bytes = Math.max(largest.bytes, values[0] * kind.BYTES_PER_ELEMENT);
            }
            const made = newTarget === arrays[name] ? target : newTarget;
            return Reflect.construct(target, values, made);
        },
    });
}

/** @returns {Promise<typeof import("../../../web/src/read_splats.js")>} */
export async function loadReader() {
    Object.assign(globalThis, {
        Worker: WorkerHere,
        self: globalThis,
        OffscreenCanvas: CanvasHere,
        createImageBitmap: createImageBitmapHere,
    });
    if (!("navigator" in globalThis)) Object.assign(globalThis, { navigator: {} });
    watch("Uint32Array");
    watch("Uint8Array");
    watch("Float32Array");
    const spark = `${pathToFileURL(path.join(builtFolder(), "spark.module.js"))}`;
    const fzstdText = new URL("../../../web/fzstd_text.js", import.meta.url).href;
    const hooks = `import { refuseLongBlocks } from ${JSON.stringify(fzstdText)};
    export async function load(url, context, next) {
        const loaded = await next(url, context);
        if (!/[/]fzstd[/].*[.]mjs$/.test(url)) return loaded;
        return { ...loaded, source: refuseLongBlocks(String(loaded.source)) };
    }
    export function resolve(name, context, next) {
        if (name !== "@sparkjsdev/spark") return next(name, context);
        return { url: ${JSON.stringify(spark)}, shortCircuit: true };
    }`;
    register(`data:text/javascript,${encodeURIComponent(hooks)}`);
    return import("../../../web/src/read_splats.js");
}
