// SPDX-License-Identifier: GPL-3.0-or-later
import { createNativeCalls } from "./native_calls.js";
import { handleKey } from "./view_keys.js";
import { Viewer } from "./viewer.js";

/**
 * Makes the viewer in the page, with its keys and its saved view, and has it load the query's file.
 * @param {import("./query.js").Query} query
 */
export function startViewer(query) {
    const container = /** @type {HTMLElement} */ (document.getElementById("container"));
    const rateBox = /** @type {HTMLElement} */ (document.getElementById("fps"));
    const viewer = new Viewer(container, query, (framesPerSecond) => {
        rateBox.textContent = framesPerSecond.toFixed(1);
    });

    document.addEventListener("visibilitychange", () => {
        if (document.visibilityState === "hidden") viewer.saveView();
    });
    window.addEventListener("pagehide", () => viewer.saveView());
    window.addEventListener("resize", () => viewer.resize());
    window.addEventListener("keydown", (event) => {
        if (handleKey(viewer, event)) event.preventDefault();
    });

    if (query.filepath === null || query.freshView) {
        viewer.restoreMode();
        viewer.saveView();
    } else {
        viewer.restoreView();
    }
    if (query.filepath !== null) viewer.load(query.filepath, true);
    return createNativeCalls(viewer);
}
