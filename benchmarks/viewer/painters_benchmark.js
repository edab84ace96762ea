// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Measures the viewer page with each of its painters, in the browser that the program embeds:
 * node benchmarks/viewer/painters_benchmark.js FOLDER [SIDE]
 * FOLDER holds the five built files; SIDE makes the scene smaller than the program's own (768). The
 * goals are for two quiet cores and no graphics card.
 */
import { spawn } from "node:child_process";
import { mkdtemp, rm } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { pathToFileURL } from "node:url";
import { QtBrowser } from "../../tests/web/support/qt_page.js";
import { installPictureMeter } from "./picture_meter.js";
import { countOf, kFullSide, writeScene } from "./scene.js";

/** @typedef {Awaited<ReturnType<QtBrowser["open"]>>} Page */
/** @typedef {{ share: number, begun: number, shown: number }} TimedPicture */

const kSize = { width: 1200, height: 700 };
/** Movements of the wheel, and pictures of a movement's rate. */
const kTimes = 5;
const kMovement = 3000;

const [, , folder, sideArgument = `${kFullSide}`] = process.argv;
if (folder === undefined) throw new Error("Usage: painters_benchmark.js FOLDER [SIDE]");
const side = Number(sideArgument);

/** @param {number[]} values */
function median(values) {
    return [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
}

/**
 * @param {string} name
 * @param {number} value
 * @param {string} unit
 * @param {string} [goal]
 */
function tell(name, value, unit, goal = "") {
    const told = value.toFixed(value < 10 ? 3 : 0).padStart(10);
    console.log(`${name.padEnd(40)}${told} ${unit}${goal && `   (goal: ${goal})`}`);
}

/**
 * @param {Page} page
 * @returns {Promise<TimedPicture[]>}
 */
async function picturesOf(page) {
    return JSON.parse(await page.evaluate("JSON.stringify(window.pictures)"));
}

/**
 * @param {QtBrowser} browser
 * @param {string} painter
 * @param {string} scene
 * @returns {Promise<Page>} as soon as the first picture is on its screen
 */
async function openScene(browser, painter, scene) {
    const page = await browser.prepare(`(${installPictureMeter})();`, kSize);
    const url = pathToFileURL(path.resolve(String(folder), "gaus3d.html"));
    await page.load(`${url}?painter=${painter}&mode=0&nst=1&openFile=${scene}`);
    await page.becomes("window.pictures.length > 0");
    return page;
}

/**
 * Waits until the picture at rest is shown.
 * @param {Page} page
 */
async function settle(page) {
    await page.becomes("SceneStateFromNative() === 'shown'");
}

/**
 * @param {Page} page
 * @returns {Promise<number>} median milliseconds from a notch of the wheel to its first picture
 */
async function wheelToPicture(page) {
    const times = [];
    for (let i = 0; i < kTimes; ++i) {
        await settle(page);
        const deltaY = i % 2 === 0 ? 100 : -100;
        const begun = await page.evaluate(`(() => {
            window.pictures.length = 0;
            const begun = performance.now();
            document.querySelector("canvas").dispatchEvent(
                new WheelEvent("wheel", { deltaY: ${deltaY}, bubbles: true, cancelable: true }));
            return begun;
        })()`);
        await page.becomes("window.pictures.length > 0");
        times.push((await picturesOf(page))[0].shown - begun);
    }
    return median(times);
}

/**
 * @param {Page} page
 * @returns {Promise<{ rate: number, shares: number[] }>} pictures a second of a view that is turned
 *     in every frame of the display, and their parts of the Gaussians
 */
async function movingRate(page) {
    await settle(page);
    await page.evaluate(`(() => {
        const end = performance.now() + ${kMovement};
        let x = 500;
        window.hasMoved = false;
        window.pictures.length = 0;
        PanmoveFromNative(x, 300, 0);
        const step = () => {
            window.hasMoved = performance.now() > end;
            if (window.hasMoved) return;
            PanmoveFromNative((x += 2), 300, 1);
            requestAnimationFrame(step);
        };
        step();
    })(), null`);
    await page.becomes("window.hasMoved");
    const pictures = await picturesOf(page);
    return { rate: (1000 * pictures.length) / kMovement, shares: pictures.map((p) => p.share) };
}

/**
 * @param {Page} page
 * @returns {Promise<number>} median milliseconds of a pair with all Gaussians
 */
async function fullPair(page) {
    const times = [];
    for (let i = 0; i < kTimes; ++i) {
        await settle(page);
        await page.evaluate(`window.pictures.length = 0, SetFocusFromNative(${i + 1}, 30), null`);
        await page.becomes("window.pictures.some(({ share }) => share === 1)");
        const whole = (await picturesOf(page)).find(({ share }) => share === 1);
        if (whole) times.push(whole.shown - whole.begun);
    }
    return median(times);
}

/**
 * @param {() => Promise<void>} measure while the cores have other work, too
 */
async function whileBusy(measure) {
    const others = [0, 1].map(() => spawn(process.execPath, ["-e", "for (;;);"]));
    try {
        await measure();
    } finally {
        for (const other of others) other.kill();
    }
}

const temporary = await mkdtemp(path.join(tmpdir(), "painters-benchmark-"));
const browser = new QtBrowser(temporary);
try {
    const scene = path.join(temporary, "scene.ply");
    await writeScene(scene, side);
    console.log(`${countOf(side)} Gaussians, ${kSize.width} x ${kSize.height}, side by side`);

    const cpu = await openScene(browser, "cpu", scene);
    tell("cpu: navigation to first picture", (await picturesOf(cpu))[0].shown, "ms", "2000");
    const cpuPair = await fullPair(cpu);
    tell("cpu: a full pair", cpuPair, "ms", "250");
    tell("cpu: wheel to picture", await wheelToPicture(cpu), "ms", "150");
    const quiet = await movingRate(cpu);
    tell("cpu: moving", quiet.rate, "pictures a second", "10");
    tell("cpu: their part of the Gaussians", median(quiet.shares), "");
    await whileBusy(async () => {
        const busy = await movingRate(cpu);
        tell("cpu: moving, two other processes at work", busy.rate, "pictures a second", "4");
    });
    await cpu.close();

    const gpu = await openScene(browser, "gpu", scene);
    const [first] = await picturesOf(gpu);
    tell("gpu: navigation to first picture", first.shown, "ms");
    await gpu.becomes("window.pictures.length > 1");
    const [, second] = await picturesOf(gpu);
    const gpuPair = second.shown - second.begun;
    tell("gpu: a full pair", gpuPair, "ms");
    tell("a full pair, cpu / gpu", cpuPair / gpuPair, "", "0.02");
    await gpu.close();
} finally {
    await browser.closeAll();
    await rm(temporary, { recursive: true });
}
