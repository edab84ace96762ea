// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { PerspectiveCamera } from "three";
import { OrbitControls } from "../../../web/src/OrbitControls3d.js";

/** What the controls need of an element 100 pixels high. */
function element() {
    const target = new EventTarget();
    return /** @type {HTMLElement} */ (
        /** @type {unknown} */ (
            Object.assign(target, {
                style: {},
                clientHeight: 100,
                clientWidth: 200,
                getRootNode: () => new EventTarget(),
                setPointerCapture() {},
                releasePointerCapture() {},
            })
        )
    );
}

/** @param {boolean} usefov */
function controlsAtTwo(usefov) {
    const camera = new PerspectiveCamera(30, 2, 0.1, 500);
    camera.position.set(0, 0, 2);
    const controls = new OrbitControls(camera, element());
    controls.usefov = usefov;
    controls.fovZoomSpeed = 1;
    let changes = 0;
    controls.addEventListener("change", () => (changes += 1));
    return { camera, controls, changes: () => changes };
}

/**
 * @param {number} actual
 * @param {number} expected
 */
function assertClose(actual, expected) {
    assert.ok(Math.abs(actual - expected) < 1e-9, `${actual} is not ${expected}`);
}

/**
 * @param {OrbitControls} controls
 * @param {string} type
 * @param {Record<string, unknown>} members
 */
function send(controls, type, members) {
    const event = Object.assign(new Event(type, { cancelable: true }), members);
    /** @type {HTMLElement} */ (controls.domElement).dispatchEvent(event);
}

/**
 * Two fingers at one height, the first at 0, that go from one distance to another.
 * @param {OrbitControls} controls
 * @param {number} from
 * @param {number} to
 */
function pinch(controls, from, to) {
    const finger = (/** @type {number} */ pointerId, /** @type {number} */ x) => ({
        pointerId,
        pointerType: "touch",
        pageX: x,
        pageY: 0,
        clientX: x,
        clientY: 0,
    });
    send(controls, "pointerdown", finger(1, 0));
    send(controls, "pointerdown", finger(2, from));
    send(controls, "pointermove", finger(2, to));
    send(controls, "pointerup", finger(2, to));
    send(controls, "pointerup", finger(1, 0));
}

test("AddedPropertiesStartAsDocumented", () => {
    const controls = new OrbitControls(new PerspectiveCamera());
    assert.equal(controls.anicnt, 0);
    assert.equal(controls.usefov, false);
    assert.equal(controls.minFov, 1);
    assert.equal(controls.maxFov, 100);
    assert.equal(controls.fovZoomSpeed, 0.5);
    assert.equal(controls.fovChanged, false);
});

test("DragTurnsByTheStockAngle", () => {
    const { controls } = controlsAtTwo(false);
    controls.handleMouseDownRotateset(0, 50);
    controls.handleMouseMoveRotateset(10, 50); // a tenth of the height: 36 degrees
    assertClose(controls.getAzimuthalAngle(), -Math.PI / 5);
    assert.equal(controls.anicnt, 100);
});

test("DragTurnsTheOtherWayAtAQuarterWhereTheFovZooms", () => {
    const { controls } = controlsAtTwo(true);
    controls.handleMouseDownRotateset(0, 50);
    controls.handleMouseMoveRotateset(10, 45);
    assertClose(controls.getAzimuthalAngle(), Math.PI / 20);
    assertClose(controls.getPolarAngle(), Math.PI / 2 - Math.PI / 40);
});

test("RotateLeftTurnsAtTheNextUpdate", () => {
    const { controls } = controlsAtTwo(false);
    controls.rotateLeft(0.5);
    assert.equal(controls.getAzimuthalAngle(), 0);
    controls.update();
    assertClose(controls.getAzimuthalAngle(), -0.5);
});

test("PanMovesTargetAndCamera", () => {
    const { camera, controls } = controlsAtTwo(false);
    camera.updateMatrixWorld();
    controls.handleMouseDownPanset(0, 0);
    controls.handleMouseMovePanset(100, 0);
    // The height of 100 pixels is 4 * tan(15 degrees) of the world at the target.
    const shift = -1.0717967697244912;
    assertClose(controls.target.x, shift);
    assertClose(camera.position.x, shift);
    assertClose(camera.position.z, 2);
});

