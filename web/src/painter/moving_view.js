// SPDX-License-Identifier: GPL-3.0-or-later
/** A moving view keeps all Gaussians while a pair of pictures takes no longer, milliseconds. */
const kLongestFull = 120;
/** What a pair of a part may take: ten a second, with what it takes to show them. */
const kLongestPart = 85;
/** A larger share is taken only where this part of the time would do, so that two do not alternate. */
const kMargin = 0.8;
/** Parts of the Gaussians that a moving view is painted with. */
const kShares = [1, 0.5, 0.3, 0.2, 0.1];
/** What a picture costs however few Gaussians are painted, as a part of what all of them cost. */
const kFixedCost = 0.2;
/** How much a newer time counts, of all Gaussians and of a part of them, which come more often. */
const kFullWeight = 0.5;
const kPartWeight = 0.3;

/**
 * @param {number} share of the Gaussians
 * @returns {number} cost, as a part of that of all
 */
function cost(share) {
    return kFixedCost + (1 - kFixedCost) * share;
}

/**
 * @param {number | null} before
 * @param {number} now
 * @param {number} weight of the newer
 */
function smoothed(before, now, weight) {
    return before === null ? now : before + weight * (now - before);
}

/**
 * Chooses what part of the Gaussians is painted while the view moves, from how long the pictures
 * before took.
 */
export class MovingView {
    /** @type {number | null} milliseconds of a pair with all Gaussians */
    #full = null;
    /** @type {number | null} what a pair with all would take, going by those with a part */
    #scaled = null;
    #share = 1;

    /** A scene of another size, or another size of pictures: earlier times say nothing. */
    reset() {
        this.#full = null;
        this.#scaled = null;
        this.#share = 1;
    }

    /**
     * @param {number} share that a pair was painted with
     * @param {number} milliseconds that it took
     */
    painted(share, milliseconds) {
        if (share === 1) this.#full = smoothed(this.#full, milliseconds, kFullWeight);
        else this.#scaled = smoothed(this.#scaled, milliseconds / cost(share), kPartWeight);
    }

    /** @returns {number} share of the Gaussians for the next picture of a moving view */
    share() {
        if (this.#full === null || this.#full <= kLongestFull) {
            this.#share = 1;
            return 1;
        }
        const all = this.#scaled ?? this.#full;
        const fits = (/** @type {number} */ share) => {
            const longest = share > this.#share ? kMargin * kLongestPart : kLongestPart;
            return share < 1 && all * cost(share) <= longest;
        };
        this.#share = kShares.find(fits) ?? kShares[kShares.length - 1];
        return this.#share;
    }
}
