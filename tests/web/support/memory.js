// SPDX-License-Identifier: GPL-3.0-or-later
import { readFile } from "node:fs/promises";

/** @typedef {import("playwright-core").Page} Page */

/**
 * @param {Page} page
 * @returns {Promise<number>} bytes of all array buffers that the page holds
 */
export async function heldBytes(page) {
    const session = await page.context().newCDPSession(page);
    /** @type {string[]} */
    const chunks = [];
    session.on("HeapProfiler.addHeapSnapshotChunk", ({ chunk }) => chunks.push(chunk));
    await session.send("HeapProfiler.takeHeapSnapshot", { reportProgress: false });
    await session.detach();
    const { snapshot, nodes, strings } = JSON.parse(chunks.join(""));
    /** @type {string[]} */
    const fields = snapshot.meta.node_fields;
    const name = fields.indexOf("name");
    const size = fields.indexOf("self_size");
    let sum = 0;
    for (let at = 0; at < nodes.length; at += fields.length) {
        if (strings[nodes[at + name]] === "system / JSArrayBufferData") sum += nodes[at + size];
    }
    return sum;
}

/**
 * Takes no time, unlike heldBytes, so it is for what a page holds more than before.
 * @param {Page} page
 * @returns {Promise<number>} bytes of all array buffers that the page holds, and of its scripts
 */
export async function storedBytes(page) {
    const session = await page.context().newCDPSession(page);
    await session.send("HeapProfiler.collectGarbage");
    const usage = /** @type {{ backingStorageSize: number }} */ (
        /** @type {unknown} */ (await session.send("Runtime.getHeapUsage"))
    );
    await session.detach();
    if (!Number.isInteger(usage.backingStorageSize)) throw new Error("The browser does not tell");
    return usage.backingStorageSize;
}

/**
 * @param {Page} page
 * @returns {Promise<{ renderer: number, gpu: number }>} private bytes of the largest page process
 *     and of the graphics process
 */
export async function processBytes(page) {
    const browser = page.context().browser();
    if (!browser) throw new Error("The page has no browser");
    const collector = await page.context().newCDPSession(page);
    await collector.send("HeapProfiler.collectGarbage");
    await collector.detach();
    const session = await browser.newBrowserCDPSession();
    const { processInfo } = await session.send("SystemInfo.getProcessInfo");
    await session.detach();
    const bytes = { renderer: 0, gpu: 0 };
    for (const { type, id } of processInfo) {
        if (type === "renderer") bytes.renderer = Math.max(bytes.renderer, await privateBytes(id));
        if (type === "GPU") bytes.gpu = await privateBytes(id);
    }
    return bytes;
}

/** @param {number} pid */
async function privateBytes(pid) {
    const text = await readFile(`/proc/${pid}/smaps_rollup`, "utf8");
    let sum = 0;
    for (const [, kilobytes] of text.matchAll(/^Private_\w+:\s+(\d+) kB$/gm)) {
        sum += Number(kilobytes) * 1024;
    }
    return sum;
}
