// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { setImmediate as settled } from "node:timers/promises";
import { PairPainter } from "../../../web/src/painter/pair_painter.js";

/** Notes what it is asked for; the test answers. */
class FakeEye {
    /** @type {any[]} */
    asked = [];
    /** @type {{ resolve: (value: any) => void, reject: (reason: Error) => void } | null} */
    #paint = null;
    isDisposed = false;
    /** @type {Error | null} */
    failure = null;

    /** @param {object} scene */
    begin(scene) {
        this.asked.push({ begin: scene });
    }

    /** @param {Uint32Array} words */
    append(words) {
        this.asked.push({ append: words.length });
    }

    async finish() {
        if (this.failure) throw this.failure;
    }

    /** @param {any} view */
    paint(view) {
        assert.equal(this.#paint, null, "one picture at a time");
        this.asked.push(view);
        return new Promise((resolve, reject) => (this.#paint = { resolve, reject }));
    }

    /** @param {Error} [error] */
    answer(error) {
        const { width, height } = this.asked[this.asked.length - 1];
        const paint = this.#paint;
        this.#paint = null;
        const pixels = new Uint8ClampedArray(4 * width * height);
        if (error) paint?.reject(error);
        else paint?.resolve({ pixels, width, height, milliseconds: 1 });
    }

    get isPainting() {
        return this.#paint !== null;
    }

    dispose() {
        this.isDisposed = true;
    }
}

/** A PairPainter with what it needs, at a time that only the test lets pass. */
class Bench {
    now = 0;
    isHidden = false;
    painted = 0;
    /** @type {unknown[]} */
    failures = [];
    /** @type {FakeEye[]} */
    eyes = [];
    /** @type {{ task: () => void, at: number }[]} */
    #timers = [];
    pairs = new PairPainter({
        makeEye: () => {
            const eye = new FakeEye();
            this.eyes.push(eye);
            return /** @type {any} */ (eye);
        },
        isHidden: () => this.isHidden,
        now: () => this.now,
        later: (task, delay) => void this.#timers.push({ task, at: this.now + delay }),
        onPainted: () => (this.painted += 1),
        onFailure: (reason) => void this.failures.push(reason),
    });

    /** @param {number} [count] of Gaussians */
    async load(count = 1) {
        const packedArray = new Uint32Array(4 * count);
        const number = this.pairs.expectScene();
        return this.pairs.take(number, { numSplats: count, packedArray, extra: {} });
    }

    /** @param {number} milliseconds */
    pass(milliseconds) {
        this.now += milliseconds;
        const due = this.#timers.filter(({ at }) => at <= this.now);
        this.#timers = this.#timers.filter(({ at }) => at > this.now);
        for (const { task } of due) task();
    }

    /**
     * Both eyes' pictures are there.
     * @param {number} [milliseconds] that they took
     */
    async answer(milliseconds = 10) {
        this.pass(milliseconds);
        for (const eye of this.eyes.slice(-2)) eye.answer();
        await settled();
    }

    /** What the left eye's painter was asked for last. */
    get last() {
        return this.eyes[this.eyes.length - 2].asked.slice(-1)[0];
    }

    get isPainting() {
        return this.eyes.slice(-2).some((eye) => eye.isPainting);
    }
}

/**
 * @param {number} x where the left eye is
 * @param {object} [other]
 * @returns {import("../../../web/src/painter/pair_painter.js").PairView}
 */
function viewFrom(x, other = {}) {
    return {
        viewMatrices: [[x, 0], [x + 1, 0]],
        projections: [[1], [1]],
        near: 0.1,
        width: 4,
        height: 2,
        stretch: 1,
        ...other,
    };
}

test("ViewIsPaintedForBothEyesOnceTheSceneIsThere", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(3));
    await bench.load();
    assert.deepEqual(bench.eyes.map((eye) => eye.asked.slice(-1)[0].viewMatrix[0]), [3, 4]);
    assert.equal(bench.last.share, 1);
    await bench.answer();
    assert.equal(bench.painted, 1);
    assert.equal(bench.pairs.pair.view?.viewMatrices[0][0], 3);
    assert.ok(bench.pairs.isFinal);
});

test("StillViewIsPaintedOnceHoweverItIsRounded", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(3));
    await bench.load();
    await bench.answer();
    bench.pairs.request(viewFrom(3 + 1e-12));
    assert.ok(!bench.isPainting && bench.pairs.isFinal);
});

test("NewestOfTheViewsThatWaitFollows", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    for (const x of [1, 2, 3]) bench.pairs.request(viewFrom(x));
    assert.equal(bench.last.viewMatrix[0], 0);
    assert.ok(!bench.pairs.isFinal);
    await bench.answer();
    assert.equal(bench.last.viewMatrix[0], 3);
    await bench.answer();
    assert.equal(bench.painted, 2);
    assert.ok(bench.pairs.isFinal);
});

