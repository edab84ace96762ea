// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The parts of three's orbit controls that its published types leave out and that
 * OrbitControls3d.js overrides or calls.
 */
import { Vector2 } from "three";

declare module "three/addons/controls/OrbitControls.js" {
    interface OrbitControls {
        _dollyStart: Vector2;
        _dollyEnd: Vector2;
        _onPointerMove: (event: PointerEvent) => void;
        _rotateLeft(angle: number): void;
        _rotateUp(angle: number): void;
        _pan(deltaX: number, deltaY: number): void;
        _getZoomScale(delta: number): number;
        _dollyIn(dollyScale: number): void;
        _dollyOut(dollyScale: number): void;
        _handleMouseDownRotate(event: { clientX: number; clientY: number }): void;
        _handleMouseMoveRotate(event: { clientX: number; clientY: number }): void;
        _handleMouseDownPan(event: { clientX: number; clientY: number }): void;
        _handleMouseMovePan(event: { clientX: number; clientY: number }): void;
        _handleTouchMoveDolly(event: PointerEvent): void;
        _getSecondPointerPosition(event: PointerEvent): Vector2;
    }
}
