// SPDX-License-Identifier: GPL-3.0-or-later
import { moveByKey } from "../view_keys.js";
import { kShareModes } from "./flat.js";

/**
 * S and A choose the next and the previous mode, X exchanges the eyes, F fills the screen, Home and 0
 * go back to the start; arrows, plus and minus move the view as in the program.
 * @param {import("./share_viewer.js").ShareViewer} viewer
 * @param {import("./bar.js").Bar} bar
 * @param {KeyboardEvent} event
 * @returns {boolean} whether the browser must not act on the key itself
 */
export function handleShareKey(viewer, bar, event) {
    const isOther = event.ctrlKey || event.altKey || event.metaKey;
    // A list and a slider have keys of their own.
    if (isOther || (event.target instanceof Element && event.target.matches("select, input"))) {
        return false;
    }
    const modes = kShareModes.length;
    switch (event.key.toLowerCase()) {
        case "s":
            viewer.setMode((viewer.mode + 1) % modes);
            break;
        case "a":
            viewer.setMode((viewer.mode + modes - 1) % modes);
            break;
        case "x":
            bar.toggleSwap();
            break;
        case "f":
            bar.toggleFullScreen();
            break;
        case "home":
        case "0":
            viewer.goHome();
            break;
        default:
            return moveByKey(viewer.controls, event);
    }
    bar.refresh();
    return true;
}
