// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Tells how a phone is held, where the browser tells it. Some ask their users, and only from within a
 * touch, so the first one is when they are asked.
 * @param {(beta: number, gamma: number, screen: number) => void} onTilt degrees: front to back, left
 *     to right, and by how much the page is turned in the phone
 */
export function followPhone(onTilt) {
    if (!("DeviceOrientationEvent" in window)) return;
    const listen = () => {
        window.addEventListener("deviceorientation", ({ beta, gamma }) => {
            if (beta === null || gamma === null) return;
            onTilt(beta, gamma, window.screen.orientation?.angle ?? 0);
        });
    };
    const event = /** @type {{ requestPermission?: () => Promise<string> }} */ (
        /** @type {unknown} */ (DeviceOrientationEvent)
    );
    if (event.requestPermission === undefined) {
        listen();
        return;
    }
    const ask = async () => {
        if ((await event.requestPermission?.()) === "granted") listen();
    };
    window.addEventListener("touchend", () => void ask().catch(() => {}), { once: true });
}
