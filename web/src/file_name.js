// SPDX-License-Identifier: GPL-3.0-or-later
const kEndings = [".ply", ".splat", ".ksplat", ".spz"];

/**
 * @param {string} name
 * @returns {boolean} whether it is that of a file of Gaussians (case-sensitive)
 */
export function isSplatFileName(name) {
    return kEndings.some((ending) => name.endsWith(ending));
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

/**
 * @param {string} url
 * @param {string} origin what a relative url is resolved against
 * @returns {string} the file's name as users know it
 */
export function shownNameOf(url, origin) {
    try {
        const path = decodeURIComponent(new URL(url, origin).pathname);
        return path.slice(path.lastIndexOf("/") + 1);
    } catch {
        return url.slice(url.lastIndexOf("/") + 1);
    }
}
