// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What frame.html says in one language.
 * @typedef {object} Words
 * @property {string} title of the browser's window
 * @property {string} claim below the program's name
 * @property {string} skip link that leaves the contents out
 * @property {string} contents heading
 * @property {string} footer
 */

/** @type {Record<"en" | "ja", Words>} */
export const kWords = {
    en: {
        title: "Vistrel: user manual",
        claim: "One photograph becomes a 3D scene",
        skip: "Skip to the text",
        contents: "Contents",
        footer: "This page works without a network connection.",
    },
    ja: {
        title: "Vistrel ヘルプ",
        claim: "1枚の写真を3Dシーンに",
        skip: "本文へ移動",
        contents: "目次",
        footer: "このページはインターネットに接続しなくても読めます。",
    },
};
