// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * @typedef {object} Query
 * @property {boolean} bsharp the scene was made from one photograph by the program itself
 * @property {string | null} filepath file to open at start
 * @property {boolean} freshView start with the default camera instead of the saved one
 * @property {import("./painter/painter_choice.js").PainterName | null} painter who is to paint,
 *     null for the one that suits the machine
 */

/**
 * Reads the page's query string. The program also sends "nreso", which has no effect.
 * @param {string} search as `location.search`
 * @returns {Query}
 */
export function parseQuery(search) {
    const params = new URLSearchParams(search);
    const painter = params.get("painter");
    return {
        bsharp: params.get("mode") !== "1",
        filepath: params.get("openFile") || null,
        freshView: params.get("nst") === "1",
        painter: painter === "gpu" || painter === "cpu" ? painter : null,
    };
}
