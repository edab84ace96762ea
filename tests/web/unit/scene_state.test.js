import assert from "node:assert/strict";
import { test } from "node:test";
import { SceneState } from "../../../web/src/scene_state.js";

function shownScene() {
    const state = new SceneState();
    state.asked();
    state.parsed();
    state.drawn(true);
    return state;
}

test("NothingIsAskedForAtFirst", () => {
    const state = new SceneState();
    state.changed();
    state.drawn(true);
    assert.equal(state.name, "empty");
});

test("FramesBeforeTheGaussiansAreThereDoNotCount", () => {
    const state = new SceneState();
    state.asked();
    state.drawn(true);
    assert.equal(state.name, "busy");
});

test("SceneIsShownWithItsFinalFrame", () => {
    const state = new SceneState();
    state.asked();
    state.parsed();
    assert.equal(state.name, "busy");
    state.drawn(false);
    assert.equal(state.name, "busy");
    state.drawn(true);
    assert.equal(state.name, "shown");
});

test("ChangeIsShownWithItsFrame", () => {
    const state = shownScene();
    state.changed();
    assert.equal(state.name, "busy");
    state.drawn(true);
    assert.equal(state.name, "shown");
});

test("FrameOfAViewThatIsNotSortedForIsNotFinal", () => {
    const state = shownScene();
    state.drawn(false);
    assert.equal(state.name, "busy");
});

test("NextSceneStartsAnew", () => {
    const state = shownScene();
    state.asked();
    state.drawn(true);
    assert.equal(state.name, "busy");
});

test("FailedSceneStaysFailedUntilTheNext", () => {
    const state = shownScene();
    state.failed();
    state.changed();
    state.drawn(true);
    assert.equal(state.name, "failed");
    state.asked();
    assert.equal(state.name, "busy");
});
