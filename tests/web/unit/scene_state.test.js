// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { SceneState } from "../../../web/src/scene_state.js";

const kDrawing = false;
const kIdle = true;

/**
 * @param {SceneState} state
 * @param {number} count
 */
function drawFrames(state, count) {
    for (let i = 0; i < count; ++i) state.drawn(true);
}

function shownScene() {
    const state = new SceneState();
    state.asked();
    state.parsed();
    drawFrames(state, 8);
    return state;
}

test("NothingIsAskedForAtFirst", () => {
    const state = new SceneState();
    state.changed();
    drawFrames(state, 9);
    assert.equal(state.name(kIdle), "empty");
});

test("FramesBeforeTheGaussiansAreThereDoNotCount", () => {
    const state = new SceneState();
    state.asked();
    drawFrames(state, 9);
    assert.equal(state.name(kIdle), "busy");
    state.parsed();
    assert.equal(state.name(kIdle), "busy");
});

test("SceneIsShownWhenTheDisplayHasCaughtUp", () => {
    const state = new SceneState();
    state.asked();
    state.parsed();
    state.drawn(false);
    drawFrames(state, 7);
    assert.equal(state.name(kDrawing), "busy");
    state.drawn(true);
    assert.equal(state.name(kDrawing), "shown");
});

test("SceneIsShownWhenNoFrameFollows", () => {
    const state = new SceneState();
    state.asked();
    state.parsed();
    state.drawn(false);
    assert.equal(state.name(kIdle), "busy");
    state.drawn(true);
    assert.equal(state.name(kIdle), "shown");
});

test("ChangeIsShownWithItsFrames", () => {
    const state = shownScene();
    state.changed();
    assert.equal(state.name(kIdle), "busy");
    drawFrames(state, 8);
    assert.equal(state.name(kDrawing), "shown");
});

test("FrameOfAViewThatIsNotSortedForStartsAnew", () => {
    const state = shownScene();
    state.drawn(false);
    assert.equal(state.name(kIdle), "busy");
});

test("NextSceneStartsAnew", () => {
    const state = shownScene();
    state.asked();
    assert.equal(state.name(kIdle), "busy");
});

test("FailedSceneStaysFailedUntilTheNext", () => {
    const state = shownScene();
    state.failed();
    drawFrames(state, 9);
    assert.equal(state.name(kIdle), "failed");
    state.asked();
    assert.equal(state.name(kIdle), "busy");
});
