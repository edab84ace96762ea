/** File name endings in the order in which they are tried, with their format codes. */
const kFormats = /** @type {const} */ ([
    [".ply", 2],
    [".splat", 0],
    [".ksplat", 1],
    [".spz", 3],
]);

/**
 * @param {string} name
 * @returns {0 | 1 | 2 | 3 | null} format code of a splat file's name (case-sensitive), null for any
 *     other name
 */
export function formatOf(name) {
    for (const [ending, code] of kFormats) {
        if (name.endsWith(ending)) return code;
    }
    return null;
}

/**
 * @param {string} url
 * @param {string} origin what a relative url is resolved against
 * @returns {string} the last segment of the url's path; empty when the path ends in "/" or the url
 *     is invalid
 */
export function fileNameOf(url, origin) {
    try {
        const path = new URL(url, origin).pathname;
        return path.slice(path.lastIndexOf("/") + 1);
    } catch {
        console.error("Invalid URL");
        return "";
    }
}
