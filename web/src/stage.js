// SPDX-License-Identifier: GPL-3.0-or-later
import { WebGLRenderer } from "three";
import { CanvasScreen } from "./canvas_screen.js";
import { CanvasEffect } from "./effects/canvas_effect.js";
import { EyePairEffect } from "./effects/eye_pair_effect.js";
import { CpuPainter } from "./painter/cpu_painter.js";
import { choosePainter, rendererName } from "./painter/painter_choice.js";
import { SparkPainter } from "./painter/spark_painter.js";
import { SceneError } from "./texts.js";

/** @typedef {import("./effects/eye_pair_effect.js").StereoMode} StereoMode */
/** @typedef {import("./view_settings.js").ViewSettings} ViewSettings */

/**
 * A canvas, what paints the eyes' pictures, and how they come onto it.
 * @typedef {object} Stage
 * @property {HTMLCanvasElement} element
 * @property {import("./painter/eye_pictures.js").Painter} painter
 * @property {(width: number, height: number, ratio: number) => void} setSize CSS pixels, and device
 *     pixels for one of them; may empty the canvas
 * @property {Headset | null} headset what draws in one, where the graphics card does
 * @property {() => boolean} isLost whether the canvas cannot be drawn any more
 * @property {(settings: ViewSettings, mode: StereoMode) =>
 *     import("./effects/eye_pair_effect.js").Effect} createEffect
 */

/**
 * What a headset's picture is made with.
 * @typedef {object} Headset
 * @property {WebGLRenderer} renderer
 * @property {SparkPainter} painter
 */

/**
 * What a stage tells.
 * @typedef {object} StageEvents
 * @property {() => void} onSorted a frame would show another order
 * @property {() => void} onPainted a frame would show another picture
 * @property {(reason: unknown) => void} onFailure the scene that was shown cannot be painted
 */

/**
 * @param {import("./painter/painter_choice.js").PainterName | null} wanted
 * @param {StageEvents} events
 * @returns {Stage}
 * @throws {Error} when the wanted painter cannot work here
 */
export function createStage(wanted, events) {
    const canvas = document.createElement("canvas");
    const context = canvas.getContext("webgl2"); // three.js would get the same
    const chosen = choosePainter(wanted, context && rendererName(context));
    if (context === null && chosen === "cpu") return createCanvasStage(events);
    if (context === null) throw new SceneError("noGraphics", "There is no WebGL 2");
    const renderer = new WebGLRenderer({ antialias: true, canvas });
    const painter =
        chosen === "cpu"
            ? new CpuPainter(events.onPainted, events.onFailure)
            : new SparkPainter(renderer, events.onSorted);
    return {
        element: renderer.domElement,
        painter,
        headset: painter instanceof SparkPainter ? { renderer, painter } : null,
        setSize(width, height, ratio) {
            renderer.setPixelRatio(ratio);
            renderer.setSize(width, height);
        },
        isLost: () => renderer.getContext().isContextLost(),
        createEffect: (settings, mode) =>
            new EyePairEffect(renderer, settings, mode, painter.pictures(mode)),
    };
}

/**
 * @param {StageEvents} events
 * @returns {Stage}
 */
function createCanvasStage({ onPainted, onFailure }) {
    const screen = new CanvasScreen();
    const painter = new CpuPainter(onPainted, onFailure);
    return {
        element: screen.element,
        painter,
        headset: null,
        setSize(width, height, ratio) {
            screen.ratio = ratio;
            screen.setSize(width, height);
        },
        isLost: () => false,
        createEffect: (settings, mode) =>
            new CanvasEffect(screen, settings, mode, painter.pictures(mode)),
    };
}
