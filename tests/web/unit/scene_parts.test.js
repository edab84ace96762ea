// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { kPartMultiple } from "../../../web/src/painter/eye_painter.js";
import { sendScene } from "../../../web/src/painter/scene_parts.js";

/** More than fit into one part. */
const kMany = 200 * kPartMultiple + 7;

class FakePainter {
    /** @type {object | null} */
    scene = null;
    /** @type {number[]} */
    words = [];
    /** @type {number[][]} */
    harmonics = [[], [], []];
    /** @type {number[]} */
    parts = [];

    /** @param {object} scene */
    begin(scene) {
        this.scene = scene;
    }

    /**
     * @param {Uint32Array} words
     * @param {Uint32Array[]} harmonics
     */
    append(words, harmonics) {
        this.parts.push(words.length / 4);
        for (const word of words) this.words.push(word);
        harmonics.forEach((degree, i) => {
            for (const word of degree) this.harmonics[i].push(word);
        });
    }

    /** @returns {import("../../../web/src/painter/eye_painter.js").EyePainter} */
    get real() {
        return /** @type {any} */ (this);
    }
}

/** @param {number} count */
function numbered(count) {
    return Uint32Array.from({ length: count }, (_, i) => i);
}

/**
 * @param {number} count of Gaussians
 * @param {Record<string, unknown>} [extra]
 */
function sceneOf(count, extra = {}) {
    // Spark makes room for more than there are.
    return { numSplats: count, packedArray: numbered(4 * count + 4096), extra };
}

test("EveryPainterGetsAllGaussiansInOrder", async () => {
    const painters = [new FakePainter(), new FakePainter()];
    const isSent = await sendScene(sceneOf(kMany), painters.map(({ real }) => real), () => true);
    assert.ok(isSent);
    for (const { words, parts, scene } of painters) {
        assert.equal(words.length, 4 * kMany);
        assert.ok(words.every((word, i) => word === i));
        assert.ok(parts.slice(0, -1).every((count) => count % kPartMultiple === 0));
        assert.deepEqual(scene, { count: kMany, encoding: undefined, shDegree: 0 });
    }
});

test("HarmonicsGoWithTheirGaussians", async () => {
    const painter = new FakePainter();
    const extra = { sh1: numbered(2 * kMany), sh2: numbered(4 * kMany), sh1Texture: {} };
    await sendScene(sceneOf(kMany, extra), [painter.real], () => true);
    assert.equal(Object(painter.scene).shDegree, 2);
    assert.deepEqual(painter.harmonics.map(({ length }) => length), [2 * kMany, 4 * kMany, 0]);
    assert.ok(painter.harmonics.every((words) => words.every((word, i) => word === i)));
});

test("NothingOfTheSceneIsKept", async () => {
    const scene = sceneOf(3, { sh1: numbered(6) });
    await sendScene(scene, [], () => true);
    assert.equal(scene.packedArray, null);
    assert.deepEqual(scene.extra, {});
});

test("SceneThatIsNotWantedAnyMoreIsLeftOff", async () => {
    const painter = new FakePainter();
    let asked = 0;
    assert.equal(await sendScene(sceneOf(kMany), [painter.real], () => ++asked < 2), false);
    assert.equal(painter.parts.length, 1);
});
