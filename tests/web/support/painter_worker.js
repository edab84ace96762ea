// SPDX-License-Identifier: GPL-3.0-or-later
import { readFileSync } from "node:fs";
import path from "node:path";
import { createContext, runInContext } from "node:vm";
import { builtFolder } from "./resting_page.js";

/**
 * @returns {{ worker: string, wasm: string }} what the build put at the end of Spark's file
 */
function delivery() {
    const spark = readFileSync(path.join(builtFolder(), "spark.module.js"), "utf8");
    const [, text] = /\nexport const softwarePainter = (.*);\n$/.exec(spark) ?? [];
    return JSON.parse(text);
}

/** The built text of a painter's worker, run without a browser. */
export class PainterWorker {
    #scope;
    /** @type {((message: any) => void)[]} */
    #waiting = [];

    /** @param {Uint8Array} [module] the bytes of its WebAssembly, the built ones when absent */
    constructor(module) {
        const { worker, wasm } = delivery();
        this.#scope = createContext({
            WebAssembly,
            performance,
            Float32Array,
            Uint32Array,
            Uint8ClampedArray,
            RangeError,
            Error,
            postMessage: (/** @type {any} */ message) => this.#waiting.shift()?.(message),
        });
        runInContext(worker, this.#scope);
        this.tell("start", { module: module ?? Buffer.from(wasm, "base64") });
    }

    /**
     * @param {import("../../../web/src/painter/eye_painter.js").Request} request
     * @param {object} content
     */
    tell(request, content) {
        this.#scope.onmessage({ data: { request, ...content } });
    }

    /**
     * Only one at a time.
     * @param {import("../../../web/src/painter/eye_painter.js").Request} request
     * @param {object} [content]
     * @returns {Promise<any>} the answer
     * @throws {Error} with the worker's reason
     */
    async ask(request, content = {}) {
        const answered = new Promise((resolve) => this.#waiting.push(resolve));
        this.tell(request, { id: 1, ...content });
        const { answer, failure } = await answered;
        if (failure !== undefined) throw new Error(failure);
        return answer;
    }

    /**
     * @param {Uint32Array} words of all its Gaussians
     * @param {number} [count] that is told
     */
    async show(words, count = words.length / 4) {
        this.tell("begin", { count, encoding: {}, shDegree: 0 });
        this.tell("append", { words, harmonics: [] });
        await this.ask("finish");
    }
}
