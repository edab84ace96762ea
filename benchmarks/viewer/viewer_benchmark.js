// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Measures the viewer page with Spark as its painter:
 * node benchmarks/viewer/viewer_benchmark.js FOLDER [FRAMES] [SIDE]
 * FOLDER holds the five built files; FRAMES is how many frames each figure is the median of; SIDE
 * makes the scene smaller than the program's own (768) for a machine without a graphics card.
 * Both sides of a comparison run alternately in one process, so a busy machine slows both.
 */
import { mkdtemp, readFile, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { setTimeout as delay } from "node:timers/promises";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";
import { heldBytes, processBytes } from "../../tests/web/support/memory.js";
import { kStereoModes } from "../../web/src/effects/stereo_modes.js";
import { installMeter } from "./meter.js";
import { countOf, kFullSide, writeScene } from "./scene.js";

/** @typedef {import("playwright-core").Page} Page */

const kSize = { width: 160, height: 120 };
/** Two eyes may cost this many times one. */
const kMostForTwoEyes = 2.2;

const [, , folderArgument, framesArgument = "5", sideArgument = `${kFullSide}`] = process.argv;
if (folderArgument === undefined) throw new Error("Usage: viewer_benchmark.js FOLDER [FRAMES]");
const side = Number(sideArgument);
const folderUrl = pathToFileURL(path.resolve(folderArgument)).href;
const frames = Number(framesArgument);

/** @param {number[]} values */
function median(values) {
    const sorted = [...values].sort((a, b) => a - b);
    return sorted[Math.floor(sorted.length / 2)];
}

/**
 * @param {string} name
 * @param {string} value
 */
function tell(name, value) {
    console.log(`${name.padEnd(44)}${value.padStart(16)}`);
}

/** @param {number} bytes */
function megabytes(bytes) {
    return `${(bytes / 1e6).toFixed(1)} MB`;
}

/**
 * Waits until the Gaussians are shown, and holds all later frames.
 * @param {Page} page
 */
async function settle(page) {
    for (let shown = false; !shown; await delay(50)) {
        shown = await page.evaluate(() => {
            const { meter } = /** @type {any} */ (window);
            meter.held = meter.firstFrame > 0;
            return meter.held;
        });
    }
}

/**
 * Milliseconds of a frame in a page whose frames are held.
 * @param {Page} page
 * @param {boolean} oneEye
 * @returns {Promise<number>}
 */
function frameTime(page, oneEye) {
    return page.evaluate((oneEye) => {
        const { meter, SwapFromNative } = /** @type {any} */ (window);
        // The loop has ended its budget; a call starts it again, and draws a frame at once.
        meter.held = true;
        if (SwapFromNative && meter.pending === 0) SwapFromNative(false);
        meter.oneEye = oneEye;
        const time = meter.runFrame();
        meter.oneEye = false;
        return time;
    }, oneEye);
}

/** @param {Page} page */
async function tellLoad(page) {
    const { spans, firstFrame } = await page.evaluate(() => /** @type {any} */ (window).meter);
    const length = (/** @type {[number, number]} */ [begin, end]) => end - begin;
    const sort = spans.sortDoubleSplats;
    const parse = await page.evaluate(parseTime, { folderUrl, file: sceneUrl });
    const steps = [
        ["until the file is asked for", spans.read[0]],
        ["read", length(spans.read)],
        ["parse and pack", length(spans.unpackPly)],
        ["  of which parse (measured by itself)", parse],
        ["pack for drawing, distances", sort[0] - spans.unpackPly[1]],
        ["sort", length(sort)],
        ["first frame", firstFrame - sort[1]],
        ["navigation to first frame", firstFrame],
    ];
    for (const [name, time] of steps) tell(String(name), `${Number(time).toFixed(0)} ms`);
}

/**
 * Runs in the page.
 * @param {{ folderUrl: string, file: string }} places
 * @returns {Promise<number>} milliseconds of parsing the file without keeping anything
 */
async function parseTime({ folderUrl, file }) {
    const { PlyReader } = await import(`${folderUrl}/spark.module.js`);
    const fileBytes = new Uint8Array(await (await fetch(file)).arrayBuffer());
    const begin = performance.now();
    const reader = new PlyReader({ fileBytes });
    await reader.parseHeader();
    reader.parseSplats(() => {}, () => {});
    return performance.now() - begin;
}

/**
 * @param {Page} page
 * @param {Page} plain
 * @returns {Promise<boolean>} whether two eyes cost no more than they may
 */
async function tellFrames(page, plain) {
    let within = true;
    for (const [mode, { name }] of kStereoModes.entries()) {
        await page.evaluate((mode) => {
            const { meter, ChgstFromNative } = /** @type {any} */ (window);
            meter.held = true;
            ChgstFromNative(mode);
        }, mode);
        const [two, one, sparks] = [[], [], []].map((list) => /** @type {number[]} */ (list));
        for (let i = 0; i < frames; ++i) {
            two.push(await frameTime(page, false));
            one.push(await frameTime(page, true));
            sparks.push(await frameTime(plain, false));
        }
        const eyes = median(two.map((time, i) => time / one[i]));
        const toSpark = median(two.map((time, i) => time / sparks[i]));
        within &&= eyes <= kMostForTwoEyes;
        tell(
            `frame, ${name}`,
            `${median(two).toFixed(1)} ms = ${eyes.toFixed(2)} x one eye ` +
                `(${median(one).toFixed(1)} ms) = ${toSpark.toFixed(2)} x plain Spark ` +
                `(${median(sparks).toFixed(1)} ms)`,
        );
    }
    return within;
}

/**
 * @param {Page} page
 * @param {string} when
 */
async function tellMemory(page, when) {
    const held = await heldBytes(page);
    const { renderer, gpu } = await processBytes(page);
    tell(
        `memory, ${when}`,
        `${megabytes(held)} in buffers, ${megabytes(renderer)} page, ${megabytes(gpu)} graphics`,
    );
}

/**
 * @param {import("playwright-core").Browser} browser
 * @param {string} url
 */
async function open(browser, url) {
    const page = await browser.newPage({ viewport: kSize });
    page.on("console", (message) => console.error(message.text()));
    await page.addInitScript(installMeter);
    await page.goto(url);
    return page;
}

const temporary = await mkdtemp(path.join(tmpdir(), "viewer-benchmark-"));
const sceneFile = path.join(temporary, "scene.ply");
const sceneUrl = pathToFileURL(sceneFile).href;
const browser = await chromium.launch({
    executablePath: process.env.VISTREL_CHROMIUM ?? "/usr/bin/chromium",
    args: [
        "--allow-file-access-from-files",
        "--disable-web-security",
        "--ignore-gpu-blocklist",
        "--enable-unsafe-swiftshader",
        "--use-angle=swiftshader",
        ...(process.getuid?.() === 0 ? ["--no-sandbox"] : []),
    ],
});
try {
    await writeScene(sceneFile, side);
    console.log(`${countOf(side)} Gaussians, ${kSize.width} x ${kSize.height}, ${frames} frames`);
    const page = await open(browser, `${folderUrl}/gaus3d.html?painter=gpu&mode=0&nst=1&openFile=${sceneFile}`);
    await settle(page);
    await tellLoad(page);
    await tellMemory(page, "first file");
    const template = await readFile(new URL("plain.html", import.meta.url), "utf8");
    const plainFile = path.join(temporary, "plain.html");
    await writeFile(plainFile, template.replaceAll("FOLDER", folderUrl));
    const plain = await open(browser, `${pathToFileURL(plainFile)}?openFile=${sceneUrl}`);
    await settle(plain);
    const within = await tellFrames(page, plain);
    await plain.close();
    for (const when of ["second file", "third file", "fourth file"]) {
        await page.evaluate((file) => {
            const { meter, FileFromNative } = /** @type {any} */ (window);
            meter.firstFrame = 0;
            delete meter.spans.sortDoubleSplats;
            FileFromNative(file);
        }, sceneFile);
        // Held frames never come by themselves: run them until the new file is sorted and shown.
        await page.waitForFunction(() => {
            const { meter } = /** @type {any} */ (window);
            meter.runFrame();
            return meter.spans.sortDoubleSplats && meter.firstFrame > 0;
        }, undefined, { polling: 300, timeout: 300_000 });
        await tellMemory(page, when);
    }
    if (!within) {
        console.error(`Two eyes cost more than ${kMostForTwoEyes} times one`);
        process.exitCode = 1;
    }
} finally {
    await browser.close();
    await rm(temporary, { recursive: true });
}
