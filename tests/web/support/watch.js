// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * @typedef {object} Watch
 * @property {number} frames pictures put together on the screen
 * @property {number} eyes pictures of one eye with Gaussians in them, or asked for from a painter
 * @property {number} sorts
 * @property {number} pending pieces of work that will go on by themselves
 * @property {Record<string, number>} objects created and not deleted, by kind
 * @property {string[]} refused by the page's policy, each with the directive
 */

/**
 * Runs in the page before its own scripts: counts what the page asks of the browser, so that a test
 * can wait until the page is at rest and see what a moment of rest costs. Also hands out animation
 * frames as fast as they are drawn, for a page draws hundreds after a load; those of the display are
 * had by `displayFrame`.
 */
export function installWatch() {
    /** @type {Watch} */
    const watch = { frames: 0, eyes: 0, sorts: 0, pending: 0, objects: {}, refused: [] };
    Object.assign(window, { watch });
    window.addEventListener("securitypolicyviolation", ({ effectiveDirective, blockedURI }) => {
        watch.refused.push(`${effectiveDirective} ${blockedURI}`);
    });

    /**
     * @template {object} T
     * @param {T} owner
     * @param {string} name
     * @param {(original: Function, self: any, args: any[]) => unknown} around
     */
    function wrap(owner, name, around) {
        const methods = /** @type {Record<string, Function>} */ (/** @type {unknown} */ (owner));
        const original = methods[name];
        methods[name] = function (/** @type {any[]} */ ...args) {
            return around(original, this, args);
        };
    }

    const gl = WebGL2RenderingContext.prototype;
    /** @type {unknown} */
    let framebuffer = null;
    wrap(gl, "bindFramebuffer", (original, self, args) => {
        if (args[0] !== self.READ_FRAMEBUFFER) framebuffer = args[1];
        return original.apply(self, args);
    });
    for (const draw of ["drawArrays", "drawElements"]) {
        wrap(gl, draw, (original, self, args) => {
            if (framebuffer === null) watch.frames += 1;
            return original.apply(self, args);
        });
    }
    wrap(CanvasRenderingContext2D.prototype, "putImageData", (original, self, args) => {
        watch.frames += 1;
        return original.apply(self, args);
    });
    wrap(gl, "drawElementsInstanced", (original, self, args) => {
        if (args[4] > 0) watch.eyes += 1;
        return original.apply(self, args);
    });
    const kinds = ["Framebuffer", "Texture", "Program", "Renderbuffer", "Buffer", "VertexArray"];
    for (const kind of kinds) {
        watch.objects[kind] = 0;
        wrap(gl, `create${kind}`, (original, self, args) => {
            watch.objects[kind] += 1;
            return original.apply(self, args);
        });
        wrap(gl, `delete${kind}`, (original, self, args) => {
            if (args[0]) watch.objects[kind] -= 1;
            return original.apply(self, args);
        });
    }

    /**
     * Counts a callback as pending until it has run.
     * @param {any} callback
     */
    function counted(callback) {
        watch.pending += 1;
        return (/** @type {any[]} */ ...args) => {
            watch.pending -= 1;
            return callback(...args);
        };
    }
    wrap(window, "setTimeout", (original, _self, [callback, ...rest]) =>
        original.call(window, counted(callback), ...rest),
    );
    const displayFrame = window.requestAnimationFrame.bind(window);
    const channel = new MessageChannel();
    /** @type {(() => void)[]} */
    const queue = [];
    channel.port1.onmessage = () => queue.shift()?.();
    Object.assign(window, {
        displayFrame,
        requestAnimationFrame: (/** @type {(time: number) => void} */ callback) => {
            const run = counted(callback);
            const length = queue.push(() => run(performance.now()));
            channel.port2.postMessage(null);
            return length;
        },
    });
    wrap(XMLHttpRequest.prototype, "send", (original, self, args) => {
        watch.pending += 1;
        self.addEventListener("loadend", () => (watch.pending -= 1));
        return original.apply(self, args);
    });
    wrap(Worker.prototype, "postMessage", (original, self, args) => {
        if (typeof args[0]?.id === "number") {
            watch.pending += 1;
            if (/^sort/.test(args[0].name)) watch.sorts += 1;
            if (args[0].request === "paint") watch.eyes += 1;
            const done = (/** @type {MessageEvent} */ { data }) => {
                if (data.id !== args[0].id) return;
                self.removeEventListener("message", done);
                watch.pending -= 1;
            };
            self.addEventListener("message", done);
        }
        return original.apply(self, args);
    });
}
