import { AnaglyphEffect, kAnaglyphs } from "./anaglyph_effect.js";
import { ParallaxBarrierEffect } from "./parallax_barrier_effect.js";
import { StereoEffect } from "./stereo_effect.js";

/** The number of stereo modes. */
export const kModes = 6;

/**
 * @param {import("three").WebGLRenderer} renderer
 * @param {import("../view_settings.js").ViewSettings} settings its `stType` chooses the effect
 * @returns {import("./eye_pair_effect.js").EyePairEffect}
 */
export function createEffect(renderer, settings) {
    const mode = settings.stType;
    if (mode === 5) return new ParallaxBarrierEffect(renderer, settings);
    if (kAnaglyphs[mode - 2]) return new AnaglyphEffect(renderer, settings, mode - 2);
    return new StereoEffect(renderer, settings, mode);
}