test("PairIsShownOnlyWhenBothEyesAreThere", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    bench.eyes[1].answer();
    await settled();
    assert.equal(bench.painted, 0);
    assert.equal(bench.pairs.pair.view, null);
    bench.eyes[0].answer();
    await settled();
    assert.equal(bench.painted, 1);
});

test("SlowSceneIsPaintedInPartWhileTheViewMovesAndWholeAtRest", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    await bench.answer(300);
    bench.pairs.request(viewFrom(1));
    assert.ok(bench.last.share < 1);
    await bench.answer(50);
    assert.equal(bench.painted, 2);
    assert.ok(!bench.pairs.isFinal && !bench.isPainting);
    bench.pass(50);
    assert.ok(bench.isPainting);
    assert.equal(bench.last.share, 1);
    await bench.answer(300);
    assert.ok(bench.pairs.isFinal);
});

test("ViewThatMovesOnIsNotHeldUpByAWholePicture", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    await bench.answer(300);
    for (let x = 1; x < 6; ++x) {
        bench.pairs.request(viewFrom(x));
        assert.equal(bench.last.viewMatrix[0], x);
        assert.ok(bench.last.share < 1);
        await bench.answer(60);
    }
});

test("OtherFormOfThePicturesIsPaintedWhole", async () => {
    for (const other of [{ width: 8 }, { height: 8 }, { stretch: 2 }]) {
        const bench = new Bench();
        bench.pairs.request(viewFrom(0));
        await bench.load();
        await bench.answer(300);
        bench.pairs.request(viewFrom(0, other));
        assert.equal(bench.last.share, 1);
    }
});

test("NothingIsPaintedWhileNobodySeesIt", async () => {
    const bench = new Bench();
    bench.isHidden = true;
    bench.pairs.request(viewFrom(0));
    await bench.load();
    assert.ok(!bench.isPainting);
    bench.isHidden = false;
    bench.pairs.update();
    assert.ok(bench.isPainting);
});

test("PicturesOfAnOldSceneAreDropped", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    const number = bench.pairs.expectScene();
    await bench.answer();
    assert.equal(bench.pairs.pair.view, null);
    assert.equal(bench.painted, 0);
    const packedArray = new Uint32Array(4);
    assert.ok(await bench.pairs.take(number, { numSplats: 1, packedArray, extra: {} }));
    await bench.answer();
    assert.ok(bench.pairs.isFinal);
    assert.equal(bench.eyes.length, 2);
});

test("OnlyTheNewestOfTwoScenesIsTaken", async () => {
    const bench = new Bench();
    const first = bench.pairs.expectScene();
    const second = bench.pairs.expectScene();
    const scene = () => ({ numSplats: 1, packedArray: new Uint32Array(4), extra: {} });
    assert.equal(await bench.pairs.take(second, scene()), true);
    assert.equal(await bench.pairs.take(first, scene()), false);
});

test("AFlatViewIsPaintedOnceForBothEyes", async () => {
    const bench = new Bench();
    const painted = () => bench.eyes.map(({ asked }) => asked.filter((a) => a.viewMatrix).length);
    bench.pairs.request(viewFrom(0, { isFlat: true }));
    await bench.load();
    await bench.answer();
    assert.deepEqual(painted(), [1, 0]);
    const { left, right } = bench.pairs.pair;
    assert.equal(right, left);
    bench.pairs.request(viewFrom(0, { isFlat: false }));
    await bench.answer();
    assert.deepEqual(painted(), [2, 1]);
    assert.notEqual(bench.pairs.pair.right, bench.pairs.pair.left);
});

test("MemoryOfThePicturesBeforeIsUsedAgain", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    await bench.answer();
    const { pixels } = bench.pairs.pair.left;
    bench.pairs.request(viewFrom(1));
    assert.equal(bench.last.spare, undefined);
    await bench.answer();
    bench.pairs.request(viewFrom(2));
    assert.equal(bench.last.spare, pixels);
});

test("SceneThatCannotBeTakenIsToldAndThePaintersEnd", async () => {
    const bench = new Bench();
    const number = bench.pairs.expectScene();
    bench.eyes[1].failure = new Error("no memory");
    const scene = { numSplats: 1, packedArray: new Uint32Array(4), extra: {} };
    await assert.rejects(bench.pairs.take(number, scene), /no memory/);
    assert.ok(bench.eyes.every((eye) => eye.isDisposed));
    bench.pairs.request(viewFrom(0));
    await bench.load();
    await bench.answer();
    assert.equal(bench.eyes.length, 4);
    assert.ok(bench.pairs.isFinal);
});

test("PainterThatDiesIsToldAndLeavesNothing", async () => {
    const bench = new Bench();
    bench.pairs.request(viewFrom(0));
    await bench.load();
    await bench.answer();
    bench.pairs.request(viewFrom(1));
    bench.eyes[0].answer(new Error("gone"));
    await settled();
    assert.deepEqual(bench.failures.map(String), ["Error: gone"]);
    assert.equal(bench.pairs.pair.view, null);
    assert.ok(bench.eyes.every((eye) => eye.isDisposed));
});
