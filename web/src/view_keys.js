// SPDX-License-Identifier: GPL-3.0-or-later
import { kStereoModes } from "./effects/stereo_modes.js";

const kKeyA = 65;
const kKeyS = 83;
const kKeyX = 88;
/** Pixels of the drag that one press of an arrow stands for. */
const kDrag = 20;

/** @type {Record<string, [number, number]>} */
const kArrows = {
    ArrowLeft: [-kDrag, 0],
    ArrowRight: [kDrag, 0],
    ArrowUp: [0, -kDrag],
    ArrowDown: [0, kDrag],
};

/**
 * The mouse's moves for people without one: arrows turn, with Shift they pan, plus and minus zoom.
 * @param {import("./OrbitControls3d.js").OrbitControls} controls
 * @param {KeyboardEvent} event
 * @returns {boolean} whether the key is one of these
 */
export function moveByKey(controls, event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return false;
    if (Object.hasOwn(kArrows, event.key)) {
        const [dx, dy] = kArrows[event.key];
        if (event.shiftKey) controls.panBy(dx, dy);
        else controls.turnBy(dx, dy);
        return true;
    }
    // Where plus needs Shift, the key without it will do.
    const isIn = event.key === "+" || event.key === "=";
    if (isIn || event.key === "-") {
        controls.zoomStep(isIn);
        return true;
    }
    return false;
}

/**
 * S and A choose the next and the previous stereo mode, X exchanges the eyes. None of them draws.
 * @param {import("./viewer.js").Viewer} viewer
 * @param {number} keyCode
 */
function chooseByKey(viewer, keyCode) {
    const { settings, stereoMode } = viewer;
    const modes = kStereoModes.length;
    if (keyCode === kKeyS) viewer.setStereoMode((stereoMode + 1) % modes);
    if (keyCode === kKeyA) viewer.setStereoMode((stereoMode + modes - 1) % modes);
    if (keyCode === kKeyX) settings.swap = !settings.swap;
    if ([kKeyS, kKeyA, kKeyX].includes(keyCode)) viewer.saveView();
}

/**
 * @param {import("./viewer.js").Viewer} viewer
 * @param {KeyboardEvent} event
 * @returns {boolean} whether the browser must not act on the key itself
 */
export function handleKey(viewer, event) {
    chooseByKey(viewer, event.keyCode);
    return moveByKey(viewer.controls, event);
}
