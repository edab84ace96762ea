import { createHash } from "node:crypto";

const kPolicyPlace = "(the page's policy)";

/**
 * @param {string} page HTML
 * @param {string} element
 * @returns {string[]} what allows the texts of these elements, and no others
 */
function hashes(page, element) {
    const texts = page.matchAll(new RegExp(`<${element}\\b[^>]*>([^]*?)</${element}>`, "g"));
    return [...texts].map(([, text]) => {
        return `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
    });
}

/**
 * Fills in the page's Content-Security-Policy, which allows what the page needs and nothing else:
 * an element that gets into the page by some other way neither runs nor reaches anything.
 * @param {string} page HTML with a place for the policy
 * @returns {string}
 */
export function withPolicy(page) {
    if (page.split(kPolicyPlace).length !== 2) throw new Error("The page has no policy place");
    if (page.includes("\r")) throw new Error("Browsers hash other line ends than these");
    const policy = {
        "default-src": ["'none'"],
        // The files beside the page, and what Spark sorts with.
        "script-src": ["file:", ...hashes(page, "script"), "'wasm-unsafe-eval'"],
        "style-src": hashes(page, "style"),
        // Spark has its workers' text in its own.
        "worker-src": ["blob:"],
        // The scenes, and the bytes of Spark's WebAssembly, which are in its text, too.
        "connect-src": ["file:", "data:"],
        // Not covered by the default.
        "base-uri": ["'none'"],
        "form-action": ["'none'"],
    };
    const text = Object.entries(policy).map(([name, values]) => `${name} ${values.join(" ")}`);
    return page.replace(kPolicyPlace, () => text.join("; "));
}
