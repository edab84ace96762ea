// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The built page in QtWebEngine, the browser that the program embeds.
 */
import { spawn } from "node:child_process";
import { mkdtemp, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { createInterface } from "node:readline";
import { after } from "node:test";
import { fileURLToPath } from "node:url";
import { RestingPage } from "./resting_page.js";
import { installWatch } from "./watch.js";

const kDriver = fileURLToPath(new URL("qt_driver.py", import.meta.url));
const kWithDisplay = fileURLToPath(new URL("../../support/with_display", import.meta.url));
const kEnvironment = {
    ...process.env,
    QTWEBENGINE_CHROMIUM_FLAGS:
        "--allow-file-access-from-files --disable-web-security --ignore-gpu-blocklist " +
        "--force-color-profile=srgb",
    ...(process.getuid?.() === 0 ? { QTWEBENGINE_DISABLE_SANDBOX: "1" } : {}),
};

/**
 * One folder for the files of a test file; every page is a process of its own.
 * @returns {Promise<QtBrowser>}
 */
export async function startQt() {
    const folder = await mkdtemp(path.join(tmpdir(), "viewer-"));
    const browser = new QtBrowser(folder);
    after(async () => {
        await browser.closeAll();
        await rm(folder, { recursive: true });
    });
    return browser;
}

export class QtBrowser {
    #folder;
    /** @type {QtPage[]} */
    #pages = [];

    /** @param {string} folder for files */
    constructor(folder) {
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
     * @param {{ query?: string, width?: number, height?: number }} [options]
     * @returns {Promise<QtPage>}
     */
    async open({ query = "", width = 200, height = 150 } = {}) {
        const page = await this.prepare(`(${installWatch})();`, { width, height });
        await page.go(query);
        return page;
    }

    /**
     * @param {string} script that runs before those of whatever the page loads
     * @param {{ width: number, height: number }} size
     * @returns {Promise<QtPage>} with nothing in it, and storage of its own
     */
    async prepare(script, size) {
        const page = new QtPage();
        this.#pages.push(page);
        await page.send("prepare", { script, ...size });
        return page;
    }

    async closeAll() {
        await Promise.all(this.#pages.map((page) => page.close()));
    }
}

class QtPage extends RestingPage {
    #process = spawn(kWithDisplay, ["/usr/bin/python3", kDriver], {
        env: kEnvironment,
        stdio: ["pipe", "pipe", "ignore"],
    });
    /** @type {Promise<void>} */
    #ended = new Promise((resolve) => this.#process.on("close", () => resolve()));
    #lastId = 0;
    /** @type {Map<number, { resolve: (reply: any) => void, reject: (error: Error) => void }>} */
    #waiting = new Map();

    constructor() {
        super();
        const lines = createInterface(this.#process.stdout);
        lines.on("line", (line) => this.#receive(JSON.parse(line)));
        void this.#ended.then(() => {
            const error = new Error("The page has ended");
            for (const { reject } of this.#waiting.values()) reject(error);
        });
    }

    /** @param {{ event?: string, text?: string, id?: number }} message */
    #receive(message) {
        if (message.event === "console") this.reports.push(String(message.text));
        if (message.event === "alert") this.alerts.push(String(message.text));
        const id = message.id ?? 0;
        this.#waiting.get(id)?.resolve(message);
        this.#waiting.delete(id);
    }

    /**
     * @param {string} method
     * @param {object} [params]
     * @returns {Promise<any>}
     */
    send(method, params = {}) {
        if (this.#process.exitCode !== null) return Promise.reject(new Error("The page has ended"));
        const id = ++this.#lastId;
        this.#process.stdin.write(JSON.stringify({ id, method, params }) + "\n");
        return new Promise((resolve, reject) => this.#waiting.set(id, { resolve, reject }));
    }

    /**
     * @override
     * @param {string} url
     */
    async load(url) {
        const { ok } = await this.send("goto", { url });
        if (!ok) throw new Error(`Cannot load ${url}`);
    }

    /**
     * @override
     * @param {string} expression
     */
    async evaluate(expression) {
        return (await this.send("evaluate", { expression })).value;
    }

    /** @override */
    async screenshot() {
        return Buffer.from((await this.send("screenshot")).png, "base64");
    }

    async close() {
        this.#process.stdin.end();
        await this.#ended;
    }
}
