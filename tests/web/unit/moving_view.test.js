// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { MovingView } from "../../../web/src/painter/moving_view.js";

/**
 * @param {MovingView} view
 * @param {number} pictures of a movement
 * @param {(share: number) => number} time of a pair, milliseconds
 * @returns {number[]} shares that they were painted with
 */
function move(view, pictures, time) {
    return Array.from({ length: pictures }, () => {
        const share = view.share();
        view.painted(share, time(share));
        return share;
    });
}

/** @param {number} full milliseconds of all Gaussians */
function timesOf(full) {
    return (/** @type {number} */ share) => full * (0.2 + 0.8 * share);
}

test("AllGaussiansArePaintedBeforeAnythingIsKnown", () => {
    assert.equal(new MovingView().share(), 1);
});

test("FastMachineAlwaysPaintsAll", () => {
    assert.deepEqual(move(new MovingView(), 5, timesOf(120)), [1, 1, 1, 1, 1]);
});

test("SlowMachinePaintsAPartThatTakesLessThanATenthOfASecond", () => {
    for (const full of [130, 200, 250, 300]) {
        const shares = move(new MovingView(), 10, timesOf(full));
        assert.equal(shares[0], 1);
        for (const share of shares.slice(1)) {
            assert.ok(share < 1 && timesOf(full)(share) < 100, `${full}: ${shares}`);
        }
    }
});

test("PartIsAsLargeAsTimeAllows", () => {
    assert.equal(move(new MovingView(), 3, timesOf(130))[2], 0.5);
    assert.ok(Number(move(new MovingView(), 3, timesOf(300))[2]) < 0.2);
});

test("PartStaysTheSameWhileTimesVaryALittle", () => {
    const view = new MovingView();
    let i = 0;
    const shares = move(view, 20, (share) => timesOf(250)(share) * (1 + 0.08 * Math.sin(++i)));
    assert.equal(new Set(shares.slice(1)).size, 1, `${shares}`);
});

test("PartShrinksWhenTheMachineIsBusyAndGrowsAgain", () => {
    const view = new MovingView();
    const [, quiet] = move(view, 5, timesOf(150));
    const busy = move(view, 5, timesOf(400))[4];
    assert.ok(busy < quiet, `${busy} ${quiet}`);
    assert.equal(move(view, 20, timesOf(150))[19], quiet);
});

test("SlowestMachineStillPaintsSome", () => {
    const shares = move(new MovingView(), 5, timesOf(60_000));
    assert.ok(shares.every((share) => share > 0));
    assert.equal(shares[4], 0.1);
});

test("OtherSizesAreMeasuredAnew", () => {
    const view = new MovingView();
    move(view, 3, timesOf(400));
    view.reset();
    assert.equal(view.share(), 1);
});

test("FullPictureAtRestTellsThatAllFitsAgain", () => {
    const view = new MovingView();
    move(view, 3, timesOf(300));
    for (let i = 0; i < 4; ++i) view.painted(1, 100);
    assert.equal(view.share(), 1);
});
