// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { mock, test } from "node:test";
import { Matrix4 } from "three";
import { SplatSorter } from "../../../web/src/splat_sorter.js";

/** A sorter whose sorts the test ends. */
class Bench {
    sortedFor = /** @type {number[]} */ ([]);
    told = 0;
    /** @type {{ resolve: () => void, reject: (error: Error) => void }[]} */
    running = [];
    sorter = new SplatSorter(
        (view) => {
            this.sortedFor.push(view.elements[12]);
            return new Promise((resolve, reject) => this.running.push({ resolve, reject }));
        },
        () => (this.told += 1),
    );

    /** @param {number} x of the view */
    request(x) {
        this.sorter.request(new Matrix4().setPosition(x, 0, 0));
    }

    async finish() {
        this.running.shift()?.resolve();
        await new Promise((resolve) => setImmediate(resolve));
    }
}

test("FirstViewIsSortedFor", async () => {
    const bench = new Bench();
    bench.request(1);
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [1]);
    assert.equal(bench.told, 1);
});

test("StillViewIsSortedForOnce", async () => {
    const bench = new Bench();
    bench.request(1);
    bench.request(1);
    await bench.finish();
    bench.request(1);
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [1]);
});

test("SmallMoveIsSortedFor", async () => {
    const bench = new Bench();
    bench.request(1);
    await bench.finish();
    bench.request(1 + 1e-7);
    await bench.finish();
    assert.equal(bench.sortedFor.length, 2);
});

test("RoundingIsNoMove", async () => {
    const bench = new Bench();
    bench.request(300);
    await bench.finish();
    for (const x of [300 + 1e-13, 300 - 1e-13, 300]) bench.request(x);
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [300]);
    bench.request(0);
    await bench.finish();
    bench.request(1e-17);
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [300, 0]);
});

test("OnlyTheNewestWaitingViewIsSortedFor", async () => {
    const bench = new Bench();
    for (const x of [1, 2, 3, 4]) bench.request(x);
    assert.deepEqual(bench.sortedFor, [1]);
    await bench.finish();
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [1, 4]);
    assert.equal(bench.told, 2);
});

test("ChangedGaussiansAreSortedForTheSameView", async () => {
    const bench = new Bench();
    bench.request(1);
    await bench.finish();
    bench.sorter.invalidate();
    bench.request(1);
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [1, 1]);
});

test("GaussiansThatChangeDuringASortAreSortedAfterIt", async () => {
    const bench = new Bench();
    bench.request(1);
    bench.sorter.invalidate();
    await bench.finish();
    assert.deepEqual(bench.sortedFor, [1, 1]);
});

test("FailedSortIsReportedAndTheNextViewIsSortedFor", async () => {
    const error = mock.method(console, "error", () => {});
    try {
        const bench = new Bench();
        bench.request(1);
        bench.running.shift()?.reject(new Error("lost"));
        await bench.finish();
        assert.equal(error.mock.callCount(), 1);
        bench.request(2);
        await bench.finish();
        assert.deepEqual(bench.sortedFor, [1, 2]);
        assert.equal(bench.told, 1);
    } finally {
        error.mock.restore();
    }
});

test("OrderIsSortedWhenItIsTold", async () => {
    const told = /** @type {boolean[]} */ ([]);
    const sorter = new SplatSorter(
        () => Promise.resolve(),
        () => told.push(sorter.isSorted),
    );
    assert.equal(sorter.isSorted, false);
    sorter.request(new Matrix4());
    assert.equal(sorter.isSorted, false);
    await new Promise((resolve) => setImmediate(resolve));
    assert.deepEqual(told, [true]);
    sorter.invalidate();
    assert.equal(sorter.isSorted, false);
});

test("OrderIsNotSortedWhileANewerViewWaits", async () => {
    const bench = new Bench();
    bench.request(1);
    bench.request(2);
    await bench.finish();
    assert.equal(bench.sorter.isSorted, false);
    await bench.finish();
    assert.equal(bench.sorter.isSorted, true);
});

test("OrderIsNotSortedAfterAFailure", async () => {
    const error = mock.method(console, "error", () => {});
    const bench = new Bench();
    bench.request(1);
    bench.running.shift()?.reject(new Error("no"));
    await bench.finish();
    assert.equal(bench.sorter.isSorted, false);
    error.mock.restore();
});
