// SPDX-License-Identifier: GPL-3.0-or-later
/** What a page finds of graphics; each runs in the page before its own scripts. */

/** No WebGL. */
export function takeWebGLAway() {
    const take = (/** @type {any} */ prototype) => {
        const { getContext } = prototype;
        prototype.getContext = function (/** @type {string} */ kind, /** @type {any[]} */ ...rest) {
            return kind.startsWith("webgl") ? null : getContext.call(this, kind, ...rest);
        };
    };
    take(HTMLCanvasElement.prototype);
    // Workers, whose texts the page puts together, have canvases of their own.
    const Plain = window.Blob;
    window.Blob = class extends Plain {
        /**
         * @param {BlobPart[]} [parts]
         * @param {BlobPropertyBag} [options]
         */
        constructor(parts = [], options) {
            const isWorker = options?.type?.startsWith("text/javascript");
            const before = isWorker ? [`(${take})(OffscreenCanvas.prototype);`] : [];
            super([...before, ...parts], options);
        }
    };
}

/** A graphics card, so that Spark paints. */
export function pretendCard() {
    const kUnmaskedRenderer = 0x9246;
    const gl = WebGL2RenderingContext.prototype;
    const { getParameter } = gl;
    gl.getParameter = function (name) {
        return name === kUnmaskedRenderer ? "A graphics card" : getParameter.call(this, name);
    };
}

/** Keeps the canvas's context where a test finds it. */
export function keepContext() {
    const prototype = /** @type {any} */ (HTMLCanvasElement.prototype);
    const { getContext } = prototype;
    prototype.getContext = function (/** @type {string} */ kind, /** @type {any[]} */ ...rest) {
        const context = getContext.call(this, kind, ...rest);
        if (kind === "webgl2") /** @type {any} */ (window).context = context;
        return context;
    };
}
