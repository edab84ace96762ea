// SPDX-License-Identifier: GPL-3.0-or-later
/** The painter's WebAssembly and the worker around it, as they are built. */
import assert from "node:assert/strict";
import { test } from "node:test";
import { PainterWorker } from "../support/painter_worker.js";

/** Half-precision floats. */
const kOne = 0x3c00;
const kTwo = 0x4000;
const kInfinity = 0x7c00;
/** A standard deviation of exp(-12 + 21 * 113 / 254) = 0.0702. */
const kScale = 114;
const kLogScaleStep = 21 / 254;

/**
 * @param {object} [gaussian]
 * @param {number} [gaussian.x] half-precision floats
 * @param {number} [gaussian.y]
 * @param {number} [gaussian.z]
 * @param {number} [gaussian.rgba] a byte each, red lowest
 * @param {number} [gaussian.scale] byte
 * @returns {number[]} its words
 */
function packed({ x = 0, y = 0, z = 0, rgba = 0xffffffff, scale = kScale } = {}) {
    return [rgba >>> 0, (x | (y << 16)) >>> 0, z, scale * 0x010101];
}

/** Two units before the origin, looking at it: the world's axes, x right and y up. */
const kView = Float32Array.from([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -2, 1]);
/** A focal length of half the picture's side. */
const kProjection = Float32Array.from([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, -1, 0, 0, -0.2, 0]);

/** @param {Float32Array} numbers @param {number} place @param {number} value */
function changed(numbers, place, value) {
    const copy = numbers.slice();
    copy[place] = value;
    return copy;
}

/** @param {object} [changes] */
function view(changes = {}) {
    const size = { width: 101, height: 101 };
    return { viewMatrix: kView, projection: kProjection, near: 0.1, share: 1, ...size, ...changes };
}

/**
 * @param {import("../../../web/src/painter/eye_painter.js").EyePicture} picture
 * @param {number} x
 * @param {number} y from the bottom
 * @returns {number[]}
 */
function at({ pixels, width }, x, y) {
    return [...pixels.subarray(4 * (width * y + x), 4 * (width * y + x) + 4)];
}

/** @param {{ pixels: Uint8ClampedArray }} picture */
function isBlack({ pixels }) {
    return pixels.every((value) => value === 0);
}

/** @param {number} count */
function randomWords(count) {
    let state = 12345;
    return Uint32Array.from({ length: 4 * count }, () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return (state ^ (state >>> 13)) >>> 0;
    });
}

/**
 * Many Gaussians all over the picture.
 * @param {number} count
 */
function spreadWords(count) {
    const words = randomWords(count);
    for (let i = 0; i < words.length; i += 4) {
        // Half-precision floats from 0.125 to 2 and from 0.25 to 0.5, of either sign.
        words[i + 1] = (words[i + 1] & 0x8fff8fff) | 0x30003000;
        words[i + 2] = (words[i + 2] & 0x83ff) | 0x3400;
        words[i + 3] = (words[i + 3] & 0xff000000) | ((90 + (words[i + 3] & 15)) * 0x010101);
    }
    return words;
}

test("OneGaussianHasTheClosedForm", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed({ rgba: 0xff0080ff })));
    const picture = await painter.ask("paint", view());
    const deviation = (Math.exp((kScale - 1) * kLogScaleStep - 12) * 50.5) / 2;
    for (const [x, y] of [[50, 50], [52, 50], [50, 47], [53, 52]]) {
        const square = (x - 50) ** 2 + (y - 50) ** 2;
        const widened = deviation ** 2 + 0.3;
        const covered = (deviation ** 2 / widened) * Math.exp((-0.5 * square) / widened);
        const expected = [255, 128, 0, 255].map((value) => value * covered);
        at(picture, x, y).forEach((value, i) => {
            assert.ok(Math.abs(value - expected[i]) <= 3, `${value} not ${expected[i]} at ${x}, ${y}`);
        });
    }
});

test("RowsGoFromTheBottomUp", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed({ x: kOne, y: kOne })));
    const picture = await painter.ask("paint", view());
    assert.ok(at(picture, 75, 75)[0] > 200);
    assert.equal(at(picture, 75, 25)[0], 0);
});

