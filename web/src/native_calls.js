// SPDX-License-Identifier: GPL-3.0-or-later
import { isSplatFileName } from "./file_name.js";
import { mapFocusDepth } from "./view_settings.js";

/**
 * The calls that the program makes into the page, and gestures for a program without a pointer.
 * @param {import("./viewer.js").Viewer} viewer
 */
export function createNativeCalls(viewer) {
    const { controls, settings } = viewer;
    let lastPinchX = 0;
    return {
        /** @param {string} url */
        FileFromNative(url) {
            if (!isSplatFileName(url)) {
                alert("It is not a Gaussian spreading file!");
                return;
            }
            viewer.load(url, false);
        },

        /** @param {number} mode number of a stereo mode */
        ChgstFromNative(mode) {
            viewer.setStereoMode(mode);
            viewer.redraw();
            viewer.saveView();
        },

        /**
         * @param {number} focus
         * @param {number} depth
         */
        SetFocusFromNative(focus, depth) {
            Object.assign(settings, mapFocusDepth(focus, depth, settings.bsharp));
            viewer.redraw();
        },

        /** Changes nothing. */
        SceneStateFromNative() {
            return viewer.sceneState;
        },

        /** @param {boolean} swap */
        SwapFromNative(swap) {
            settings.swap = swap;
            viewer.redraw();
            viewer.saveView();
        },

        /**
         * Rotates: phase 0 starts at a point, any other goes on to one.
         * @param {number} x
         * @param {number} y
         * @param {number} phase
         */
        PanmoveFromNative(x, y, phase) {
            if (phase === 0) {
                controls.handleMouseDownRotateset(x, y);
            } else {
                controls.handleMouseMoveRotateset(x, y);
            }
        },

        /**
         * Pans: phase 0 starts at a point, any other goes on to one.
         * @param {number} x
         * @param {number} y
         * @param {number} phase
         */
        Panmove2FromNative(x, y, phase) {
            if (phase === 0) {
                controls.handleMouseDownPanset(x, y);
            } else {
                controls.handleMouseMovePanset(x, y);
            }
        },

        /**
         * Zooms one step in when x has grown since the last call (since 0 at the first), otherwise
         * out. There is no start phase.
         * @param {number} x
         * @param {number} _y
         * @param {number} _phase
         */
        PinchFromNative(x, _y, _phase) {
            controls.handleTouchMoveDollyset(x - lastPinchX);
            lastPinchX = x;
        },
    };
}
