// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * @typedef {ReturnType<typeof import("./native_calls.js").createNativeCalls>} NativeCalls
 * @typedef {keyof NativeCalls} CallName
 */

/** Holds calls back until there is a viewer, which then gets them in their order. */
export class EarlyCalls {
    /** @type {{ name: CallName, call: (calls: NativeCalls) => unknown }[]} */
    #waiting = [];
    /** @type {NativeCalls | null} those of the viewer, null while there is none */
    calls = null;
    #report;

    /** @param {(error: unknown) => void} report gets what a call that was held back throws */
    constructor(report) {
        this.#report = report;
    }

    /**
     * @template {CallName} Name
     * @param {Name} name
     * @returns {(...values: Parameters<NativeCalls[Name]>) => void}
     */
    entry(name) {
        return (...values) => {
            const call = (/** @type {any} */ calls) => calls[name](...values);
            if (this.calls) call(this.calls);
            else this.#waiting.push({ name, call });
        };
    }

    /**
     * @param {CallName} name
     * @returns {boolean} whether such a call is held back
     */
    has(name) {
        return this.#waiting.some((waiting) => waiting.name === name);
    }

    /** @param {NativeCalls} calls take over from now on */
    handOver(calls) {
        this.calls = calls;
        for (const { call } of this.#waiting.splice(0)) {
            try {
                call(calls);
            } catch (error) {
                this.#report(error);
            }
        }
    }
}
