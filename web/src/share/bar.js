// SPDX-License-Identifier: GPL-3.0-or-later
import { hasHeadset } from "./headset.js";

/** The bar fades away when nobody has moved for so long, milliseconds. */
const kFading = 4000;

/** @param {string} id */
function element(id) {
    return /** @type {HTMLElement} */ (document.getElementById(id));
}

/**
 * The page's controls. Where nobody moves, touches or types, they leave the picture alone.
 */
export class Bar {
    #viewer;
    #texts;
    #bar = element("bar");
    #mode = /** @type {HTMLSelectElement} */ (element("mode"));
    #focus = /** @type {HTMLInputElement} */ (element("focus"));
    #depth = /** @type {HTMLInputElement} */ (element("depth"));
    /** When it fades, milliseconds. */
    #until = 0;
    #isTimed = false;
    #isHovered = false;

    /**
     * @param {import("./share_viewer.js").ShareViewer} viewer
     * @param {import("./share_texts.js").ShareTexts} texts
     * @param {() => void} onHeadsetFailure
     */
    constructor(viewer, texts, onHeadsetFailure) {
        this.#viewer = viewer;
        this.#texts = texts;
        this.#name();
        this.#mode.addEventListener("change", () => {
            viewer.setMode(this.#mode.selectedIndex);
            this.refresh();
        });
        for (const slider of [this.#focus, this.#depth]) {
            slider.addEventListener("input", () => {
                viewer.setSliders(this.#focus.valueAsNumber, this.#depth.valueAsNumber);
            });
        }
        element("swap").addEventListener("click", () => this.toggleSwap());
        element("home").addEventListener("click", () => viewer.goHome());
        element("full").hidden = !document.fullscreenEnabled;
        element("full").addEventListener("click", () => this.toggleFullScreen());
        element("headset").addEventListener("click", () => {
            const onChange = (/** @type {boolean} */ isInside) => {
                element("headset").setAttribute("aria-pressed", `${isInside}`);
            };
            viewer.toggleHeadset(onChange).catch((error) => {
                console.error("Cannot enter the headset:", error);
                onHeadsetFailure();
            });
        });
        void this.#offerHeadset();
        this.#watch();
        this.refresh();
        this.wake();
    }

    #name() {
        const texts = this.#texts;
        this.#bar.setAttribute("aria-label", texts.bar);
        for (const id of /** @type {const} */ (["mode", "swap", "home", "headset"])) {
            element(id).setAttribute("aria-label", texts[id]);
            element(id).title = texts[id];
        }
        element("full").setAttribute("aria-label", texts.fullScreen);
        element("full").title = texts.fullScreen;
        element("focus-name").textContent = texts.focus;
        element("depth-name").textContent = texts.depth;
        this.#mode.replaceChildren(...texts.modes.map((name) => new Option(name)));
    }

    async #offerHeadset() {
        element("headset").hidden = !(this.#viewer.canEnterHeadset && (await hasHeadset()));
    }

    #watch() {
        for (const name of ["pointermove", "pointerdown", "focusin", "keydown"]) {
            window.addEventListener(name, () => this.wake());
        }
        this.#bar.addEventListener("pointerenter", ({ pointerType }) => {
            this.#isHovered = pointerType === "mouse";
        });
        this.#bar.addEventListener("pointerleave", () => (this.#isHovered = false));
    }

    /** Shows the bar for some seconds. */
    wake() {
        this.#bar.classList.remove("faded");
        this.#until = performance.now() + kFading;
        this.#fadeLater();
    }

    #fadeLater() {
        if (this.#isTimed) return;
        this.#isTimed = true;
        setTimeout(() => {
            this.#isTimed = false;
            // Whoever works in it by mouse or keyboard keeps it.
            const isUsed = this.#isHovered || this.#bar.querySelector(":focus-visible") !== null;
            if (isUsed) this.wake();
            else if (performance.now() < this.#until) this.#fadeLater();
            else this.#bar.classList.add("faded");
        }, this.#until - performance.now());
    }

    /** Shows what the viewer does. */
    refresh() {
        this.#mode.selectedIndex = this.#viewer.mode;
        const isFlat = this.#viewer.mode === 0;
        element("stereo").hidden = isFlat;
        element("swap").hidden = isFlat;
        element("swap").setAttribute("aria-pressed", `${this.#viewer.swap}`);
        this.#focus.valueAsNumber = this.#viewer.focus;
        this.#depth.valueAsNumber = this.#viewer.depth;
    }

    toggleSwap() {
        this.#viewer.swap = !this.#viewer.swap;
        this.refresh();
    }

    toggleFullScreen() {
        if (!document.fullscreenEnabled) return;
        if (document.fullscreenElement) void document.exitFullscreen();
        else document.documentElement.requestFullscreen().catch(() => {});
    }
}