test("SkewMovesThePicture", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()));
    const projection = kProjection.slice();
    projection[8] = -0.5;
    projection[9] = 0.25;
    const picture = await painter.ask("paint", view({ projection }));
    assert.ok(at(picture, 75, 37)[0] > 200);
    assert.equal(at(picture, 50, 50)[0], 0);
});

test("WhatIsBehindTheEyeDoesNotShow", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed({ z: kTwo | 0x0100 }))); // at 2.5
    assert.ok(isBlack(await painter.ask("paint", view())));
});

test("WhatIsNearerThanTheNearestDoesNotShow", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed({ z: kOne }))); // at a depth of 1
    assert.ok(!isBlack(await painter.ask("paint", view())));
    assert.ok(isBlack(await painter.ask("paint", view({ near: 1.01 }))));
});

test("CentreThatIsNotFiniteDoesNotShow", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from([...packed({ x: kInfinity }), ...packed({ z: 0x7e00 })]));
    assert.ok(isBlack(await painter.ask("paint", view())));
});

test("NearerGaussianCovers", async () => {
    const painter = new PainterWorker();
    const [far, near] = [packed({ rgba: 0xff0000ff }), packed({ rgba: 0xff00ff00, z: kOne })];
    for (const words of [[...far, ...near], [...near, ...far]]) {
        await painter.show(Uint32Array.from(words));
        const [red, green] = at(await painter.ask("paint", view()), 50, 50);
        assert.ok(green > 240 && red < 15, `${red}, ${green}`);
    }
});

test("LargerPictureGrowsTheMemory", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()));
    await painter.ask("paint", view());
    const picture = await painter.ask("paint", view({ width: 3001, height: 2001 }));
    assert.equal(picture.pixels.length, 4 * 3001 * 2001);
    assert.ok(at(picture, 1500, 1000)[0] > 240);
    assert.equal(at(picture, 10, 10)[3], 0);
});

test("SpareMemoryIsUsedAgain", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()));
    const first = await painter.ask("paint", view());
    const expected = first.pixels.slice();
    const again = await painter.ask("paint", view({ spare: first.pixels }));
    assert.equal(again.pixels, first.pixels);
    assert.deepEqual(again.pixels, expected);
    const smaller = await painter.ask("paint", view({ width: 10, height: 10, spare: first.pixels }));
    assert.equal(smaller.pixels.length, 400);
});

test("NewSceneReplacesTheOldOne", async () => {
    const painter = new PainterWorker();
    await painter.show(spreadWords(3000));
    await painter.show(Uint32Array.from(packed({ rgba: 0xff0000ff })));
    assert.deepEqual(at(await painter.ask("paint", view()), 50, 50).slice(1, 3), [0, 0]);
});

test("SceneComesInParts", async () => {
    const painter = new PainterWorker();
    const words = spreadWords(5000);
    await painter.show(words);
    const expected = await painter.ask("paint", view());
    painter.tell("begin", { count: 5000, encoding: {}, shDegree: 0 });
    for (const [first, end] of [[0, 2048], [2048, 4096], [4096, 5000]]) {
        painter.tell("append", { words: words.slice(4 * first, 4 * end), harmonics: [] });
    }
    await painter.ask("finish");
    assert.deepEqual((await painter.ask("paint", view())).pixels, expected.pixels);
    assert.ok(!isBlack(expected));
});

test("CutSceneShowsWhatCame", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()), 100_000);
    assert.ok(at(await painter.ask("paint", view()), 50, 50)[0] > 200);
});

test("MoreThanWasToldIsLeftOut", async () => {
    const painter = new PainterWorker();
    await painter.show(spreadWords(5000), 40);
    assert.ok(!isBlack(await painter.ask("paint", view())));
});

test("EmptySceneIsBlack", async () => {
    const painter = new PainterWorker();
    await painter.show(new Uint32Array(0));
    assert.ok(isBlack(await painter.ask("paint", view())));
});

test("ShareIsAlwaysTheSamePart", async () => {
    const painter = new PainterWorker();
    await painter.show(spreadWords(5000));
    const whole = await painter.ask("paint", view());
    const part = await painter.ask("paint", view({ share: 0.3 }));
    assert.notDeepEqual(part.pixels, whole.pixels);
    assert.deepEqual((await painter.ask("paint", view())).pixels, whole.pixels);
    assert.deepEqual((await painter.ask("paint", view({ share: 0.3 }))).pixels, part.pixels);
});

