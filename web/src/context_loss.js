// SPDX-License-Identifier: GPL-3.0-or-later
const kKey = "contextLosses";
/** A page may come back so often within this time, milliseconds. */
const kMost = 3;
const kWithin = 60_000;

/**
 * Decides whether a page that has lost its graphics context may be loaded again. A card that fails
 * every time must not keep the page loading for ever.
 * @param {Storage} storage of the session, which remembers the answers
 * @param {number} now milliseconds
 * @returns {boolean}
 */
export function mayComeBack(storage, now) {
    /** @type {number[]} */
    const losses = JSON.parse(storage.getItem(kKey) ?? "[]");
    const recent = losses.filter((time) => now - time < kWithin);
    if (recent.length >= kMost) return false;
    storage.setItem(kKey, JSON.stringify([...recent, now]));
    return true;
}

/**
 * @param {string} href of the page
 * @param {string} filepath of the scene that it shows
 * @returns {string} address of a page that shows the scene in the saved view
 */
export function addressToComeBack(href, filepath) {
    const address = new URL(href);
    address.searchParams.set("openFile", filepath);
    address.searchParams.delete("nst");
    return address.href;
}
