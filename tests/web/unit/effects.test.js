// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { Mesh, PerspectiveCamera, Scene, Vector2, WebGLRenderTarget } from "three";
import { EyePairEffect } from "../../../web/src/effects/eye_pair_effect.js";
import { kStereoModes, stereoMode } from "../../../web/src/effects/stereo_modes.js";
import { EyeTargets } from "../../../web/src/painter/eye_targets.js";
import { defaultSettings } from "../../../web/src/view_settings.js";

/**
 * @typedef {object} Rendered
 * @property {WebGLRenderTarget | null} target
 * @property {number} x of the camera
 * @property {number} scale horizontal, of the camera's projection
 * @property {string} [shader] name of what is drawn with, where that is a mesh
 */

/** Notes what an effect asks of the renderer. */
class FakeRenderer {
    size = new Vector2(0, 0);
    ratio = 1;
    /** @type {WebGLRenderTarget | null} */
    target = null;
    resizes = 0;
    /** @type {Rendered[]} */
    renders = [];
    failing = false;

    /** @param {Vector2} size */
    getSize(size) {
        return size.copy(this.size);
    }

    /**
     * @param {number} width
     * @param {number} height
     */
    setSize(width, height) {
        this.size.set(width, height);
        this.resizes += 1;
    }

    getPixelRatio() {
        return this.ratio;
    }

    getRenderTarget() {
        return this.target;
    }

    /** @param {WebGLRenderTarget | null} target */
    setRenderTarget(target) {
        this.target = target;
    }

    /**
     * @param {import("three").Object3D} scene
     * @param {import("three").Camera} camera
     */
    render(scene, camera) {
        if (this.failing) throw new Error("lost");
        this.renders.push({
            target: this.target,
            x: camera.position.x,
            scale: camera.projectionMatrix.elements[0],
            shader: scene instanceof Mesh ? scene.material.name : undefined,
        });
    }

    /** @returns {import("three").WebGLRenderer} */
    get real() {
        return /** @type {any} */ (this);
    }
}

/**
 * @param {FakeRenderer} renderer
 * @param {boolean} bsharp
 * @param {number} number of a stereo mode, or any other
 */
function createEffect(renderer, bsharp, number) {
    const mode = stereoMode(number);
    const targets = new EyeTargets(renderer.real, new Scene(), mode);
    return new EyePairEffect(renderer.real, defaultSettings(bsharp), mode, targets);
}

function frontCamera() {
    const camera = new PerspectiveCamera(90, 2, 0.1, 500);
    camera.position.set(0, 0, 2);
    return camera;
}

/**
 * Sizes of the two targets that a frame is drawn into.
 * @param {FakeRenderer} renderer
 */
function targetSizes(renderer) {
    return renderer.renders.slice(0, 2).map(({ target }) => [target?.width, target?.height]);
}

/**
 * Draws a frame.
 * @param {number} number of a stereo mode
 */
function frameOf(number) {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer, true, number);
    effect.render(frontCamera(), false);
    return renderer;
}

/** The modes in the order of their numbers, on which the program and saved views rely. */
const kModes = [
    { name: "Side-by-Side (SBS)", size: 1024, columns: 150, stretch: 2 },
    { name: "LR/RL", size: 1024, columns: 150, stretch: 1 },
    { name: "Dubois", size: 512, columns: 301, stretch: 1 },
    { name: "Color Anaglyph", size: 512, columns: 301, stretch: 1 },
    { name: "Gray Anaglyph", size: 512, columns: 301, stretch: 1 },
    { name: "Interlaced", size: 512, columns: 301, stretch: 1 },
];

test("ModesHaveTheirNumbers", () => {
    const names = kStereoModes.map(({ name }) => name);
    assert.deepEqual(names.slice(0, kModes.length), kModes.map(({ name }) => name));
});

test("EveryNumberDrawsItsMode", () => {
    for (const [number, { name }] of kModes.entries()) {
        assert.equal(frameOf(number).renders[2].shader, name);
    }
});

