import assert from "node:assert/strict";
import { test } from "node:test";
import { PerspectiveCamera, Scene, Vector2, WebGLRenderTarget } from "three";
import { AnaglyphEffect } from "../../../web/src/effects/anaglyph_effect.js";
import { createEffect } from "../../../web/src/effects/create_effect.js";
import { ParallaxBarrierEffect } from "../../../web/src/effects/parallax_barrier_effect.js";
import { StereoEffect } from "../../../web/src/effects/stereo_effect.js";
import { defaultSettings } from "../../../web/src/view_settings.js";

/** Notes what an effect asks of the renderer. */
class FakeRenderer {
    size = new Vector2(0, 0);
    ratio = 1;
    /** @type {WebGLRenderTarget | null} */
    target = null;
    resizes = 0;
    /** @type {{ target: WebGLRenderTarget | null, x: number }[]} camera's x for every render */
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
     * @param {unknown} _scene
     * @param {import("three").Camera} camera
     */
    render(_scene, camera) {
        if (this.failing) throw new Error("lost");
        this.renders.push({ target: this.target, x: camera.position.x });
    }

    /** @returns {import("three").WebGLRenderer} */
    get real() {
        return /** @type {any} */ (this);
    }
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

test("EveryModeHasItsEffect", () => {
    const wanted = [StereoEffect, StereoEffect, AnaglyphEffect, AnaglyphEffect, AnaglyphEffect];
    for (const [stType, kind] of [...wanted, ParallaxBarrierEffect].entries()) {
        const effect = createEffect(new FakeRenderer().real, { ...defaultSettings(true), stType });
        assert.ok(effect instanceof kind, `${stType}`);
    }
});

test("TargetsStartAtTheirOwnSize", () => {
    for (const [stType, size] of [
        [0, 1024],
        [1, 1024],
        [2, 512],
        [5, 512],
    ]) {
        const renderer = new FakeRenderer();
        const effect = createEffect(renderer.real, { ...defaultSettings(true), stType });
        effect.render(new Scene(), frontCamera(), false);
        assert.deepEqual(targetSizes(renderer), [[size, size], [size, size]], `${stType}`);
    }
});

test("TargetsFollowTheScreenInDevicePixels", () => {
    for (const [stType, columns] of [
        [0, 150],
        [1, 150],
        [3, 301],
        [5, 301],
    ]) {
        const renderer = new FakeRenderer();
        renderer.ratio = 1.5;
        const effect = createEffect(renderer.real, { ...defaultSettings(true), stType });
        effect.setSize(201, 101);
        effect.render(new Scene(), frontCamera(), false);
        assert.deepEqual(targetSizes(renderer), [[columns, 151], [columns, 151]], `${stType}`);
    }
});

test("WindowWithoutAreaStillHasTargets", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer.real, defaultSettings(true));
    effect.setSize(0, 0);
    effect.render(new Scene(), frontCamera(), false);
    assert.deepEqual(targetSizes(renderer), [[1, 1], [1, 1]]);
});

test("RendererIsResizedOnlyToAnotherSize", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer.real, defaultSettings(true));
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
        const effect = createEffect(renderer.real, defaultSettings(false));
        effect.render(new Scene(), frontCamera(), swap);
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
    createEffect(renderer.real, defaultSettings(true)).render(new Scene(), frontCamera(), false);
    assert.equal(renderer.target, remembered);
});

test("RememberedTargetIsRestoredAfterAFailure", () => {
    const renderer = new FakeRenderer();
    renderer.failing = true;
    const effect = createEffect(renderer.real, defaultSettings(true));
    assert.throws(() => effect.render(new Scene(), frontCamera(), false), /lost/);
    assert.equal(renderer.target, null);
});

test("DisposeFreesBothTargets", () => {
    const renderer = new FakeRenderer();
    const effect = createEffect(renderer.real, defaultSettings(true));
    effect.render(new Scene(), frontCamera(), false);
    let freed = 0;
    for (const { target } of renderer.renders.slice(0, 2)) {
        target?.addEventListener("dispose", () => (freed += 1));
    }
    effect.end();
    assert.equal(freed, 0);
    effect.dispose();
    assert.equal(freed, 2);
});
