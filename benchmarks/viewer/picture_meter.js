// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Runs in a page before its own scripts: notes when pictures of the scene are on the screen, drawn to
 * their end, and when they were begun, whoever paints them. All times are in milliseconds since the
 * navigation.
 */
export function installPictureMeter() {
    /** @type {{ share: number, begun: number, shown: number }[]} */
    const pictures = [];
    Object.assign(window, { pictures });
    /** Of the Gaussians, in the pictures that the screen gets next; 0 when it gets none. */
    let share = 0;
    let begun = 0;

    window.Worker = class extends Worker {
        /** @type {Map<number, { share: number, begun: number }>} */
        #asked = new Map();

        /** @param {[string | URL, WorkerOptions?]} args */
        constructor(...args) {
            super(...args);
            // Before the page's own, which may draw at once.
            this.addEventListener("message", ({ data }) => {
                const asked = this.#asked.get(data.id);
                if (asked) ({ share, begun } = asked);
                this.#asked.delete(data.id);
            });
        }

        /** @override */
        postMessage(/** @type {any[]} */ ...args) {
            const { request, id, share: asked } = args[0] ?? {};
            const now = performance.now();
            if (request === "paint") this.#asked.set(id, { share: asked, begun: now });
            Reflect.apply(super.postMessage, this, args);
        }
    };

    const gl = WebGL2RenderingContext.prototype;
    const { bindFramebuffer, drawElements, drawElementsInstanced } = gl;
    /** @type {unknown} */
    let framebuffer = null;
    gl.bindFramebuffer = function (target, buffer) {
        if (target !== this.READ_FRAMEBUFFER) framebuffer = buffer;
        bindFramebuffer.call(this, target, buffer);
    };
    gl.drawElementsInstanced = function (mode, count, type, offset, instances) {
        if (instances > 0 && share === 0) {
            share = 1;
            begun = performance.now();
        }
        drawElementsInstanced.call(this, mode, count, type, offset, instances);
    };
    gl.drawElements = function (...args) {
        drawElements.apply(this, args);
        if (framebuffer !== null || share === 0) return;
        this.readPixels(0, 0, 1, 1, this.RGBA, this.UNSIGNED_BYTE, new Uint8Array(4));
        pictures.push({ share, begun, shown: performance.now() });
        share = 0;
    };
}
