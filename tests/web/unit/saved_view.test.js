// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { mock, test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { loadSavedView, parseSavedView, storeSavedView } from "../../../web/src/saved_view.js";

/** @type {Required<import("../../../web/src/saved_view.js").SavedView>} */
const kView = {
    position: [1, -2, 3.5],
    target: [0, 0.25, 0],
    fov: 42,
    zoom: 1.5,
    swap: true,
    dltx: -7,
    dpt: 133,
    stType: 4,
};

/** @param {string | null} text */
function storageWith(text) {
    /** @type {Map<string, string>} */
    const items = new Map(text === null ? [] : [["cameraState", text]]);
    return /** @type {Storage & { items: Map<string, string> }} */ (
        /** @type {unknown} */ ({
            items,
            getItem: (/** @type {string} */ key) => items.get(key) ?? null,
            setItem: (/** @type {string} */ key, /** @type {string} */ value) =>
                items.set(key, value),
        })
    );
}

test("StoredViewComesBack", () => {
    const storage = storageWith(null);
    storeSavedView(storage, kView);
    assert.deepEqual(loadSavedView(storage), kView);
});

test("StoredViewIsAJsonObjectUnderItsKey", () => {
    const storage = storageWith(null);
    storeSavedView(storage, kView);
    assert.deepEqual([...storage.items.keys()], ["cameraState"]);
    assert.deepEqual(JSON.parse(String(storage.items.get("cameraState"))), kView);
});

test("NothingStoredIsNoView", () => {
    assert.equal(loadSavedView(storageWith(null)), null);
});

test("BrokenTextIsReportedAndIsNoView", () => {
    for (const text of ["{", "", "null", "[1]", "3", '"x"']) {
        const error = mock.method(console, "error", () => {});
        try {
            assert.equal(loadSavedView(storageWith(text)), null, text);
            const calls = error.mock.calls.map((call) => call.arguments);
            assert.deepEqual(calls, [["camera restore failed"]], text);
        } finally {
            error.mock.restore();
        }
    }
});

test("MembersOfAnotherTypeAreLeftOut", () => {
    const view = parseSavedView(
        '{"position":[1,2],"target":[1,2,"3"],"fov":0,"zoom":-1,"swap":1,"dltx":"5","dpt":null,' +
            '"stType":"1"}',
    );
    assert.ok(Object.values(view).every((member) => member === undefined));
});

test("NumberOfNoStereoModeIsLeftOut", () => {
    for (const stType of [-1, 0.5, kStereoModes.length]) {
        assert.equal(parseSavedView(JSON.stringify({ stType })).stType, undefined, `${stType}`);
    }
});

test("NumberOfEveryStereoModeIsTaken", () => {
    for (const stType of kStereoModes.keys()) {
        assert.equal(parseSavedView(JSON.stringify({ stType })).stType, stType);
    }
});

test("PartOfAViewIsTaken", () => {
    const view = parseSavedView('{"swap":true,"stType":3}');
    assert.equal(view.swap, true);
    assert.equal(view.stType, 3);
    assert.equal(view.position, undefined);
});
