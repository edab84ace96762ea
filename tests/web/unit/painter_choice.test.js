// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { choosePainter, rendererName } from "../../../web/src/painter/painter_choice.js";

test("RenderersOnTheProcessorLeaveThePaintingToOurs", () => {
    for (const name of [
        "llvmpipe (LLVM 15.0.6, 256 bits)",
        "ANGLE (Mesa, llvmpipe (LLVM 19.1.7 256 bits), OpenGL 4.5)",
        "ANGLE (Google, Vulkan 1.3.0 (SwiftShader Device (Subzero) (0x0000C0DE)), SwiftShader driver)",
        "Google SwiftShader",
        "softpipe",
        "Software Rasterizer",
        "Apple Software Renderer",
    ]) {
        assert.equal(choosePainter(null, name), "cpu", name);
    }
});

test("GraphicsCardsPaintThemselves", () => {
    for (const name of [
        "ANGLE (Intel, Mesa Intel(R) UHD Graphics 620 (KBL GT2), OpenGL 4.6)",
        "ANGLE (NVIDIA Corporation, NVIDIA GeForce RTX 3060/PCIe/SSE2, OpenGL 4.5.0)",
        "AMD Radeon RX 6600 (radeonsi, navi23, LLVM 19.1.7, DRM 3.61)",
        "ANGLE (Apple, ANGLE Metal Renderer: Apple M1, Unspecified Version)",
        "Mesa Intel(R) Graphics (ADL GT2)",
        "V3D 7.1.7",
        "Mali-G610",
    ]) {
        assert.equal(choosePainter(null, name), "gpu", name);
    }
});

test("ProcessorPaintsWhereNothingDrawsWebGL", () => {
    assert.equal(choosePainter(null, null), "cpu");
});

test("QueryDecidesWhateverTheRenderer", () => {
    for (const name of ["llvmpipe", "Mali-G610", null]) {
        assert.equal(choosePainter("gpu", name), "gpu");
        assert.equal(choosePainter("cpu", name), "cpu");
    }
});

test("RendererIsAskedForItsRealName", () => {
    const names = /** @type {Record<number, string>} */ ({ 1: "WebKit WebGL", 2: "llvmpipe" });
    const context = (/** @type {object | null} */ extension) =>
        /** @type {any} */ ({
            RENDERER: 1,
            getExtension: () => extension,
            getParameter: (/** @type {number} */ key) => names[key],
        });
    assert.equal(rendererName(context({ UNMASKED_RENDERER_WEBGL: 2 })), "llvmpipe");
    assert.equal(rendererName(context(null)), "WebKit WebGL");
});
