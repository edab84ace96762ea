// SPDX-License-Identifier: GPL-3.0-or-later
import { Matrix4 } from "three";
import { sameView } from "./same_view.js";

/**
 * What a sort needs from the scene.
 * @callback SortSplats
 * @param {Matrix4} viewToWorld the view to sort for
 * @returns {Promise<void>} settled when the order can be drawn
 */

/**
 * Keeps the drawing order of the Gaussians in step with the view. One sort runs at a time; views
 * that come meanwhile wait, and only the newest of them is sorted for. A view that is sorted for
 * already starts nothing, so a still view comes to rest with exactly its own order, whatever way
 * led to it.
 */
export class SplatSorter {
    /** @type {SortSplats} */
    #sort;
    #onSorted;
    /** Sorted for, being sorted for, or waiting. */
    #newest = new Matrix4();
    #stale = true;
    #running = false;
    /** The order is that of the newest view. */
    isSorted = false;

    /**
     * @param {SortSplats} sort
     * @param {() => void} onSorted a new order can be drawn
     */
    constructor(sort, onSorted) {
        this.#sort = sort;
        this.#onSorted = onSorted;
    }

    /** The Gaussians themselves have changed: the next request sorts, even for the same view. */
    invalidate() {
        this.#stale = true;
        this.isSorted = false;
    }

    /**
     * Called for every drawn frame.
     * @param {Matrix4} viewToWorld
     */
    request(viewToWorld) {
        if (!this.#stale && sameView(viewToWorld.elements, this.#newest.elements)) return;
        this.#newest.copy(viewToWorld);
        this.#stale = true;
        this.isSorted = false;
        if (!this.#running) this.#run();
    }

    async #run() {
        this.#running = true;
        try {
            while (this.#stale) {
                this.#stale = false;
                await this.#sort(this.#newest.clone());
                this.isSorted = !this.#stale;
                this.#onSorted();
            }
        } catch (error) {
            console.error("Cannot sort the Gaussians:", error);
        } finally {
            this.#running = false;
        }
    }
}
