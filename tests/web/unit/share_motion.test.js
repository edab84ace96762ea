// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { Sway, Tilt } from "../../../web/src/share/motion.js";

const kStill = { yaw: 0, pitch: 0 };

test("TheSwayGrowsFromWhereTheViewIs", () => {
    const sway = new Sway(0.2);
    sway.start(1000);
    assert.deepEqual(sway.turn(1000), kStill);
    assert.ok(Math.abs(sway.turn(1100).yaw) < 0.005);
    assert.ok(sway.isMoving(1_000_000));
});

test("TheSwayStaysWithinItsLimit", () => {
    for (const limit of [0.03, 0.2, Infinity]) {
        const sway = new Sway(limit);
        sway.start(0);
        let most = 0;
        for (let now = 0; now < 20_000; now += 50) most = Math.max(most, Math.abs(sway.turn(now).yaw));
        assert.ok(most > 0.5 * Math.min(limit, 0.045) && most < Math.min(limit, 0.05), `${most}`);
    }
});

test("ATouchEndsTheSwayWithoutAJump", () => {
    const sway = new Sway(0.2);
    sway.start(0);
    const before = sway.turn(10_000).yaw;
    sway.stop(10_000);
    assert.ok(Math.abs(sway.turn(10_010).yaw - before) < 0.003);
    assert.equal(sway.isMoving(11_000), false);
    assert.deepEqual(sway.turn(11_000), kStill);
});

test("AfterATouchTheSwayDoesNotStart", () => {
    const sway = new Sway(0.2);
    sway.stop(0);
    sway.start(10);
    assert.equal(sway.isMoving(20), false);
    assert.deepEqual(sway.turn(20), kStill);
});

test("ASwayThatWasNotStartedIsStill", () => {
    assert.equal(new Sway(1).isMoving(5), false);
});

/**
 * Where the eye is after a while.
 * @param {Tilt} tilt
 */
function settled(tilt) {
    for (let now = 0; now < 5000; now += 16) tilt.turn(now);
    return tilt.turn(5000);
}

test("ThePhonesFirstPositionIsStraight", () => {
    const tilt = new Tilt(0.2);
    assert.equal(tilt.held(50, 10, 0, 0), false);
    assert.equal(tilt.isMoving, false);
});

test("TheEyeFollowsThePhone", () => {
    const tilt = new Tilt(0.2);
    tilt.held(50, 0, 0, 0);
    assert.equal(tilt.held(50, 10, 0, 10), true);
    assert.ok(tilt.isMoving);
    const { yaw, pitch } = settled(tilt);
    assert.ok(yaw > 0.05 && Math.abs(pitch) < 1e-3, `${yaw} ${pitch}`);
    assert.equal(tilt.isMoving, false);
});

test("InATurnedPhoneTheAxesAreTurned", () => {
    const tilt = new Tilt(0.2);
    tilt.held(0, 50, 90, 0);
    tilt.held(10, 50, 90, 10);
    const { yaw, pitch } = settled(tilt);
    assert.ok(yaw > 0.05 && Math.abs(pitch) < 1e-3, `${yaw} ${pitch}`);
});

test("TheEyeStopsAtItsLimit", () => {
    const tilt = new Tilt(0.1);
    tilt.held(0, 0, 0, 0);
    tilt.held(0, 80, 0, 10);
    assert.ok(Math.abs(settled(tilt).yaw - 0.1) < 1e-3);
});

test("AHandsTremblingIsNoMove", () => {
    const tilt = new Tilt(0.1);
    tilt.held(0, 0, 0, 0);
    assert.equal(tilt.held(0.05, 0.1, 0, 10), false);
});

test("APositionThatLastsBecomesStraight", () => {
    const tilt = new Tilt(0.2);
    tilt.held(0, 0, 0, 0);
    for (let now = 10; now < 60_000; now += 100) tilt.held(0, 15, 0, now);
    assert.ok(Math.abs(settled(tilt).yaw) < 0.005);
});

test("ACompassThatPassesNorthIsNoJump", () => {
    const tilt = new Tilt(0.2);
    tilt.held(179, 0, 0, 0);
    tilt.held(-179, 0, 0, 10);
    assert.ok(Math.abs(settled(tilt).pitch) < 0.02);
});
