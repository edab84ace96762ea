// SPDX-License-Identifier: GPL-3.0-or-later
import { SceneError } from "../texts.js";

/** Characters that are decoded before the page may draw again; a multiple of four. */
const kPart = 1 << 20;
/** Share of the progress for what arrives, and for what is decoded. */
const kArrived = 0.5;
const kDecoded = 0.8;

/**
 * @param {Element} element
 * @returns {number} characters of its text that have arrived
 */
function lengthOf({ childNodes }) {
    return Array.from(childNodes, (node) => node.textContent?.length ?? 0).reduce((a, b) => a + b, 0);
}

/**
 * @param {() => void} look called until the page has arrived
 * @returns {Promise<void>}
 */
async function arrival(look) {
    while (document.readyState === "loading") {
        look();
        await new Promise((resolve) => setTimeout(resolve, 100));
    }
}

/**
 * Waits for the scene that the page carries.
 * @param {string} id of its element, which may still arrive
 * @param {number} length of its text, characters; 0 when unknown
 * @param {(share: number) => void} onProgress 0 to 1
 * @returns {Promise<ArrayBuffer>}
 * @throws {SceneError} when it is not what was put there
 */
export async function sceneBytes(id, length, onProgress) {
    await arrival(() => {
        const element = document.getElementById(id);
        if (element && length > 0) onProgress((kArrived * lengthOf(element)) / length);
    });
    const text = document.getElementById(id)?.textContent ?? "";
    if (length > 0 && text.length !== length) {
        throw new SceneError("damaged", `The scene has ${text.length} of ${length} characters`);
    }
    return decoded(text, (share) => onProgress(kArrived + (kDecoded - kArrived) * share));
}

/**
 * @param {string} text base64 without anything in between
 * @param {(share: number) => void} onProgress
 */
async function decoded(text, onProgress) {
    const padding = text.endsWith("==") ? 2 : text.endsWith("=") ? 1 : 0;
    const bytes = new Uint8Array(Math.max(0, Math.floor(text.length / 4) * 3 - padding));
    for (let from = 0, to = 0; from < text.length; from += kPart) {
        const part = binary(text.slice(from, from + kPart));
        for (let i = 0; i < part.length; ++i) bytes[to++] = part.charCodeAt(i);
        onProgress((from + kPart) / (text.length + kPart));
        await new Promise((resolve) => setTimeout(resolve));
    }
    return bytes.buffer;
}

/** @param {string} text base64 */
function binary(text) {
    try {
        return atob(text);
    } catch {
        throw new SceneError("damaged", "The scene's text is no base64");
    }
}
