// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Runs in a page before its own scripts: tells when the work of a load began and ended, and lets
 * the benchmark run animation frames one by one, with one eye or both.
 */
export function installMeter() {
    const meter = {
        /** @type {Record<string, [number, number]>} begin and end of work by kind, milliseconds */
        spans: {},
        /** @type {number} when the first frame with Gaussians was on the screen, 0 before */
        firstFrame: 0,
        pending: 0,
        /** Draw only the first of each pair of eyes. */
        oneEye: false,
        /** Frames wait for runFrame. */
        held: false,
        runFrame,
    };
    Object.assign(window, { meter });

    /** @type {WebGL2RenderingContext | null} */
    let context = null;
    /** @type {(() => void)[]} */
    const queue = [];
    const channel = new MessageChannel();
    channel.port1.onmessage = () => {
        if (meter.held) return;
        queue.shift()?.();
        finish(); // frames at this pace would otherwise pile up on the graphics card
    };
    window.requestAnimationFrame = (callback) => {
        meter.pending += 1;
        channel.port2.postMessage(null);
        return queue.push(() => {
            meter.pending -= 1;
            callback(performance.now());
        });
    };

    const pixel = new Uint8Array(4);
    /** Waits until the graphics card has drawn everything. */
    function finish() {
        if (context === null) return;
        const buffer = context.getParameter(context.PIXEL_PACK_BUFFER_BINDING);
        context.bindBuffer(context.PIXEL_PACK_BUFFER, null);
        context.readPixels(0, 0, 1, 1, context.RGBA, context.UNSIGNED_BYTE, pixel);
        context.bindBuffer(context.PIXEL_PACK_BUFFER, buffer);
    }

    /** @returns {number} milliseconds of the next frame, drawn to its end */
    function runFrame() {
        finish();
        const begin = performance.now();
        queue.shift()?.();
        finish();
        return performance.now() - begin;
    }

    let eyes = 0;
    const gl = WebGL2RenderingContext.prototype;
    const drawInstanced = gl.drawElementsInstanced;
    gl.drawElementsInstanced = function (mode, count, type, offset, instances) {
        context = this;
        eyes += 1;
        if (meter.oneEye && eyes % 2 === 0) return;
        drawInstanced.call(this, mode, count, type, offset, instances);
        if (instances > 0 && meter.firstFrame === 0) {
            // The screen follows in the same task.
            queueMicrotask(() => {
                finish();
                meter.firstFrame = performance.now();
            });
        }
    };

    const send = XMLHttpRequest.prototype.send;
    XMLHttpRequest.prototype.send = function (/** @type {any} */ body) {
        const begin = performance.now();
        meter.pending += 1;
        this.addEventListener("load", () => (meter.spans.read = [begin, performance.now()]));
        this.addEventListener("loadend", () => (meter.pending -= 1));
        send.call(this, body);
    };
    /** @type {WeakMap<Worker, Map<number, [string, number]>>} name and begin of calls, by number */
    const calls = new WeakMap();
    const post = Worker.prototype.postMessage;
    Worker.prototype.postMessage = function (/** @type {any[]} */ ...args) {
        const { id, name } = args[0] ?? {};
        if (typeof id === "number") {
            meter.pending += 1;
            if (!calls.has(this)) calls.set(this, new Map());
            calls.get(this)?.set(id, [name, performance.now()]);
        }
        return Reflect.apply(post, this, args);
    };
    // Noted before the page hears of it: the page may draw a frame right away.
    Object.defineProperty(Worker.prototype, "onmessage", {
        set(callback) {
            this.addEventListener("message", (/** @type {MessageEvent} */ event) => {
                const call = calls.get(this)?.get(event.data.id);
                if (call) {
                    meter.pending -= 1;
                    meter.spans[call[0]] = [call[1], performance.now()];
                }
                callback.call(this, event);
            });
        },
    });
    const { setTimeout } = window;
    const delayed = (/** @type {any} */ callback, /** @type {number} */ delay) => {
        meter.pending += 1;
        return setTimeout(() => {
            meter.pending -= 1;
            callback();
        }, delay);
    };
    Object.assign(window, { setTimeout: delayed });
}
