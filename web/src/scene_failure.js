// SPDX-License-Identifier: GPL-3.0-or-later
import { showFailure } from "./failure_message.js";

/** The program finds the line by this start and tells the user what follows. */
const kStart = "Cannot show the scene: ";

/**
 * Tells the user, and by the console the program, why a scene is not shown.
 * @param {unknown} reason an Error, or its message
 * @param {string} [name] of the scene's file
 */
export function reportSceneFailure(reason, name) {
    console.error(kStart + (reason instanceof Error ? reason.message : reason));
    showFailure(reason, name);
}
