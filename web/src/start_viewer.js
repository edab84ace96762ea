import { kStereoModes } from "./effects/stereo_modes.js";
import { createNativeCalls } from "./native_calls.js";
import { moveByKey } from "./view_keys.js";
import { Viewer } from "./viewer.js";

const kKeyA = 65;
const kKeyS = 83;
const kKeyX = 88;

/**
 * Makes the viewer in the page, with its keys and its saved view, and has it load the query's file.
 * @param {import("./query.js").Query} query
 */
export function startViewer(query) {
    const container = /** @type {HTMLElement} */ (document.getElementById("container"));
    const rateBox = /** @type {HTMLElement} */ (document.getElementById("fps"));
    const viewer = new Viewer(container, query.bsharp, (framesPerSecond) => {
        rateBox.textContent = framesPerSecond.toFixed(1);
    });

    document.addEventListener("visibilitychange", () => {
        if (document.visibilityState === "hidden") viewer.saveView();
    });
    window.addEventListener("pagehide", () => viewer.saveView());
    window.addEventListener("resize", () => viewer.resize());
    window.addEventListener("keydown", (event) => {
        const { settings, stereoMode } = viewer;
        const modes = kStereoModes.length;
        if (event.keyCode === kKeyS) viewer.setStereoMode((stereoMode + 1) % modes);
        if (event.keyCode === kKeyA) viewer.setStereoMode((stereoMode + modes - 1) % modes);
        if (event.keyCode === kKeyX) settings.swap = !settings.swap;
        if ([kKeyS, kKeyA, kKeyX].includes(event.keyCode)) viewer.saveView();
        if (moveByKey(viewer.controls, event)) event.preventDefault();
    });

    if (query.filepath === null || query.nstt === 1) {
        viewer.restoreMode();
        viewer.saveView();
    } else {
        viewer.restoreView();
    }
    if (query.filepath !== null) viewer.load(query.filepath, true);
    return createNativeCalls(viewer);
}
