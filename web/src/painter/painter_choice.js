// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Who paints the eyes' pictures: "gpu" is Spark on the graphics card, "cpu" are our own painters.
 * @typedef {"gpu" | "cpu"} PainterName
 */

/** What the names of renderers have in common that run on the processor. */
const kOnProcessor = /swiftshader|llvmpipe|softpipe|software/i;

/**
 * @param {PainterName | null} wanted by the page's query
 * @param {string | null} renderer name of what draws WebGL 2, null where nothing does
 * @returns {PainterName}
 */
export function choosePainter(wanted, renderer) {
    return wanted ?? (renderer === null || kOnProcessor.test(renderer) ? "cpu" : "gpu");
}

/**
 * @param {WebGL2RenderingContext} context
 * @returns {string} name of what draws
 */
export function rendererName(context) {
    const unmasked = context.getExtension("WEBGL_debug_renderer_info");
    return context.getParameter(unmasked ? unmasked.UNMASKED_RENDERER_WEBGL : context.RENDERER);
}
