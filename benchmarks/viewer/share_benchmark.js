// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Compares a shared page with the program's page that shows the same scene, in one browser:
 * node benchmarks/viewer/share_benchmark.js FOLDER [SIDE]
 * FOLDER holds the five built files and has the shared page in share/ beside it. SIDE gives the
 * scene 2 * SIDE * SIDE Gaussians (447: 399,618). Both have the same window, painter and mode of
 * work; the shared page starts with one picture for both eyes, the program's with two.
 */
import { statSync } from "node:fs";
import path from "node:path";
import { after } from "node:test";
import { pathToFileURL } from "node:url";
import { startBrowser } from "../../tests/web/support/viewer_page.js";
import { sharedPage } from "../../tests/web/support/shared_page.js";
import { relief, spzFile } from "../../tests/web/support/splat_files.js";
import { installPictureMeter } from "./picture_meter.js";

const kSize = { width: 1200, height: 700 };
const kRounds = 5;

const [, , folder, sideArgument = "447"] = process.argv;
if (folder === undefined) throw new Error("Usage: share_benchmark.js FOLDER [SIDE]");
process.env.VISTREL_PAGE = folder;
const side = Number(sideArgument);

/** @param {number[]} values */
function median(values) {
    return [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
}

const browser = await startBrowser();
after(() => process.exit()); // node:test would wait for the browser

/**
 * @param {string} url
 * @returns {Promise<number>} milliseconds from the navigation to the first picture on the screen
 */
async function firstPicture(url) {
    const page = await browser.prepare(`(${installPictureMeter})();`, kSize, {
        reducedMotion: "reduce",
    });
    await page.load(url);
    await page.becomes("window.pictures.length > 0");
    const time = await page.evaluate("window.pictures[0].shown");
    await page.close();
    return time;
}

const scene = spzFile(relief(side));
const file = await browser.file("scene.spz", scene);
const html = await sharedPage({ scene });
const shared = await browser.file("share.html", html);
const urls = {
    program: `${pathToFileURL(path.resolve(folder, "gaus3d.html"))}?mode=0&nst=1&openFile=${file}`,
    shared: `${pathToFileURL(shared)}`,
};
/** @type {Record<keyof typeof urls, number[]>} */
const times = { program: [], shared: [] };
for (let round = 0; round < kRounds; ++round) {
    for (const name of /** @type {const} */ (["program", "shared"])) {
        times[name].push(await firstPicture(urls[name]));
    }
}

const beside = statSync(shared).size - Buffer.byteLength(scene.toString("base64"));
const [program, own] = [median(times.program), median(times.shared)];
console.log(`Gaussians                     ${2 * side * side}`);
console.log(`Size beside the scene         ${(beside / 1e6).toFixed(3)} MB   (goal: 1.5 MB)`);
console.log(`First picture, program's page ${program.toFixed(0)} ms`);
console.log(`First picture, shared page    ${own.toFixed(0)} ms, ${(own / program).toFixed(2)} times`);
process.exit();
