// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import {
    frustumOf,
    insidePhotograph,
    limitsOf,
    startViewOf,
    stereoOf,
} from "../../../web/src/share/start_view.js";
import { eyePair } from "../../../web/src/stereo_geometry.js";

/** 90 degrees wide; its axis is 10 pixels right of the middle and 5 below. */
const photograph = { focalX: 100, focalY: 100, centreX: 110, centreY: 55, width: 200, height: 100 };
const depths = { nearest: 2, middle: 4, farthest: 8 };
const facts = { photograph, depths, free: false, length: 0 };
const whole = { magnification: 1, x: 0, y: 0 };

/**
 * @param {number} actual
 * @param {number} expected
 */
function assertClose(actual, expected) {
    assert.ok(Math.abs(actual - expected) < 1e-9, `${actual} is not ${expected}`);
}

/**
 * Where a point shows, by a projection matrix made of a frustum's numbers.
 * @param {import("../../../web/src/share/start_view.js").Frustum} frustum
 * @param {{ width: number, height: number }} window
 * @param {[number, number, number]} point y down, z forward
 * @returns {[number, number]} pixels
 */
function shown({ fov, aspect, skewX, skewY }, { width, height }, [x, y, z]) {
    const tangent = Math.tan((fov * Math.PI) / 360);
    const right = x / (z * tangent * aspect) - skewX;
    const up = -y / (z * tangent) - skewY;
    return [((1 + right) * width) / 2, ((1 - up) * height) / 2];
}

test("AWideWindowShowsThePhotographBetweenBars", () => {
    const window = { width: 800, height: 200 }; // the photograph is 400 x 200 in its middle
    const [x, y] = shown(frustumOf(photograph, window, 1, whole), window, [0.5, 0.25, 1]);
    assertClose(x, 200 + 2 * (110 + 50));
    assertClose(y, 2 * (55 + 25));
});

test("ATallWindowShowsThePhotographBetweenBars", () => {
    const window = { width: 100, height: 300 }; // 100 x 50
    const [x, y] = shown(frustumOf(photograph, window, 1, whole), window, [-1, 0.5, 2]);
    assertClose(x, (110 - 50) / 2);
    assertClose(y, 125 + (55 + 25) / 2);
});

test("HalfAWindowForAnEyeHoldsAllOfThePhotograph", () => {
    const window = { width: 400, height: 400 }; // 200 x 100
    const [x] = shown(frustumOf(photograph, window, 0.5, whole), window, [0.5, 0, 1]);
    assertClose(x, 100 + 110 + 50);
});

test("ACropShowsAPartOfThePhotographsPlane", () => {
    const window = { width: 200, height: 100 };
    const crop = { magnification: 2, x: 0.5, y: 0 }; // its middle is pixel 150
    const [x, y] = shown(frustumOf(photograph, window, 1, crop), window, [0.4, -0.05, 1]);
    assertClose(x, 100);
    assertClose(y, 50);
});

test("ACropStaysInsideThePhotograph", () => {
    assert.deepEqual(insidePhotograph({ magnification: 100, x: 0, y: 0 }).magnification, 5);
    assert.deepEqual(insidePhotograph({ magnification: 0.1, x: 0, y: 0 }).magnification, 0.9);
    assertClose(insidePhotograph({ magnification: 2, x: 7, y: -7 }).x, 0.6);
    assertClose(insidePhotograph({ magnification: 2, x: 7, y: -7 }).y, -0.6);
});

test("TurningOpensNoGapWiderThanTheWidest", () => {
    // 1/2 - 1/8 = 0.375; a gap of 0.2 takes a way of 0.5333, of a distance of 4 0.1333.
    assertClose(limitsOf(depths).turn, Math.asin(0.2 / 0.375 / 4));
});

test("AFlatSceneTurnsAsFarAsAny", () => {
    assertClose(limitsOf({ nearest: 4, middle: 4, farthest: 4 }).turn, 0.15);
});

test("ASceneThatBeginsAtTheEyeStillTurnsALittle", () => {
    assertClose(limitsOf({ nearest: 0.01, middle: 4, farthest: 100 }).turn, 0.03);
});

test("APhotographIsSeenFromItsCamera", () => {
    const { position, target, limits } = startViewOf(facts);
    assert.deepEqual([position, target], [[0, 0, 0], [0, 0, 4]]);
    assert.deepEqual(limits, limitsOf(depths));
});

test("AFreeSceneHasNoLimits", () => {
    assert.equal(startViewOf({ ...facts, free: true }).limits, null);
});

test("ASceneWithoutACameraHasTheGeneralStart", () => {
    const start = startViewOf({ ...facts, photograph: null });
    assert.deepEqual([start.position, start.target], [[0, -1, -3], [0, 0, 0]]);
    assert.equal(start.limits, null);
    const { fov } = frustumOf(start.photograph, { width: 300, height: 200 }, 1, whole);
    assertClose(fov, 65);
});

/**
 * How far the right eye's picture of a point at a depth lies to the right of the left eye's, in
 * halves of the photograph's width.
 * @param {number} depth
 * @param {{ dltx: number, dpt: number }} settings
 */
function parallax(depth, settings) {
    const fov = (2 * Math.atan(0.5) * 180) / Math.PI;
    const { left, right } = eyePair({ distance: 4, fov, aspect: 2, bsharp: false, ...settings });
    return left.offset / depth + left.skew - (right.offset / depth + right.skew);
}

test("ByItselfTheNearestIsOnTheScreenAndTheFarthestAtEase", () => {
    const settings = stereoOf(startViewOf(facts), 0, 50);
    assert.ok(Math.abs(parallax(2, settings)) < 2e-3, `${parallax(2, settings)}`);
    // 4 % of the width are 0.08 halves of it.
    assert.ok(Math.abs(parallax(8, settings) - 0.08) < 4e-3, `${parallax(8, settings)}`);
});

test("TheFocusBringsTheFarthestOntoTheScreen", () => {
    const settings = stereoOf(startViewOf(facts), -50, 50);
    assert.ok(Math.abs(parallax(8, settings)) < 2e-3, `${parallax(8, settings)}`);
});

test("NoDepthIsOnePicture", () => {
    const { dpt, dltx } = stereoOf(startViewOf(facts), 20, 0);
    assert.deepEqual([dpt, Math.abs(dltx)], [0, 0]);
});
