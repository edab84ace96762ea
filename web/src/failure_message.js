// SPDX-License-Identifier: GPL-3.0-or-later
import { reportSceneFailure } from "./scene_failure.js";
import { failureText, languageOf } from "./texts.js";

/** @returns {HTMLElement} the page's place for what is wrong, which an empty text hides */
function place() {
    return /** @type {HTMLElement} */ (document.getElementById("failure"));
}

/**
 * Tells why there is no scene, in the middle of the page and to the console.
 * @param {unknown} reason an Error, or its message
 * @param {string} name of the scene's file
 */
export function showFailure(reason, name) {
    reportSceneFailure(reason);
    const language = languageOf(navigator.languages);
    place().lang = language;
    place().textContent = failureText(reason, language, name);
}

/** Takes the message away. */
export function hideFailure() {
    place().textContent = "";
}
