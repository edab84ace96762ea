// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { DrawLoop, FrameRate } from "../../../web/src/draw_loop.js";

/** A loop whose animation frames the test runs. */
class Bench {
    moved = false;
    drawn = 0;
    canDraw = true;
    /** @type {(() => void)[]} */
    pending = [];
    loop = new DrawLoop({
        update: () => this.moved,
        draw: () => {
            if (this.canDraw) this.drawn += 1;
            return this.canDraw;
        },
        request: (step) => this.pending.push(step),
    });

    /** @param {number} most frames to run */
    run(most) {
        for (let i = 0; i < most; ++i) this.pending.shift()?.();
    }
}

test("FirstFrameIsDrawnAtOnce", () => {
    const bench = new Bench();
    bench.loop.drawFrames(10);
    assert.equal(bench.drawn, 1);
    assert.equal(bench.pending.length, 1);
});

test("StillCameraIsDrawnForTheBudgetAndThenRests", () => {
    const bench = new Bench();
    bench.loop.drawFrames(10);
    bench.run(100);
    assert.equal(bench.drawn, 11); // ten for the budget and one that finds it spent
    assert.equal(bench.pending.length, 0);
    assert.equal(bench.loop.requestID, null);
});

test("MovingCameraDoesNotSpendTheBudget", () => {
    const bench = new Bench();
    bench.moved = true;
    bench.loop.drawFrames(3);
    bench.run(50);
    assert.equal(bench.drawn, 51);
    bench.moved = false;
    bench.run(50);
    assert.equal(bench.drawn, 55);
});

test("MovingCameraIsDrawnWithoutABudget", () => {
    const bench = new Bench();
    bench.moved = true;
    bench.loop.wake();
    assert.equal(bench.pending.length, 1);
});

test("SecondRequestWaitsForThePendingFrame", () => {
    const bench = new Bench();
    bench.loop.drawFrames(10);
    bench.loop.drawFrames(2);
    assert.equal(bench.drawn, 1);
    assert.equal(bench.pending.length, 1);
    bench.run(100);
    assert.equal(bench.drawn, 4); // one at once, two for the budget, one that finds it spent
});

test("WakeDrawsOneFrame", () => {
    const bench = new Bench();
    bench.loop.wake();
    assert.equal(bench.drawn, 1);
    assert.equal(bench.pending.length, 0);
});

test("NothingToDrawWithLeavesTheLoopIdle", () => {
    const bench = new Bench();
    bench.canDraw = false;
    bench.loop.drawFrames(300);
    assert.equal(bench.pending.length, 0);
    bench.canDraw = true;
    bench.loop.drawFrames(1);
    bench.run(10);
    assert.equal(bench.drawn, 2);
});

test("FrameThatThrowsDoesNotStopLaterOnes", () => {
    let broken = true;
    let drawn = 0;
    const loop = new DrawLoop({
        update: () => {
            if (broken) throw new Error("broken");
            return false;
        },
        draw: () => Boolean(++drawn),
        request: () => 1,
    });
    assert.throws(() => loop.drawFrames(1), /broken/);
    assert.equal(loop.isUpdating, false);
    broken = false;
    loop.drawFrames(1);
    assert.equal(drawn, 1);
});

test("LoopMarksItsOwnUpdates", () => {
    /** @type {boolean[]} */
    const marks = [];
    /** @type {DrawLoop} */
    const loop = new DrawLoop({
        update: () => Boolean(marks.push(loop.isUpdating)) && false,
        draw: () => Boolean(marks.push(loop.isUpdating)),
        request: () => 1,
    });
    loop.wake();
    assert.deepEqual(marks, [true, false]);
});

test("RateIsToldOncePerSecond", () => {
    const rate = new FrameRate(5000);
    for (let i = 1; i < 50; ++i) assert.equal(rate.count(5000 + i * 20), null);
    assert.equal(rate.count(6000), 50);
    assert.equal(rate.count(6500), null);
    assert.equal(rate.count(7250), 1.6); // two frames in 1.25 seconds
});
