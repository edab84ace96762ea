// SPDX-License-Identifier: GPL-3.0-or-later
/** Where a shared scene is seen from at first, and how far from there it may be seen. */

/** @typedef {import("./facts.js").Depths} Depths */
/** @typedef {import("./facts.js").Photograph} Photograph */

/** Depth that the view turns about where nothing is known of the scene's, world units. */
const kUsualDepth = 3;
/** Start of a scene that nobody tells a camera of, as in the program's page. */
const kGeneralPosition = /** @type {const} */ ([0, -1, -3]);
const kGeneralAngle = (65 * Math.PI) / 180;

/**
 * @typedef {object} StartView
 * @property {readonly [number, number, number]} position of the eye; y is down
 * @property {readonly [number, number, number]} target that the view turns about
 * @property {Photograph} photograph what the window shows all of
 * @property {Depths} depths known or assumed
 * @property {Limits | null} limits null where the view may go anywhere
 */

/**
 * @typedef {object} Limits
 * @property {number} turn most angle to each side about the target, radians
 * @property {number} raise the same up and down
 */

/** A gap beside something near may open so wide, radians as the eye sees it. */
const kWidestGap = 0.2;
/** Least and most angle of turning, radians: less is no depth, and beyond lies a scene's back. */
const kLeastTurn = 0.03;
const kMostTurn = 0.15;
/** A picture's upper and lower edges come into sight sooner. */
const kRaiseShare = 0.6;

/**
 * An eye that has moved sideways by e sees things at depth n shifted by e / n, and what lies behind
 * at depth f by e / f. The difference is the gap that the photograph shows nothing of. So e is at
 * most what opens a gap of kWidestGap between the scene's nearest and farthest parts, and turning
 * about the middle depth m by an angle t moves the eye by m * sin t.
 * @param {Depths} depths
 * @returns {Limits}
 */
export function limitsOf({ nearest, middle, farthest }) {
    const gap = 1 / nearest - 1 / farthest;
    const way = gap > 0 ? kWidestGap / gap : Infinity;
    const turn = Math.max(kLeastTurn, Math.min(kMostTurn, Math.asin(Math.min(1, way / middle))));
    return { turn, raise: kRaiseShare * turn };
}

/**
 * @param {import("./facts.js").Facts} facts
 * @returns {StartView}
 */
export function startViewOf({ photograph, depths, free }) {
    if (photograph === null) {
        const focal = 0.5 / Math.tan(kGeneralAngle / 2);
        const square = { centreX: 0.5, centreY: 0.5, width: 1, height: 1 };
        const distance = Math.hypot(...kGeneralPosition);
        return {
            position: kGeneralPosition,
            target: [0, 0, 0],
            photograph: { focalX: focal, focalY: focal, ...square },
            depths: { nearest: distance, middle: distance, farthest: 2 * distance },
            limits: null,
        };
    }
    const known = depths ?? {
        nearest: kUsualDepth,
        middle: kUsualDepth,
        farthest: 2 * kUsualDepth,
    };
    return {
        position: [0, 0, 0],
        target: [0, 0, known.middle],
        photograph,
        depths: known,
        limits: free ? null : limitsOf(known),
    };
}

/**
 * A part of the photograph's plane that the window shows.
 * @typedef {object} Crop
 * @property {number} magnification 1 shows all of the photograph
 * @property {number} x how far the window's middle lies to the right of where it starts, in halves
 *     of the window at magnification 1
 * @property {number} y the same upwards
 */

/**
 * @typedef {object} Frustum
 * @property {number} fov vertical, degrees
 * @property {number} aspect
 * @property {number} skewX row 0, column 2 of the projection matrix
 * @property {number} skewY row 1, column 2
 */

/**
 * @param {Photograph} photograph
 * @param {{ width: number, height: number }} window
 * @param {number} share of the window's width into which the photograph is to fit
 * @param {Crop} crop
 * @returns {Frustum} shows all of the photograph, as large as can be, or the crop of it
 */
export function frustumOf(photograph, { width, height }, share, { magnification, x, y }) {
    const fit = Math.min((share * width) / photograph.width, height / photograph.height);
    const focalX = photograph.focalX * fit * magnification;
    const focalY = photograph.focalY * fit * magnification;
    const offX = (2 * fit * (photograph.centreX - photograph.width / 2)) / width;
    const offY = (2 * fit * (photograph.centreY - photograph.height / 2)) / height;
    return {
        fov: (2 * Math.atan(height / 2 / focalY) * 180) / Math.PI,
        aspect: width / focalX / (height / focalY),
        skewX: magnification * (x - offX),
        skewY: magnification * (y + offY),
    };
}

/** Zooming in ends where single Gaussians show. */
const kMostMagnification = 5;
/** How far beyond the photograph's edge the window's middle or edge may look. */
const kMargin = 0.1;

/**
 * @param {Crop} crop
 * @returns {Crop} the nearest one that shows what the photograph does
 */
export function insidePhotograph({ magnification, x, y }) {
    const m = Math.max(1 - kMargin, Math.min(kMostMagnification, magnification));
    const most = Math.max(0, 1 - 1 / m) + kMargin;
    const within = (/** @type {number} */ at) => Math.max(-most, Math.min(most, at));
    return { magnification: m, x: within(x), y: within(y) };
}

/** What the two pictures of things nearest and farthest may shift, of the photograph's width. */
const kComfortable = 0.04;
/** Distance of the eyes at the neutral depth, of the distance to the middle. */
const kNeutralPair = Math.tan((20 / 5.5) * (Math.PI / 180));

/** The middle of the depth slider, and the end of the focus slider to each side. */
export const kHalfSlider = 50;

/**
 * What the sliders mean. The depth's middle is a pair of eyes that look at the scene with ease; at
 * the focus's middle the nearest things lie on the screen, and at its lower end the farthest.
 * @param {StartView} start
 * @param {number} focus -50 to 50
 * @param {number} depth 0 to 100
 * @returns {{ dltx: number, dpt: number }}
 */
export function stereoOf({ depths: { nearest, middle, farthest }, photograph }, focus, depth) {
    const range = 1 / nearest - 1 / farthest;
    const width = photograph.width / photograph.focalX;
    const neutral = kNeutralPair * middle;
    const comfortable = Math.min(1, (kComfortable * width) / (neutral * range || 1e-9));
    const share = (comfortable * depth) / kHalfSlider;
    const screen = 1 / nearest + (focus / kHalfSlider) * range;
    return { dltx: 50 * share * neutral * (1 - middle * screen), dpt: 100 * share };
}
