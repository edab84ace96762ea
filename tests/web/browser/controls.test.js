// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { plyFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/viewer_page.js").ViewerPage} ViewerPage */

const browser = await startBrowser();
const kHeight = 160;
const scene = await browser.file(
    "scene.ply",
    plyFile([{ center: [0, 0, 0], scale: 0.2, color: [1, 1, 1] }]),
);
/** Looks along +z from 2 before the origin, with x to the left: scenes are y-down. */
const kSaved = JSON.stringify({ position: [0, 0, -2], target: [0, 0, 0], fov: 30, zoom: 1 });

/**
 * @param {"sharp" | "general"} mode
 * @param {boolean} [touch]
 */
async function openMode(mode, touch = false) {
    return browser.open({
        width: 200,
        height: kHeight,
        query: `mode=${mode === "sharp" ? 0 : 1}&openFile=${scene}`,
        saved: kSaved,
        touch,
    });
}

/**
 * @param {ViewerPage} page
 * @param {number} dx
 * @param {number} dy
 * @param {"left" | "right" | "middle"} [button]
 */
async function drag(page, dx, dy, button = "left") {
    const { mouse } = page.page;
    await mouse.move(100, 80);
    await mouse.down({ button });
    await mouse.move(100 + dx, 80 + dy);
    await mouse.up({ button });
    await page.rest();
}

/**
 * @param {ViewerPage} page
 * @param {number} deltaY
 */
async function wheel(page, deltaY) {
    await page.page.mouse.move(100, 80);
    await page.page.mouse.wheel(0, deltaY);
    await page.page.waitForFunction(() => /** @type {any} */ (window).wheelSeen);
    await page.rest();
}

/** @param {ViewerPage} page */
async function noticeWheel(page) {
    await page.page.evaluate(() => {
        window.addEventListener("wheel", () =>
            Object.assign(window, { wheelSeen: true }),
        );
    });
}

/**
 * @param {ViewerPage} page
 * @param {[number, number][][]} steps for each step a point for each finger
 */
async function fingers(page, steps) {
    const session = await page.page.context().newCDPSession(page.page);
    for (const [i, points] of steps.entries()) {
        await session.send("Input.dispatchTouchEvent", {
            type: i === 0 ? "touchStart" : "touchMove",
            touchPoints: points.map(([x, y], id) => ({ x, y, id })),
        });
    }
    await session.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
    await page.rest();
}

/**
 * @param {readonly number[]} actual
 * @param {readonly number[]} expected
 */
function assertVector(actual, expected) {
    actual.forEach((value, i) => {
        assert.ok(Math.abs(value - expected[i]) < 1e-6, `${actual} is not ${expected}`);
    });
}

/**
 * Two from the origin, turned from the start view.
 * @param {number} angle radians, as seen from above in a y-up world
 * @returns {number[]}
 */
function turned(angle) {
    return [2 * Math.sin(angle), 0, -2 * Math.cos(angle)];
}

// A drag over the whole height turns by a full turn times the rotate speed of 0.5.
const kQuarterTurn = kHeight / 2;

test("MouseTurnsTheViewInGeneralMode", async () => {
    const page = await openMode("general");
    const before = await page.watch();
    await drag(page, kQuarterTurn / 2, 0);
    const { position, target } = await page.currentView();
    assertVector(position, turned(-Math.PI / 4));
    assertVector(target, [0, 0, 0]);
    assert.ok((await page.watch()).frames > before.frames);
    await page.close();
});

test("MouseTurnsTheViewTheOtherWayInSharpMode", async () => {
    const page = await openMode("sharp");
    await drag(page, kQuarterTurn / 2, 0);
    assertVector((await page.currentView()).position, turned(Math.PI / 16));
    await page.close();
});

test("PolarAngleStaysWithinItsBounds", async () => {
    const page = await openMode("general");
    await drag(page, 0, 79);
    await drag(page, 0, 79);
    // 0.1 from the pole of a y-down world
    assertVector((await page.currentView()).position, [0, -2 * Math.cos(0.1), -2 * Math.sin(0.1)]);
    await drag(page, 0, -79);
    await drag(page, 0, -79);
    await drag(page, 0, -79);
    const angle = 0.75 * Math.PI;
    const expected = [0, -2 * Math.cos(angle), -2 * Math.sin(angle)];
    assertVector((await page.currentView()).position, expected);
    await page.close();
});

for (const mode of /** @type {const} */ (["sharp", "general"])) {
    test(`RightButtonPansIn ${mode}`, async () => {
        const page = await openMode(mode);
        await drag(page, 16, 0, "right");
        // A tenth of the height of the picture plane at the target.
        const fov = mode === "sharp" ? 30 : 65;
        const shift = 0.1 * 4 * Math.tan((fov * Math.PI) / 360);
        const { position, target } = await page.currentView();
        // The picture follows the pointer to the right, where x grows.
        assertVector(target, [-shift, 0, 0]);
        assertVector(position, [-shift, 0, -2]);
        await page.close();
    });
}

test("WheelChangesTheFieldOfViewInSharpMode", async () => {
    const page = await openMode("sharp");
    await noticeWheel(page);
    await wheel(page, 100);
    const view = await page.currentView();
    assert.ok(Math.abs(view.fov - 30.95) < 1e-9, `${view.fov}`);
    assertVector(view.position, [0, 0, -2]);
    await page.close();
});

test("WheelChangesTheDistanceInGeneralMode", async () => {
    const page = await openMode("general");
    await noticeWheel(page);
    await wheel(page, -100);
    const view = await page.currentView();
    assert.equal(view.fov, 65);
    assertVector(view.position, [0, 0, -1.9]);
    await page.close();
});

