// SPDX-License-Identifier: GPL-3.0-or-later
import { failureText, languageOf } from "./texts.js";

/** @returns {HTMLElement} the page's place for what is wrong, which an empty text hides */
function place() {
    return /** @type {HTMLElement} */ (document.getElementById("failure"));
}

/**
 * Tells in the middle of the page why there is no scene.
 * @param {unknown} reason a SceneError, another Error or its message
 * @param {string} [name] of the file, where the user knows it by one
 */
export function showFailure(reason, name) {
    const language = languageOf(navigator.languages);
    place().lang = language;
    place().textContent = failureText(reason, language, name);
}

/** Takes the message away. */
export function hideFailure() {
    place().textContent = "";
}
