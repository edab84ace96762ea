// SPDX-License-Identifier: GPL-3.0-or-later
/** Shared pages: the built template with a scene in it. */
import { readFile } from "node:fs/promises";
import path from "node:path";
import { builtFolder } from "./resting_page.js";

/**
 * @typedef {object} Share
 * @property {Buffer} scene SPZ
 * @property {string} [title]
 * @property {string} [poster] data URL
 * @property {object} [facts] in place of, and beside, those of kPhotograph
 */

/** Facts of a photograph 160 pixels wide of what lies around a depth of 4. */
export const kPhotograph = {
    camera: { focalX: 160, focalY: 160, centreX: 80, centreY: 60, width: 160, height: 120 },
    depths: { nearest: 3, middle: 4, farthest: 6 },
    free: false,
};

/**
 * Fills the places as docs/viewer.md says.
 * @param {Share} share
 * @returns {Promise<string>} HTML
 */
export async function sharedPage({ scene, title = "A scene", poster = "", facts = {} }) {
    const template = path.join(builtFolder(), "..", "share", "viewer.html");
    const text = scene.toString("base64");
    const all = { ...kPhotograph, length: text.length, ...facts };
    const filled = new Map([
        ["title", title.replaceAll("&", "&amp;").replaceAll("<", "&lt;")],
        ["poster", poster],
        ["facts", JSON.stringify(all).replaceAll("<", "\\u003c")],
        ["bytes", text],
    ]);
    const parts = (await readFile(template, "utf8")).split(/\(the scene's (\w+)\)/);
    return parts.map((part, i) => (i % 2 === 0 ? part : filled.get(part))).join("");
}

/** An expression that is true when a shared page shows all of its scene, or says why it does not. */
export const kIsDone = `document.getElementById("container")?.ariaBusy === "false"`;

/**
 * One that is true when nothing of the page's will go on but the bar's fading. Work leaves moments
 * without any pending, so it asks for several in a row.
 */
export const kIsStill = `(() => {
    const fading = document.getElementById("bar").classList.contains("faded") ? 0 : 1;
    const isQuiet = ${kIsDone} && watch.pending <= fading;
    return (window.quiet = isQuiet ? (window.quiet ?? 0) + 1 : 0) > 3 && !(window.quiet = 0);
})()`;
