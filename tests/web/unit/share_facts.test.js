// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { kShareModes } from "../../../web/src/share/flat.js";
import { readFacts } from "../../../web/src/share/facts.js";
import { kShareTexts } from "../../../web/src/share/share_texts.js";

const camera = { focalX: 500, focalY: 510, centreX: 330, centreY: 220, width: 640, height: 480 };
const depths = { nearest: 1, middle: 2, farthest: 3 };

test("WhatIsToldIsTaken", () => {
    const text = JSON.stringify({ camera, depths, free: true, length: 12 });
    assert.deepEqual(readFacts(text), { photograph: camera, depths, free: true, length: 12 });
});

test("WhatIsUnknownIsNull", () => {
    const nothing = { photograph: null, depths: null, free: false, length: 0 };
    assert.deepEqual(readFacts('{"camera":null,"depths":null}'), nothing);
    assert.deepEqual(readFacts("{}"), nothing);
});

test("ACameraWithoutACentreLooksAtTheMiddle", () => {
    const { centreX, centreY, ...rest } = camera;
    const { photograph } = readFacts(JSON.stringify({ camera: rest }));
    assert.deepEqual([photograph?.centreX, photograph?.centreY], [320, 240]);
});

for (const [name, wrong] of /** @type {const} */ ([
    ["no width", { camera: { ...camera, width: 0 } }],
    ["a text for a number", { camera: { ...camera, focalX: "500" } }],
    ["depths out of order", { depths: { ...depths, nearest: 2.5 } }],
    ["a depth behind the eye", { depths: { ...depths, nearest: -1 } }],
])) {
    test(`WhatCannotBeIsLeftOut ${name}`, () => {
        const { photograph, depths: known } = readFacts(JSON.stringify(wrong));
        assert.deepEqual([photograph, known], [null, null]);
    });
}

test("TextThatIsNoJsonIsDamage", () => {
    for (const text of ["", "null", "{"]) {
        assert.throws(() => readFacts(text), { kind: "damaged" });
    }
});

test("EveryModeHasANameInEveryLanguage", () => {
    for (const { modes } of Object.values(kShareTexts)) {
        assert.equal(modes.length, kShareModes.length);
    }
    assert.deepEqual(kShareTexts.en.modes, kShareModes.map(({ name }) => name));
});
