// SPDX-License-Identifier: GPL-3.0-or-later
/** What moves the eye without a touch: a slow sway, and the way in which a phone is held. */

/**
 * Angles about the scene's middle, radians.
 * @typedef {object} Turn
 * @property {number} yaw
 * @property {number} pitch
 */

const kPeriod = 8000;
/** The sway grows and ends over so long, milliseconds. */
const kGrowing = 3000;
const kEnding = 600;
/** Most sway to each side, radians, and its part of how far the view may turn. */
const kMostSway = 0.045;
const kSwayShare = 0.6;

/** From side to side until somebody touches the page. */
export class Sway {
    #most;
    /** @type {number | null} */
    #since = null;
    /** @type {number | null} */
    #until = null;

    /** @param {number} limit how far the view may turn, radians */
    constructor(limit) {
        this.#most = Math.min(kMostSway, kSwayShare * limit);
    }

    /** @param {number} now milliseconds, as below */
    start(now) {
        this.#since ??= now;
    }

    /** It does not start again. @param {number} now */
    stop(now) {
        this.#since ??= -Infinity;
        this.#until ??= now + kEnding;
    }

    /** @param {number} now */
    isMoving(now) {
        return this.#since !== null && this.#since > -Infinity && now < (this.#until ?? Infinity);
    }

    /**
     * @param {number} now
     * @returns {Turn}
     */
    turn(now) {
        if (this.#since === null || !this.isMoving(now)) return { yaw: 0, pitch: 0 };
        const growing = Math.min(1, (now - this.#since) / kGrowing);
        const ending = this.#until === null ? 1 : Math.min(1, (this.#until - now) / kEnding);
        const angle = (2 * Math.PI * (now - this.#since)) / kPeriod;
        const size = this.#most * growing * ending;
        return { yaw: size * Math.sin(angle), pitch: 0.25 * size * Math.sin(angle / 2) };
    }
}

/** Part of the phone's turn that the eye follows. */
const kGain = 0.35;
/** What a phone at rest seems to turn by, degrees. */
const kNoise = 0.15;
/** The way in which the phone is held becomes the straight view within so long, milliseconds. */
const kForgetting = 6000;
/** The eye follows within so long. */
const kFollowing = 120;

/** @param {number} degrees */
function wrapped(degrees) {
    return ((((degrees + 180) % 360) + 360) % 360) - 180;
}

/** Turns the view by how the phone is turned. */
export class Tilt {
    #limit;
    /** @type {{ beta: number, gamma: number, at: number } | null} that is straight */
    #rest = null;
    #target = { yaw: 0, pitch: 0 };
    #now = { yaw: 0, pitch: 0 };
    #at = 0;

    /** @param {number} limit most angle, radians */
    constructor(limit) {
        this.#limit = limit;
    }

    /**
     * @param {number} beta degrees, front to back
     * @param {number} gamma degrees, left to right
     * @param {number} screen degrees by which the page is turned in the phone
     * @param {number} at milliseconds
     * @returns {boolean} whether there is somewhere else to go
     */
    held(beta, gamma, screen, at) {
        this.#rest ??= { beta, gamma, at };
        const rest = this.#rest;
        const forgotten = 1 - Math.exp(-(at - rest.at) / kForgetting);
        const across = wrapped(gamma - rest.gamma);
        const along = wrapped(beta - rest.beta);
        this.#rest = {
            beta: rest.beta + forgotten * along,
            gamma: rest.gamma + forgotten * across,
            at,
        };
        const angle = (screen * Math.PI) / 180;
        const yaw = across * Math.cos(angle) + along * Math.sin(angle);
        const pitch = along * Math.cos(angle) - across * Math.sin(angle);
        const target = { yaw: this.#angle(yaw), pitch: this.#angle(pitch) };
        const noise = kGain * kNoise * (Math.PI / 180);
        const { yaw: oldYaw, pitch: oldPitch } = this.#target;
        if (Math.hypot(target.yaw - oldYaw, target.pitch - oldPitch) < noise) return false;
        this.#target = target;
        return true;
    }

    /** @param {number} degrees */
    #angle(degrees) {
        const angle = kGain * degrees * (Math.PI / 180);
        return Math.max(-this.#limit, Math.min(this.#limit, angle));
    }

    /** The view has still to follow. */
    get isMoving() {
        const { yaw, pitch } = this.#target;
        return Math.hypot(yaw - this.#now.yaw, pitch - this.#now.pitch) > 1e-4;
    }

    /**
     * @param {number} at milliseconds
     * @returns {Turn}
     */
    turn(at) {
        const share = this.isMoving ? 1 - Math.exp(-Math.min(50, at - this.#at) / kFollowing) : 1;
        this.#at = at;
        this.#now.yaw += share * (this.#target.yaw - this.#now.yaw);
        this.#now.pitch += share * (this.#target.pitch - this.#now.pitch);
        return { ...this.#now };
    }
}
