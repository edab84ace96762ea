// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Compares a shared page with the program's page that shows the same scene, in one browser:
 * node benchmarks/viewer/share_benchmark.js FOLDER [SIDE]
 * FOLDER holds the five built files and has the shared page in share/ beside it. SIDE gives the
 * scene 2 * SIDE * SIDE Gaussians (447: 399,618). Both have the same window, painter and mode of
 * work; the shared page starts with one picture for both eyes, the program's with two.
 */
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { setTimeout as delay } from "node:timers/promises";
import { pathToFileURL } from "node:url";
import { launchChromium } from "../../tests/web/support/viewer_page.js";
import { sharedPage } from "../../tests/web/support/shared_page.js";
import { relief, spzFile } from "../../tests/web/support/splat_files.js";
import { installPictureMeter } from "./picture_meter.js";

const kSize = { width: 1200, height: 700 };
const kRounds = 3;
const kLimit = 120_000;

const [, , folder, sideArgument = "447"] = process.argv;
if (folder === undefined) throw new Error("Usage: share_benchmark.js FOLDER [SIDE]");
process.env.VISTREL_PAGE = folder;
const side = Number(sideArgument);

/** @param {number[]} values */
function median(values) {
    return [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
}

const browser = await launchChromium();
const scratch = mkdtempSync(path.join(tmpdir(), "share-"));

/**
 * @param {string} name
 * @param {Buffer | string} bytes
 * @returns {string} address
 */
function fileOf(name, bytes) {
    writeFileSync(path.join(scratch, name), bytes);
    return `${pathToFileURL(path.join(scratch, name))}`;
}

/**
 * @param {string} url
 * @returns {Promise<number>} milliseconds from the navigation to the first picture on the screen
 */
async function firstPicture(url) {
    const context = await browser.newContext({ viewport: kSize, reducedMotion: "reduce" });
    await context.addInitScript(installPictureMeter);
    const page = await context.newPage();
    await page.goto(url);
    let time = 0;
    for (const limit = Date.now() + kLimit; time === 0; await delay(20)) {
        if (Date.now() > limit) throw new Error(`No picture of ${url}`);
        time = Number(await page.evaluate("window.pictures[0]?.shown ?? 0"));
    }
    await context.close();
    return time;
}

const gaussians = relief(side);
for (const { center } of gaussians) center[2] += 3; // before both pages' cameras
const scene = spzFile(gaussians);
const html = await sharedPage({ scene });
const program = pathToFileURL(path.resolve(folder, "gaus3d.html"));
const urls = {
    program: `${program}?mode=0&nst=1&openFile=${fileOf("scene.spz", scene)}`,
    shared: fileOf("share.html", html),
};
/** @type {Record<keyof typeof urls, number[]>} */
const times = { program: [], shared: [] };
for (let round = 0; round < kRounds; ++round) {
    for (const name of /** @type {const} */ (["program", "shared"])) {
        times[name].push(await firstPicture(urls[name]));
    }
}

await browser.close();
rmSync(scratch, { recursive: true });
const beside = Buffer.byteLength(html) - Buffer.byteLength(scene.toString("base64"));
const [its, own] = [median(times.program), median(times.shared)];
console.log(`Gaussians                     ${2 * side * side}`);
console.log(`Size beside the scene         ${(beside / 1e6).toFixed(3)} MB   (goal: 1.5 MB)`);
console.log(`First picture, program's page ${its.toFixed(0)} ms`);
console.log(`First picture, shared page    ${own.toFixed(0)} ms, ${(own / its).toFixed(2)} times`);