/** @param {Uint8ClampedArray} pixels */
function light(pixels) {
    return pixels.reduce((sum, value) => sum + value, 0) / pixels.length;
}

test("ShareIsAboutAsBright", async () => {
    const painter = new PainterWorker();
    await painter.show(spreadWords(5000));
    const whole = light((await painter.ask("paint", view())).pixels);
    for (const share of [0.1, 0.3, 0.6]) {
        const part = light((await painter.ask("paint", view({ share }))).pixels);
        assert.ok(Math.abs(part / whole - 1) < 0.2, `${part} instead of ${whole} for ${share}`);
    }
});

test("SceneWithoutRoomIsRefusedAndTheNextOneIsNot", async () => {
    const painter = new PainterWorker();
    for (const count of [2 ** 25, 2 ** 25 + 1, 2 ** 27, 2 ** 28, 2 ** 29 + 1, 2 ** 32 - 1]) {
        painter.tell("begin", { count, encoding: {}, shDegree: 3 });
        painter.tell("append", { words: Uint32Array.from(packed()), harmonics: [] });
        await assert.rejects(painter.ask("finish"), /^Error: There is not enough memory$/);
        await assert.rejects(painter.ask("paint", view()), /not enough memory/);
    }
    await painter.show(Uint32Array.from(packed()));
    assert.ok(!isBlack(await painter.ask("paint", view())));
});

test("PictureWithoutRoomIsRefused", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()));
    const picture = painter.ask("paint", view({ width: 32768, height: 32768 }));
    await assert.rejects(picture, /not enough memory/);
});

test("PictureWithoutPixelsIsRefusedAndTheNextOneIsNot", async () => {
    const painter = new PainterWorker();
    await painter.show(Uint32Array.from(packed()));
    for (const size of [{ width: 0 }, { height: -1 }, { width: NaN }, { height: 40_000 }]) {
        await assert.rejects(painter.ask("paint", view(size)), /A picture has 1 to 32768 pixels/);
    }
    assert.ok(!isBlack(await painter.ask("paint", view())));
});

test("AnyWordsCanBePainted", async () => {
    const painter = new PainterWorker();
    const count = 3000;
    const random = randomWords(8 * count);
    for (let round = 0; round < 12; ++round) {
        const part = (/** @type {number} */ words) => random.slice(round, round + words * count);
        const words = part(4);
        // Most of them at places that can be seen, in half of the rounds.
        for (let i = 2; round % 2 > 0 && i < words.length; i += 4) words[i] &= 0xffffbfff;
        painter.tell("begin", { count, encoding: {}, shDegree: round % 4 });
        painter.tell("append", { words, harmonics: [part(2), part(4), part(4)] });
        await painter.ask("finish");
        const near = [0.1, 1e-30, 0][round % 3];
        const share = [1, 0.2, NaN][round % 3];
        const { pixels } = await painter.ask("paint", view({ near, share }));
        assert.ok(round % 2 === 0 || pixels.some((/** @type {number} */ value) => value > 0));
    }
});

test("AnyViewCanBePainted", async () => {
    const painter = new PainterWorker();
    await painter.show(spreadWords(500));
    for (const value of [0, -1, NaN, Infinity, 1e38, 1e-38]) {
        for (let i = 0; i < 16; ++i) {
            const viewMatrix = changed(kView, i, value);
            const projection = changed(kProjection, i, value);
            await painter.ask("paint", view({ viewMatrix }));
            await painter.ask("paint", view({ projection, near: value, share: value }));
        }
    }
    assert.ok(!isBlack(await painter.ask("paint", view())));
});

test("NothingIsPaintedWithoutAScene", async () => {
    await assert.rejects(new PainterWorker().ask("paint", view()), /There is no scene/);
});

test("ModuleThatIsNoneIsTold", async () => {
    const painter = new PainterWorker(Uint8Array.of(1, 2, 3));
    painter.tell("begin", { count: 1, encoding: {}, shDegree: 0 });
    await assert.rejects(painter.ask("finish"), /WebAssembly/);
});
