// SPDX-License-Identifier: GPL-3.0-or-later
import { EarlyCalls } from "./early_calls.js";
import { showFailure } from "./failure_message.js";
import { shownNameOf } from "./file_name.js";
import { parseQuery } from "./query.js";

const query = parseQuery(window.location.search);
const early = new EarlyCalls(reportError);
let isFailed = false;

/** @returns {import("./scene_state.js").SceneStateName} */
function earlyState() {
    if (isFailed) return "failed";
    return query.filepath !== null || early.has("FileFromNative") ? "busy" : "empty";
}

export const {
    FileFromNative,
    ChgstFromNative,
    SetFocusFromNative,
    SwapFromNative,
    SceneStateFromNative,
    PanmoveFromNative,
    Panmove2FromNative,
    PinchFromNative,
} = Object.assign(window, {
    FileFromNative: early.entry("FileFromNative"),
    ChgstFromNative: early.entry("ChgstFromNative"),
    SetFocusFromNative: early.entry("SetFocusFromNative"),
    SwapFromNative: early.entry("SwapFromNative"),
    SceneStateFromNative: () => early.calls?.SceneStateFromNative() ?? earlyState(),
    PanmoveFromNative: early.entry("PanmoveFromNative"),
    Panmove2FromNative: early.entry("Panmove2FromNative"),
    PinchFromNative: early.entry("PinchFromNative"),
});

async function start() {
    try {
        // All at once; the viewer imports them one after the other.
        await Promise.all([
            import("three"),
            import("@sparkjsdev/spark"),
            import("./OrbitControls3d.js"),
        ]);
        const { startViewer } = await import("./start_viewer.js");
        early.handOver(startViewer(query));
    } catch (error) {
        isFailed = true;
        showFailure(error, shownNameOf(query.filepath ?? "", window.location.origin));
    }
}

if (query.filepath === null) {
    // Nothing is to be seen yet, and the program waits for the load's end.
    window.addEventListener("load", () => setTimeout(start));
} else {
    void start();
}
