// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { eyeAngle, eyeOffset, eyePair } from "../../../web/src/stereo_geometry.js";

/**
 * @param {number} actual
 * @param {number} expected
 */
function assertClose(actual, expected) {
    assert.ok(Math.abs(actual - expected) < 1e-12, `${actual} is not ${expected}`);
}

test("NeutralDepthPutsTheLeftEyeAtTheCamera", () => {
    assertClose(eyeAngle(100, -1), 0);
    assertClose(eyeAngle(100, 1), 3.6363636363636362);
});

test("NoDepthPutsBothEyesAtOneAngle", () => {
    assertClose(eyeAngle(0, -1), 1.8181818181818181);
    assertClose(eyeAngle(0, 1), 1.8181818181818181);
});

test("DoubleDepthIsThreeTimesAsFarToTheRightAsToTheLeft", () => {
    assertClose(eyeAngle(200, -1), -1.8181818181818181);
    assertClose(eyeAngle(200, 1), 5.454545454545454);
});

test("NegativeDepthExchangesTheEyes", () => {
    assertClose(eyeAngle(-100, -1), 3.6363636363636362);
    assertClose(eyeAngle(-100, 1), 0);
});

test("OffsetGrowsWithTheDistanceFromTheOrigin", () => {
    // tan(40/11 degrees) is 0.0635518701...
    assertClose(eyeOffset(1, 100, 1), 0.06355187013195693);
    assertClose(eyeOffset(3, 100, 1), 0.19065561039587078);
});

test("SharpModeAtItsStartFocus", () => {
    // The picture plane is 2 * 3 * tan(15 degrees) = 1.6076951545867362 high and 4/3 times as wide;
    // the eyes' shift is 60 * 0.001.
    const eyes = eyePair({ distance: 3, fov: 30, aspect: 4 / 3, dltx: 60, dpt: 100, bsharp: true });
    assertClose(eyes.left.offset, 0);
    assertClose(eyes.left.skew, -0.05598076211353316);
    assertClose(eyes.right.offset, 0.19065561039587078);
    assertClose(eyes.right.skew, -0.12190334407282855);
});

test("GeneralModeShiftsTenTimesAsFar", () => {
    // A field of view of 90 degrees at distance 2: 4 high, 8 wide; the eyes' shift is 10 * 0.01.
    const eyes = eyePair({ distance: 2, fov: 90, aspect: 2, dltx: 10, dpt: 100, bsharp: false });
    assertClose(eyes.left.skew, -0.025);
    assertClose(eyes.right.skew, -0.006775935065978463);
});

test("WithoutDepthOnlyTheShiftTellsTheEyesApart", () => {
    const eyes = eyePair({ distance: 5, fov: 90, aspect: 1, dltx: 100, dpt: 0, bsharp: false });
    // tan(20/11 degrees) is 0.0317439152...; the picture plane is 10 wide.
    assertClose(eyes.left.offset, 0.1587195760698484);
    assertClose(eyes.right.offset, eyes.left.offset);
    assertClose(eyes.left.skew, -0.2317439152139697);
    assertClose(eyes.right.skew, 0.1682560847860303);
});
