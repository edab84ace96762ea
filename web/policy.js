// SPDX-License-Identifier: GPL-3.0-or-later
import { createHash } from "node:crypto";

const kPolicyPlace = "(the page's policy)";

/**
 * @param {string} page HTML
 * @param {string} element
 * @returns {string[]} what allows the texts of these elements, and no others; data needs no leave
 */
function hashes(page, element) {
    const texts = page.matchAll(new RegExp(`<${element}\\b([^>]*)>([^]*?)</${element}>`, "g"));
    const used = [...texts].filter(([, attributes]) => !attributes.includes('type="application/'));
    return used.map(([, , text]) => {
        return `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
    });
}

/**
 * Fills in a page's Content-Security-Policy.
 * @param {string} page HTML with a place for the policy
 * @param {Record<string, string[]>} policy directives and their values
 * @returns {string}
 */
function filledIn(page, policy) {
    if (page.split(kPolicyPlace).length !== 2) throw new Error("The page has no policy place");
    if (page.includes("\r")) throw new Error("Browsers hash other line ends than these");
    const text = Object.entries(policy).map(([name, values]) => `${name} ${values.join(" ")}`);
    return page.replace(kPolicyPlace, () => text.join("; "));
}

/** What the default does not cover: where a page's links start, and where its forms go. */
const kNowhereElse = { "base-uri": ["'none'"], "form-action": ["'none'"] };

/**
 * Fills in the viewer page's policy, which allows what the page needs and nothing else: an element
 * that gets into the page by some other way neither runs nor reaches anything.
 * @param {string} page
 * @returns {string}
 */
export function withViewerPolicy(page) {
    return filledIn(page, {
        "default-src": ["'none'"],
        // The files beside the page, and what Spark sorts with and our painters paint with.
        "script-src": ["file:", ...hashes(page, "script"), "'wasm-unsafe-eval'"],
        "style-src": hashes(page, "style"),
        // Spark has its workers' text, and our painters', in its own.
        "worker-src": ["blob:"],
        // The scenes, and the bytes of Spark's WebAssembly, which are in its text, too.
        "connect-src": ["file:", "data:"],
        ...kNowhereElse,
    });
}

/**
 * Fills in the shared page's policy. It reads nothing but itself: no address can be asked for
 * anything.
 * @param {string} page
 * @returns {string}
 */
export function withSharePolicy(page) {
    return filledIn(page, {
        "default-src": ["'none'"],
        // Spark sorts, and our painters paint, with WebAssembly.
        "script-src": [...hashes(page, "script"), "'wasm-unsafe-eval'"],
        "style-src": hashes(page, "style"),
        // Their workers' texts are in the page's script.
        "worker-src": ["blob:"],
        // The poster.
        "img-src": ["data:"],
        ...kNowhereElse,
    });
}

/**
 * Fills in a manual's policy: its own style and pictures, no scripts, no other files.
 * @param {string} page
 * @returns {string}
 */
export function withManualPolicy(page) {
    return filledIn(page, {
        "default-src": ["'none'"],
        "style-src": hashes(page, "style"),
        "img-src": ["data:"],
        ...kNowhereElse,
    });
}
