// SPDX-License-Identifier: GPL-3.0-or-later
/** The program finds the line by this start and tells the user what follows. */
const kStart = "Cannot show the scene: ";

/**
 * Reports to the console, and so to the program, why a scene is not shown.
 * @param {unknown} reason an Error, or its message
 */
export function reportSceneFailure(reason) {
    console.error(kStart + (reason instanceof Error ? reason.message : reason));
}