test("EyesAreStretchedAsTheModeSays", () => {
    for (const [number, { name, stretch }] of kModes.entries()) {
        const scales = frameOf(number).renders.slice(0, 2).map(({ scale }) => scale);
        for (const scale of scales) assert.ok(Math.abs(scale - 0.5 * stretch) < 1e-12, name);
    }
});

test("TargetsStartAtTheirOwnSize", () => {
    for (const [number, { name, size }] of kModes.entries()) {
        assert.deepEqual(targetSizes(frameOf(number)), [[size, size], [size, size]], name);
    }
});

test("TargetsFollowTheScreenInDevicePixels", () => {
    for (const [number, { name, columns }] of kModes.entries()) {
        const renderer = new FakeRenderer();
        renderer.ratio = 1.5;
        const effect = createEffect(renderer, true, number);
        effect.setSize(201, 101);
        effect.render(frontCamera(), false);
        assert.deepEqual(targetSizes(renderer), [[columns, 151], [columns, 151]], name);
    }
});

test("NumberOutsideTheModesShowsHalvesThatAreNotStretched", () => {
    const outside = kStereoModes.length;
    for (const number of [-1, 0.4, outside - 0.4, outside, 1000]) {
        const renderer = frameOf(number);
        assert.equal(renderer.renders[2].shader, kModes[0].name, `${number}`);
        assert.ok(Math.abs(renderer.renders[0].scale - 0.5) < 1e-12, `${number}`);
        assert.deepEqual(targetSizes(renderer), [[1024, 1024], [1024, 1024]], `${number}`);
    }
});

test("NumberBetweenTwoModesShowsTheGrid", () => {
    for (const number of [0.5, 1.5, kStereoModes.length - 0.5, NaN]) {
        const { renders } = frameOf(number);
        assert.equal(renders[2].shader, kModes[1].name, `${number}`);
        assert.ok(Math.abs(renders[0].scale - 0.5) < 1e-12, `${number}`);
    }
});

test("WindowWithoutAreaStillHasTargets", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer, true, 0);
    effect.setSize(0, 0);
    effect.render(frontCamera(), false);
    assert.deepEqual(targetSizes(renderer), [[1, 1], [1, 1]]);
});

test("RendererIsResizedOnlyToAnotherSize", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer, true, 0);
    effect.setSize(200, 100);
    effect.setSize(200, 100);
    assert.equal(renderer.resizes, 1);
    assert.deepEqual(renderer.size.toArray(), [200, 100]);
    effect.setSize(200, 101);
    assert.equal(renderer.resizes, 2);
});

test("LeftEyeIsDrawnFirstAndRightEyeFirstWhenSwapped", () => {
    for (const swap of [false, true]) {
        const renderer = new FakeRenderer();
        const effect = createEffect(renderer, false, 0);
        effect.render(frontCamera(), swap);
        const [first, second, screen] = renderer.renders;
        // At the neutral depth the left eye is where the camera is.
        assert.equal(first.x === 0, !swap);
        assert.equal(second.x === 0, swap);
        assert.notEqual(first.target, second.target);
        assert.equal(screen.target, null);
        assert.equal(renderer.renders.length, 3);
    }
});

test("RememberedTargetIsRestored", () => {
    const renderer = new FakeRenderer();
    const remembered = new WebGLRenderTarget(8, 8);
    renderer.target = remembered;
    const effect = createEffect(renderer, true, 0);
    effect.render(frontCamera(), false);
    assert.equal(renderer.target, remembered);
});

test("RememberedTargetIsRestoredAfterAFailure", () => {
    const renderer = new FakeRenderer();
    renderer.failing = true;
    const effect = createEffect(renderer, true, 0);
    assert.throws(() => effect.render(frontCamera(), false), /lost/);
    assert.equal(renderer.target, null);
});

test("DisposeFreesBothTargets", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer, true, 0);
    effect.render(frontCamera(), false);
    let freed = 0;
    for (const { target } of renderer.renders.slice(0, 2)) {
        target?.addEventListener("dispose", () => (freed += 1));
    }
    effect.dispose();
    assert.equal(freed, 2);
});