test("WheelOutRaisesTheFov", () => {
    const { camera, controls, changes } = controlsAtTwo(true);
    send(controls, "wheel", { deltaY: 100, deltaMode: 0, clientX: 0, clientY: 0 });
    assertClose(camera.fov, 30.95);
    assertClose(camera.position.z, 2);
    assert.equal(changes(), 1);
});

test("WheelInLowersTheFov", () => {
    const { camera, controls } = controlsAtTwo(true);
    send(controls, "wheel", { deltaY: -200, deltaMode: 0, clientX: 0, clientY: 0 });
    assertClose(camera.fov, 29.0975); // 0.95 squared below 30
    assertClose(camera.projectionMatrix.elements[5], 3.85318532116264);
});

test("WheelChangesTheDistanceInGeneralMode", () => {
    const { camera, controls } = controlsAtTwo(false);
    send(controls, "wheel", { deltaY: -100, deltaMode: 0, clientX: 0, clientY: 0 });
    assertClose(camera.position.z, 1.9);
    assert.equal(camera.fov, 30);
});

test("FovStaysWithinItsBounds", () => {
    const { camera, controls } = controlsAtTwo(true);
    camera.fov = 1.5;
    send(controls, "wheel", { deltaY: -100, deltaMode: 0, clientX: 0, clientY: 0 });
    assert.equal(camera.fov, 1);
    camera.fov = 99.5;
    send(controls, "wheel", { deltaY: 100, deltaMode: 0, clientX: 0, clientY: 0 });
    assert.equal(camera.fov, 100);
});

test("SpreadFingersZoomIn", () => {
    const { camera, controls } = controlsAtTwo(true);
    controls.enablePan = false;
    pinch(controls, 100, 150);
    assertClose(camera.fov, 30 - 0.7); // 1.5 - 0.8
});

test("ClosedFingersZoomOut", () => {
    const { camera, controls } = controlsAtTwo(true);
    controls.enablePan = false;
    pinch(controls, 100, 50);
    assertClose(camera.fov, 30 + 1.2); // 2 - 0.8
});

test("FingersAtRestZoomOutALittle", () => {
    const { camera, controls } = controlsAtTwo(true);
    controls.enablePan = false;
    pinch(controls, 100, 100);
    assertClose(camera.fov, 30.2);
});

test("FingersOnOnePointDoNotZoom", () => {
    const { camera, controls } = controlsAtTwo(true);
    controls.enablePan = false;
    pinch(controls, 0, 0);
    assert.equal(camera.fov, 30);
});

test("FingersChangeTheDistanceInGeneralMode", () => {
    const { camera, controls } = controlsAtTwo(false);
    controls.enablePan = false;
    pinch(controls, 100, 200);
    assertClose(camera.position.z, 1);
});

test("StepsZoomByAFixedAmount", () => {
    const { camera, controls } = controlsAtTwo(true);
    controls.handleTouchMoveDollyset(1);
    assertClose(camera.fov, 29.8);
    controls.handleTouchMoveDollyset(0);
    controls.handleTouchMoveDollyset(-5);
    assertClose(camera.fov, 30.2);
});

test("StepsScaleTheDistanceInGeneralMode", () => {
    const { camera, controls } = controlsAtTwo(false);
    controls.handleTouchMoveDollyset(3);
    assertClose(camera.position.z, 1.99);
    controls.handleTouchMoveDollyset(-3);
    assertClose(camera.position.z, 2);
});

test("ChangedFovIsReportedOnce", () => {
    const { controls, changes } = controlsAtTwo(true);
    controls.update();
    const before = changes();
    controls.fovChanged = true;
    assert.equal(controls.update(), true);
    assert.equal(changes(), before + 1);
    assert.equal(controls.update(), false);
    assert.equal(changes(), before + 1);
});

test("PointerMovesSetTheCounter", () => {
    const { controls } = controlsAtTwo(true);
    const mouse = { pointerId: 1, pointerType: "mouse", button: 0, clientX: 0, clientY: 0 };
    send(controls, "pointerdown", mouse);
    assert.equal(controls.anicnt, 0);
    send(controls, "pointermove", mouse);
    assert.equal(controls.anicnt, 100);
});
