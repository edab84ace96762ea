// SPDX-License-Identifier: GPL-3.0-or-later
/** What a page tells when it cannot show a scene, in each of its languages. */

/** @typedef {"en" | "ja"} Language */

/** Why there is no scene, in sentences about it or its file. */
const kReasons = {
    ascii: {
        en: "It is a PLY file written as text; only binary ones can be shown.",
        ja: "テキスト形式のPLYファイルです。表示できるのはバイナリー形式だけです。",
    },
    damaged: {
        en: "It is damaged or cut short.",
        ja: "ファイルが壊れているか、途中で切れています。",
    },
    empty: {
        en: "It has no Gaussians.",
        ja: "ガウシアンが1つもありません。",
    },
    gltf: {
        en: "It is a glTF file. The viewer does not read it; vistrel-convert makes a PLY file of it.",
        ja: "ビューアーで読めないglTFファイルです。vistrel-convertでPLYファイルに変換できます。",
    },
    graphicsLost: {
        en: "The graphics card has stopped working. Open the scene again.",
        ja: "グラフィックスカードが停止しました。シーンを開き直してください。",
    },
    harmonics: {
        en: "Its colours are stored in a way that the viewer does not know.",
        ja: "色の保存形式に対応していません。",
    },
    memory: {
        en: "There is not enough memory for it.",
        ja: "メモリーが足りません。",
    },
    noGraphics: {
        en: "This browser can draw no 3D pictures (WebGL 2).",
        ja: "このブラウザーは3Dの描画（WebGL 2）に対応していません。",
    },
    noScene: {
        en: "It is no scene of 3D Gaussians that the viewer can read.",
        ja: "ビューアーで読める3Dガウシアンのシーンではありません。",
    },
    placeless: {
        en: "None of its Gaussians has a place.",
        ja: "位置の分かるガウシアンが1つもありません。",
    },
    sections: {
        en: "Its Gaussians are in several sections; only files with one can be shown.",
        ja: "ガウシアンが複数のセクションに分かれています。表示できるのは1つのファイルだけです。",
    },
    tooLarge: {
        en: "It is too large for the viewer.",
        ja: "ビューアーで扱うには大きすぎます。",
    },
    unreadable: {
        en: "The file cannot be read.",
        ja: "ファイルを読み込めません。",
    },
    version: {
        en: "It was written in a newer version of its format, which the viewer does not know.",
        ja: "ビューアーの対応していない新しいバージョンの形式です。",
    },
};

/** @typedef {keyof typeof kReasons} ReasonKind */

/** @type {Record<Language, { named: (name: string) => string, nameless: string, other: string }>} */
const kFrames = {
    en: {
        named: (name) => `“${name}” cannot be shown.`,
        nameless: "The scene cannot be shown.",
        other: "The reason: ",
    },
    ja: {
        named: (name) => `「${name}」を表示できません。`,
        nameless: "シーンを表示できません。",
        other: "理由: ",
    },
};

/** Why a scene cannot be shown; the message is for logs, in English. */
export class SceneError extends Error {
    /**
     * @param {ReasonKind} kind
     * @param {string} [detail] the message; what a user of the page is told when absent
     */
    constructor(kind, detail = kReasons[kind].en.replace(/\.$/, "")) {
        super(detail);
        this.kind = kind;
    }
}

/** @param {string} detail for logs: what does not fit */
export function damaged(detail) {
    return new SceneError("damaged", detail);
}

/**
 * @param {readonly string[]} languages as `navigator.languages`
 * @returns {Language} the first of them that there are texts in
 */
export function languageOf(languages) {
    for (const language of languages) {
        const [name] = language.toLowerCase().split("-");
        if (name === "en" || name === "ja") return name;
    }
    return "en";
}

/**
 * @param {unknown} reason a SceneError, another Error or its message
 * @param {Language} language
 * @param {string} [name] of the file, where the user knows it by one
 * @returns {string} two lines: what happened, and why
 */
export function failureText(reason, language, name = "") {
    const frame = kFrames[language];
    const first = name === "" ? frame.nameless : frame.named(name);
    const kind = kindOf(reason);
    const why =
        kind === undefined
            ? frame.other + firstLine(reason instanceof Error ? reason.message : `${reason}`)
            : kReasons[kind][language];
    return `${first}\n${why}`;
}

/** @param {string} text of others, who may have put more behind it */
function firstLine(text) {
    return text.split("\n", 1)[0];
}

/**
 * @param {unknown} reason
 * @returns {ReasonKind | undefined} undefined for what is told in others' words
 */
function kindOf(reason) {
    if (reason instanceof SceneError) return reason.kind;
    // Browsers say this of arrays for which there is no place, and of those that are too long.
    return /allocation failed|invalid (typed )?array length/i.test(`${reason}`) ? "memory" : undefined;
}