test("MiddleButtonZoomsInSharpMode", async () => {
    const page = await openMode("sharp");
    await drag(page, 0, -50, "middle");
    const expected = 30 - Math.sqrt(0.95);
    assert.ok(Math.abs((await page.currentView()).fov - expected) < 1e-9);
    await page.close();
});

test("FingerTurnsTheView", async () => {
    for (const [mode, angle] of /** @type {const} */ ([
        ["general", -Math.PI / 4],
        ["sharp", Math.PI / 16],
    ])) {
        const page = await openMode(mode, true);
        await fingers(page, [[[50, 80]], [[50 + kQuarterTurn / 2, 80]]]);
        assertVector((await page.currentView()).position, turned(angle));
        await page.close();
    }
});

test("TwoFingersZoomTheFieldOfViewInSharpMode", async () => {
    const page = await openMode("sharp", true);
    // Each finger moves by itself: 100 to 110 apart and then to 121, both 1.1 times as far.
    const steps = /** @type {[number, number][][]} */ ([
        [[50, 80], [150, 80]],
        [[50, 80], [160, 80]],
        [[39, 80], [160, 80]],
    ]);
    await fingers(page, steps);
    const { fov, position } = await page.currentView();
    assert.ok(Math.abs(fov - (30 - 0.3 - 0.3)) < 1e-6, `${fov}`);
    assert.ok(Math.abs(Math.hypot(...position) - 2) < 0.2);
    await page.close();
});

test("TwoFingersChangeTheDistanceInGeneralMode", async () => {
    const page = await openMode("general", true);
    await fingers(page, [
        [[50, 80], [150, 80]],
        [[50, 80], [170, 80]],
    ]);
    const { fov, position, target } = await page.currentView();
    assert.equal(fov, 65);
    const distance = Math.hypot(...position.map((value, i) => value - target[i]));
    assert.ok(Math.abs(distance - 2 / 1.2) < 1e-6, `${distance}`);
    await page.close();
});

for (const mode of /** @type {const} */ (["sharp", "general"])) {
    test(`KeysMoveLikeTheMouseIn ${mode}`, async () => {
        const page = await openMode(mode);
        /** @param {string} key */
        const press = async (key) => {
            await page.page.keyboard.press(key);
            await page.rest();
        };
        const start = await page.currentView();
        for (const [key, dx, dy] of /** @type {const} */ ([
            ["ArrowRight", 20, 0],
            ["ArrowUp", 0, -20],
            ["Shift+ArrowLeft", -20, 0],
            ["Shift+ArrowDown", 0, 20],
        ])) {
            await drag(page, dx, dy, key.startsWith("Shift") ? "right" : "left");
            const dragged = await page.currentView();
            await drag(page, -dx, -dy, key.startsWith("Shift") ? "right" : "left");
            await press(key);
            const { position, target } = await page.currentView();
            assertVector(position, dragged.position);
            assertVector(target, dragged.target);
            await drag(page, -dx, -dy, key.startsWith("Shift") ? "right" : "left");
            assertVector((await page.currentView()).position, start.position);
        }
        await page.close();
    });
}

test("KeysZoomByANotchOfTheWheel", async () => {
    for (const [mode, fov, distance] of /** @type {const} */ ([
        ["sharp", 29.05, 2],
        ["general", 65, 1.9],
    ])) {
        const page = await openMode(mode);
        const before = await page.watch();
        await page.page.keyboard.press("=");
        await page.rest();
        const near = await page.currentView();
        assert.ok(Math.abs(near.fov - fov) < 1e-9, `${near.fov}`);
        assertVector(near.position, [0, 0, -distance]);
        assert.ok((await page.watch()).frames > before.frames);
        for (const key of ["-", "+", "-", "Control+-", "Alt+ArrowLeft"]) {
            await page.page.keyboard.press(key);
        }
        await page.rest();
        const back = await page.currentView();
        assert.ok(Math.abs(back.fov - (mode === "sharp" ? 30 : 65)) < 1e-9, `${back.fov}`);
        assertVector(back.position, [0, 0, -2]);
        await page.close();
    }
});

test("CallsRotateLikeTheMouse", async () => {
    const page = await openMode("general");
    await page.call("PanmoveFromNative", 10, 10, 0);
    await page.call("PanmoveFromNative", 10 + kQuarterTurn / 2, 10, 1);
    assertVector((await page.currentView()).position, turned(-Math.PI / 4));
    await page.close();
});

test("CallsPanLikeTheMouse", async () => {
    const page = await openMode("sharp");
    await page.call("Panmove2FromNative", 10, 10, 0);
    await page.call("Panmove2FromNative", 26, 10, 2);
    const shift = 0.1 * 4 * Math.tan(Math.PI / 12);
    assertVector((await page.currentView()).target, [-shift, 0, 0]);
    await page.close();
});

test("PinchCallsCompareWithTheCallBefore", async () => {
    const page = await openMode("sharp");
    const fovs = [];
    for (const x of [5, 6, 6, 3]) {
        await page.call("PinchFromNative", x, 0, 0);
        fovs.push((await page.currentView()).fov.toFixed(6));
    }
    assert.deepEqual(fovs, ["29.800000", "29.600000", "29.800000", "30.000000"]);
    await page.close();
});

test("PinchCallsScaleTheDistanceInGeneralMode", async () => {
    const page = await openMode("general");
    await page.call("PinchFromNative", 1, 0, 1);
    assertVector((await page.currentView()).position, [0, 0, -1.99]);
    await page.close();
});
