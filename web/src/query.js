/**
 * @typedef {object} Query
 * @property {boolean} bsharp the scene was made from one photograph by the program itself
 * @property {string | null} filepath file to open at start
 * @property {number} nstt 1: start with the default camera instead of the saved one
 * @property {boolean} highreso asked for; without effect
 */

/**
 * Reads the page's query string.
 * @param {string} search as `location.search`
 * @returns {Query}
 */
export function parseQuery(search) {
    const params = new URLSearchParams(search);
    return {
        bsharp: params.get("mode") !== "1",
        filepath: params.get("openFile") || null,
        nstt: params.get("nst") === "1" ? 1 : 0,
        highreso: params.get("nreso") === "1",
    };
}
