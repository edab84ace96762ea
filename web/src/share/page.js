// SPDX-License-Identifier: GPL-3.0-or-later
import { showFailure } from "../failure_message.js";
import { languageOf } from "../texts.js";
import { Bar } from "./bar.js";
import { readFacts } from "./facts.js";
import { followPhone } from "./phone.js";
import { sceneBytes } from "./scene_text.js";
import { handleShareKey } from "./share_keys.js";
import { kShareTexts } from "./share_texts.js";
import { ShareViewer } from "./share_viewer.js";

/** What a headset's failure is told for, milliseconds. */
const kTelling = 6000;

const language = languageOf(navigator.languages);
const texts = kShareTexts[language];

/** @param {string} id */
function element(id) {
    return /** @type {HTMLElement} */ (document.getElementById(id));
}

/** @param {string} text tells what is wrong; nothing when empty */
function say(text) {
    element("failure").textContent = text;
}

/** @param {number} share of the work until the scene is there, 0 to 1 */
function showProgress(share) {
    const line = element("progress");
    line.hidden = share >= 1;
    line.setAttribute("aria-valuenow", `${Math.round(100 * share)}`);
    line.style.transform = `scaleX(${share})`;
}

/** @param {boolean} isBusy the scene is not there yet, or not any more */
function setBusy(isBusy) {
    showProgress(isBusy ? 0 : 1);
    element("container").setAttribute("aria-busy", `${isBusy}`);
}

/** @param {unknown} reason */
function fail(reason) {
    setBusy(false);
    showFailure(reason, document.title);
}

/** @param {boolean} isShown */
function showPoster(isShown) {
    const poster = element("poster");
    poster.hidden = !isShown || poster.getAttribute("src") === "";
}

/** Loads the scene into the viewer, again after each loss of its graphics. */
class Show {
    #facts = readFacts(element("facts").textContent ?? "");
    #viewer = new ShareViewer(element("container"), this.#facts, {
        onShown: () => this.#shown(),
        onFailure: fail,
        onLost: () => this.#lost(),
        onBack: () => this.#back(),
    });
    #isStill = window.matchMedia("(prefers-reduced-motion: reduce)").matches;

    constructor() {
        const viewer = this.#viewer;
        const bar = new Bar(viewer, texts, () => {
            say(texts.noHeadset);
            setTimeout(() => say(""), kTelling);
        });
        window.addEventListener("resize", () => viewer.resize());
        window.addEventListener("keydown", (event) => {
            if (handleShareKey(viewer, bar, event)) event.preventDefault();
        });
        const touched = () => viewer.sway.stop(performance.now());
        for (const name of ["pointerdown", "keydown", "wheel"]) {
            window.addEventListener(name, touched, { passive: true });
        }
        if (!this.#isStill) followPhone((...held) => viewer.tilted(...held));
    }

    async load() {
        try {
            setBusy(true);
            const bytes = await sceneBytes("scene", this.#facts.length, showProgress);
            await this.#viewer.show(bytes);
        } catch (error) {
            fail(error);
        }
    }

    #shown() {
        showPoster(false);
        setBusy(false);
        say("");
        if (!this.#isStill) this.#viewer.sway.start(performance.now());
    }

    #lost() {
        showPoster(true);
        setBusy(false);
        say(texts.lost);
    }

    #back() {
        say("");
        void this.load();
    }
}

document.documentElement.lang = language;
element("container").setAttribute("aria-label", document.title || texts.scene);
element("progress").setAttribute("aria-label", texts.loading);
showPoster(true);
try {
    void new Show().load();
} catch (error) {
    fail(error);
}
