// SPDX-License-Identifier: GPL-3.0-or-later
import path from "node:path";
import { withManualPolicy } from "./policy.js";

/** Kinds of pictures by the ending of their files' names. */
const kKinds = new Map([
    [".jpg", "image/jpeg"],
    [".png", "image/png"],
]);

/**
 * What a manual is made of.
 * @typedef {object} Sources
 * @property {string} frame HTML around the text, with {places} to fill in
 * @property {string} style
 * @property {string} icon SVG
 * @property {string} language of the text and the words
 * @property {import("./manual/words.js").Words} words
 * @property {string} text HTML; its <h2 id> elements become the contents
 * @property {(name: string) => Buffer} picture the file that the text calls by this name
 */

/**
 * @param {Sources} sources
 * @returns {string} one HTML page that needs no other file
 * @throws {Error} when the frame has a place that nothing belongs into, or the text a picture that
 *     is not there or of a kind that is not known
 */
export function manualPage({ frame, style, icon, language, words, text, picture }) {
    /** @type {Record<string, string>} */
    const parts = {
        ...words,
        language,
        style,
        icon: decorative(icon),
        chapters: chapters(text),
        text: withPictures(text, picture),
    };
    const page = frame.replace(/\{(\w+)\}/g, (_, place) => {
        if (!Object.hasOwn(parts, place)) throw new Error(`Nothing belongs into {${place}}`);
        return parts[place];
    });
    return withManualPolicy(page);
}

/**
 * @param {string} icon SVG
 * @returns {string} the same for the page's header, where the name beside it says what it is
 */
function decorative(icon) {
    const nameless = icon.replace(/\s*<title>[^<]*<\/title>/, "");
    return nameless.replace("<svg", '<svg aria-hidden="true" focusable="false"');
}

/**
 * @param {string} text HTML
 * @returns {string} a list item with a link for each chapter
 */
function chapters(text) {
    const heads = [...text.matchAll(/<h2 id="([^"]*)">(.*?)<\/h2>/g)];
    return heads.map(([, id, title]) => `<li><a href="#${id}">${title}</a></li>`).join("\n");
}

/**
 * @param {string} text HTML
 * @param {(name: string) => Buffer} picture
 * @returns {string} the text with the pictures in it
 */
function withPictures(text, picture) {
    return text.replace(/(<img src=")([^"]*)"/g, (_, start, name) => {
        const kind = kKinds.get(path.extname(name));
        if (kind === undefined) throw new Error(`${name} is of no kind that is known`);
        return `${start}data:${kind};base64,${picture(name).toString("base64")}"`;
    });
}
