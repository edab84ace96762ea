// SPDX-License-Identifier: GPL-3.0-or-later
import { mkdtemp, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { after } from "node:test";
import { chromium } from "playwright-core";
import { startCounting, stopCounting } from "../coverage/page_coverage.js";
import { takeWebGLAway } from "./graphics.js";
import { RestingPage } from "./resting_page.js";
import { installWatch } from "./watch.js";

const kArguments = [
    "--allow-file-access-from-files",
    "--disable-web-security",
    // Machines that run tests have no graphics card.
    "--use-angle=swiftshader",
    "--enable-unsafe-swiftshader",
    "--ignore-gpu-blocklist",
    "--force-color-profile=srgb",
    // Nothing but the page may use the network or change between two runs.
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--no-first-run",
    ...(process.getuid?.() === 0 ? ["--no-sandbox"] : []),
];

/** Longest time that a page may take to load on a machine that is busy, milliseconds. */
const kLoadLimit = 120_000;

/** @returns {Promise<import("playwright-core").Browser>} for the caller to close */
export function launchChromium() {
    return chromium.launch({
        executablePath: process.env.VISTREL_CHROMIUM ?? "/usr/bin/chromium",
        args: kArguments,
    });
}

/**
 * One browser for the tests of a file, closed after them.
 * @returns {Promise<Browser>}
 */
export async function startBrowser() {
    const instance = await launchChromium();
    const folder = await mkdtemp(path.join(tmpdir(), "viewer-"));
    after(async () => {
        const pages = instance.contexts().flatMap((context) => context.pages());
        await Promise.all(pages.map(stopCounting));
        await instance.close();
        await rm(folder, { recursive: true });
    });
    return new Browser(instance, folder);
}

/**
 * @typedef {object} OpenOptions
 * @property {string} [query] of the page, without "?"; none when absent
 * @property {number} [width] CSS pixels
 * @property {number} [height] CSS pixels
 * @property {number} [scale] device pixels for a CSS pixel
 * @property {boolean} [touch]
 * @property {string} [saved] text of the saved view
 * @property {string} [locale] of the browser; English when absent
 * @property {boolean} [withoutWebGL] as in a browser that has none
 */

class Browser {
    #instance;
    #folder;

    /**
     * @param {import("playwright-core").Browser} instance
     * @param {string} folder for files
     */
    constructor(instance, folder) {
        this.#instance = instance;
        this.#folder = folder;
    }

    /**
     * @param {string} name
     * @param {Buffer | string} bytes
     * @returns {Promise<string>} absolute path
     */
    async file(name, bytes) {
        const file = path.join(this.#folder, name);
        await writeFile(file, bytes);
        return file;
    }

    /**
     * Opens the page with storage of its own and waits until it is at rest.
     * @param {OpenOptions} [options]
     */
    async open(options = {}) {
        const { query = "", width = 200, height = 150, scale = 1, touch = false } = options;
        const context = await this.#instance.newContext({
            viewport: { width, height },
            deviceScaleFactor: scale,
            hasTouch: touch,
            locale: options.locale ?? "en-US",
        });
        await context.addInitScript(installWatch);
        if (options.saved !== undefined) {
            await context.addInitScript((saved) => {
                if (localStorage.getItem("cameraState") === null) {
                    localStorage.setItem("cameraState", saved);
                }
            }, options.saved);
        }
        if (options.withoutWebGL) await context.addInitScript(takeWebGLAway);
        const page = new ViewerPage(await context.newPage());
        await startCounting(page.page);
        await page.go(query);
        return page;
    }

    /**
     * @param {string} script that runs before those of whatever the page loads
     * @param {{ width: number, height: number }} size
     * @param {import("playwright-core").BrowserContextOptions} [options]
     * @returns {Promise<ViewerPage>} with nothing in it, and storage of its own
     */
    async prepare(script, size, options = {}) {
        const context = await this.#instance.newContext({ viewport: size, ...options });
        await context.addInitScript(script);
        return new ViewerPage(await context.newPage());
    }
}

/** The built page in Chromium. */
export class ViewerPage extends RestingPage {
    /** For input and whatever else only this browser can do. */
    page;

    /** @param {import("playwright-core").Page} page */
    constructor(page) {
        super();
        this.page = page;
        page.on("console", (message) => this.reports.push(message.text()));
        page.on("pageerror", (error) => this.reports.push(`uncaught ${error}`));
        page.on("dialog", (dialog) => {
            this.alerts.push(dialog.message());
            void dialog.accept();
        });
    }

    /**
     * @override
     * @param {string} url
     */
    async load(url) {
        await this.page.goto(url, { timeout: kLoadLimit });
    }

    /**
     * @override
     * @param {string} expression
     * @returns {Promise<any>}
     */
    evaluate(expression) {
        return this.page.evaluate(expression);
    }

    /** @override */
    screenshot() {
        return this.page.screenshot();
    }

    async close() {
        await stopCounting(this.page);
        await this.page.context().close();
    }
}
