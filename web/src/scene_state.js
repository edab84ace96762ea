/**
 * How far the newest scene has come: "empty" before the first one, "busy" while it is read, parsed,
 * sorted or drawn, "shown" when the picture on the screen is the one that stays until something
 * changes, "failed" when it cannot be shown.
 * @typedef {"empty" | "busy" | "shown" | "failed"} SceneStateName
 */

/** Follows the newest scene from its file to the screen, for a program that waits for a picture. */
export class SceneState {
    /** @type {SceneStateName} */
    name = "empty";
    #parsed = false;

    /** A file was asked for. */
    asked() {
        this.name = "busy";
        this.#parsed = false;
    }

    /** The file's Gaussians are in the scene. */
    parsed() {
        this.#parsed = true;
    }

    failed() {
        this.name = "failed";
        this.#parsed = false;
    }

    /** Something else is to be drawn than before. */
    changed() {
        if (this.#parsed) this.name = "busy";
    }

    /**
     * A frame was drawn.
     * @param {boolean} final the next frame would be the same one
     */
    drawn(final) {
        if (this.#parsed) this.name = final ? "shown" : "busy";
    }
}
