// SPDX-License-Identifier: GPL-3.0-or-later
/** What the shared page's bar and messages say. */

const kEnglish = {
    scene: "3D scene",
    bar: "View",
    mode: "Stereo mode",
    modes: [
        "2D",
        "Side-by-Side (SBS)",
        "LR/RL",
        "Dubois",
        "Color Anaglyph",
        "Gray Anaglyph",
        "Interlaced",
    ],
    swap: "Swap left and right (X)",
    home: "Start view (Home)",
    fullScreen: "Full screen (F)",
    headset: "Headset",
    focus: "Focus",
    depth: "Depth",
    loading: "Loading",
    lost: "The graphics card is busy. The picture will come back as soon as it can be drawn.",
    noHeadset: "The headset cannot be used.",
};

/** @typedef {typeof kEnglish} ShareTexts */

/** @type {ShareTexts} */
const kJapanese = {
    scene: "3Dシーン",
    bar: "表示",
    mode: "ステレオモード",
    modes: [
        "2D",
        "左右並列 (SBS)",
        "LR/RL",
        "Dubois",
        "カラーアナグリフ",
        "グレーアナグリフ",
        "インターレース",
    ],
    swap: "左右入替 (X)",
    home: "最初の視点 (Home)",
    fullScreen: "全画面 (F)",
    headset: "ヘッドセット",
    focus: "フォーカス",
    depth: "深度",
    loading: "読み込み中",
    lost: "グラフィックスカードが使用中です。描画できるようになると表示が戻ります。",
    noHeadset: "ヘッドセットを使用できません。",
};

/** @type {Record<import("../texts.js").Language, ShareTexts>} */
export const kShareTexts = { en: kEnglish, ja: kJapanese };
