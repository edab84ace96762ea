// SPDX-License-Identifier: GPL-3.0-or-later
import path from "node:path";
import { setTimeout as delay } from "node:timers/promises";
import { pathToFileURL } from "node:url";
import { decodePng } from "./png.js";

/** Longest time that a page may take to come to rest, milliseconds. */
const kRestLimit = 120_000;

/** @returns {string} folder of the five built files */
export function builtFolder() {
    const folder = process.env.VISTREL_PAGE;
    if (!folder) throw new Error("VISTREL_PAGE does not name the folder of the built page");
    return path.resolve(folder);
}

/** The built page in some browser, with what it reported. Pages carry the counts of watch.js. */
export class RestingPage {
    /** @type {string[]} console lines and uncaught errors */
    reports = [];
    /** @type {string[]} */
    alerts = [];

    /**
     * @param {string} _url
     * @returns {Promise<void>}
     */
    load(_url) {
        throw new Error("Not of this class");
    }

    /**
     * @param {string} _expression of JavaScript, with a JSON value
     * @returns {Promise<any>}
     */
    evaluate(_expression) {
        throw new Error("Not of this class");
    }

    /** @returns {Promise<Buffer>} PNG */
    screenshot() {
        throw new Error("Not of this class");
    }

    /** @param {string} query without "?" */
    async go(query) {
        const url = pathToFileURL(path.join(builtFolder(), "gaus3d.html"));
        await this.load(query ? `${url}?${query}` : `${url}`);
        await this.rest();
    }

    /**
     * Calls a global function of the page and waits until the page is at rest.
     * @param {string} name
     * @param {...(string | number | boolean)} args
     */
    async call(name, ...args) {
        await this.evaluate(`window.${name}(...${JSON.stringify(args)}), null`);
        await this.rest();
    }

    /** Waits until nothing in the page will go on by itself. */
    async rest() {
        const limit = Date.now() + kRestLimit;
        // Several times in a row: between two pieces of work there are moments without any pending.
        for (let quiet = 0; quiet < 3; ) {
            const pending = (await this.hasViewer()) ? (await this.watch()).pending : 1;
            quiet = pending === 0 ? quiet + 1 : 0;
            if (Date.now() > limit) throw new Error(`The page does not come to rest: ${pending}`);
            await delay(pending === 0 ? 5 : 20);
        }
    }

    /**
     * Waits until an expression is true.
     * @param {string} expression
     * @returns {Promise<any>} its value
     */
    async becomes(expression) {
        for (const limit = Date.now() + kRestLimit; Date.now() < limit; await delay(20)) {
            const value = await this.evaluate(expression);
            if (value) return value;
        }
        throw new Error(`Does not become true: ${expression}`);
    }

    /** @returns {Promise<boolean>} whether the page has made its viewer, later than it is loaded */
    hasViewer() {
        return this.evaluate(`document.querySelector("#container > canvas") !== null`);
    }

    /** @returns {Promise<import("./watch.js").Watch>} */
    async watch() {
        return JSON.parse(await this.evaluate("JSON.stringify(window.watch)"));
    }

    /** @returns {Promise<import("./png.js").Picture>} */
    async picture() {
        return decodePng(await this.screenshot());
    }

    /** @returns {Promise<Required<import("../../../web/src/saved_view.js").SavedView>>} */
    async savedView() {
        return JSON.parse(await this.evaluate('localStorage.getItem("cameraState")'));
    }

    /** @returns {Promise<Required<import("../../../web/src/saved_view.js").SavedView>>} */
    async currentView() {
        await this.evaluate('window.dispatchEvent(new Event("pagehide")), null');
        return this.savedView();
    }
}
