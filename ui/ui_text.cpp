// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ui_text.h"

#include <QRegularExpression>
#include <QString>
#include <algorithm>

#include "ui/wide_text.h"

namespace vistrel {

const UiText* gUiText = nullptr;

constexpr UiText kEnglishText = {
    // 0
    L"— ONNX Model —",
    L"— Input Image —",
    L"— Viewer Controls —",
    L"Drop image or 3DGS file here",
    L"Select File…",
    L"Execution Provider:",
    L"CPU",
    L"CUDA (nVidia)",
    L"▶  Generate 3DGS",
    L"SHARP",
    // 10
    L"General",
    L"Stereo Mode:",
    L"Focus: %d",
    L"Depth: %d",
    L"⇆ Swap L/R",
    L"↺ Reset",
    L"Save Image",
    L"Side-by-Side (SBS)",
    L"LR/RL",
    L"Dubois",
    // 20
    L"Color Anaglyph",
    L"Gray Anaglyph",
    L"Interlaced",
    L"Starting download…",
    L"Download complete!",
    L"Failed: ",
    L"Starting inference…",
    L"Conversion successful! (%d sec)",
    L"Error: ",
    L"Please select or download the ONNX model first.",
    // 30
    L"WebView2 initialization failed. Please install WebView2 Runtime.",
    L"The model file is approximately 1.3GB.\n"
    L"Do you want to start the download?",
    L"Download Model",
    L"CUDA-enabled onnxruntime.dll was not found.\n"
    L"Processing will fall back to CPU.\n"
    L"\n"
    L"For GPU acceleration, download the CUDA build from the official site.",
    L"Execution Provider Fallback",
    // About
    L"Vistrel Ver0.1\n"
    L"\n"
    L"Credits:\n"
    L"  ONNX Runtime  (Microsoft)\n"
    L"  SHARP model   (Apple)\n"
    L"  Three.js      (three.js authors)\n"
    L"  Spark Splats  (World Labs)\n"
    L"  WebView2      (Microsoft Edge)",
    L"About Vistrel",
    L"Failed to extract embedded resources.\n"
    L"Check write permission to the temp folder.",
    L"COM initialization failed.",
    L"Window class registration failed.",
    // 40
    L"Failed to create main window.",
    L"WebView2Loader.dll could not be loaded.\n"
    L"Please verify the executable is intact.",
    L" (%d sec)",
    L"(Not selected)",
    L"⬇  Download from HuggingFace",
    L"Batch Conversion",
    L"Input Folder:",
    L"Output Folder:",
    L"Start Conversion",
    L"Cancel",
    // 50
    L"Browse…",
    L"Ready",
    L"Processing %d / %d: %s",
    L"Batch conversion complete!",
    L"Batch conversion cancelled.",
    L"Cancellation will occur after the current file is finished.",
    L"Close Dialog",
    L"Conflict Resolution",
    L"Output files already exist in the destination folder.\n"
    L"How would you like to handle conflicts?",
    L"Overwrite All",
    // 60
    L"Rename All (Keep Both)",
    L"Cancel Batch",
    L"Elapsed: %d sec",
    L"Batch Conversion",
    L"&File",
    L"Select &File...",
    L"&Batch Conversion...",
    L"Save &Image\tS",
    L"E&xit\tQ",
    L"&View",
    // 70
    L"Side &Panel\tC",
    L"&Full Screen\tEnter",
    L"&Controls",
    L"&Sharp Mode",
    L"&General Mode",
    L"&Stereo Mode",
    L"Side-by-Side (SBS)",
    L"LR/RL",
    L"Dubois",
    L"Color Anaglyph",
    // 80
    L"Gray Anaglyph",
    L"Interlaced",
    L"S&wap L/R\tX",
    L"&Reset",
    L"&Help",
    L"&Help",
    L"&About...",
};

// The odd spelling of ProviderLabel and FallbackCaption is the one that users know.
constexpr UiText kJapaneseText = {
    // 0
    L"— ONNXモデル —",
    L"— 入力画像 —",
    L"— ビューアー操作 —",
    L"画像または3DGSファイルをドロップ",
    L"ファイルを選択…",
    L"実行プロパイダー:",
    L"CPU",
    L"CUDA (nVidia)",
    L"▶  3DGSを生成",
    L"SHARP",
    // 10
    L"汎用",
    L"ステレオモード:",
    L"フォーカス: %d",
    L"深度: %d",
    L"⇆ 左右入替",
    L"↺ リセット",
    L"画像を保存",
    L"左右並列 (SBS)",
    L"LR/RL",
    L"Dubois",
    // 20
    L"カラーアナグリフ",
    L"グレーアナグリフ",
    L"インターレース",
    L"ダウンロードを開始…",
    L"ダウンロード完了！",
    L"失敗: ",
    L"推論を開始…",
    L"変換完了！ (%d 秒)",
    L"エラー: ",
    L"ONNXモデルを選択またはダウンロードしてください。",
    // 30
    L"WebView2の初期化に失敗しました。WebView2ランタイムをインストールしてください。",
    L"モデルファイルは約1.3GBです。\n"
    L"ダウンロードを開始しますか？",
    L"モデルのダウンロード",
    L"CUDA対応の onnxruntime.dll が見つかりませんでした。\n"
    L"処理はCPUにフォールバックして続行します。\n"
    L"\n"
    L"高速化するには公式サイトからGPU(CUDA)用ライブラリを取得してください。",
    L"実行プロパイダーの変更",
    // About
    L"Vistrel Ver0.1\n"
    L"\n"
    L"クレジット:\n"
    L"  ONNX Runtime  (Microsoft)\n"
    L"  SHARPモデル   (Apple)\n"
    L"  Three.js      (three.js authors)\n"
    L"  Spark Splats  (World Labs)\n"
    L"  WebView2      (Microsoft Edge)",
    L"Vistrel について",
    L"リソースの展開に失敗しました。\n"
    L"一時フォルダへの書き込み権限を確認してください。",
    L"COMの初期化に失敗しました。",
    L"ウィンドウクラスの登録に失敗しました。",
    // 40
    L"メインウィンドウの作成に失敗しました。",
    L"WebView2Loader.dllを読み込めませんでした。\n"
    L"EXEファイルが正しく配置されているか確認してください。",
    L" (%d 秒)",
    L"(未選択)",
    L"⇩  HuggingFaceからダウンロード",
    L"一括変換",
    L"入力フォルダ:",
    L"出力フォルダ:",
    L"変換スタート",
    L"中止",
    // 50
    L"参照…",
    L"待機中",
    L"処理中 %d / %d: %s",
    L"一括変換が完了しました！",
    L"一括変換を中止しました。",
    L"処理中のファイルの変換が終わったらキャンセルします。",
    L"ダイアログを閉じる",
    L"競合の解決",
    L"出力フォルダ内に同名のファイルが既に存在します。\n"
    L"どのように処理しますか？",
    L"全て上書き",
    // 60
    L"全て名前を変えて保存",
    L"一括処理を中止",
    L"経過時間: %d 秒",
    L"一括変換",
    L"ファイル(&F)",
    L"ファイルを選択(&F)...",
    L"一括変換(&B)...",
    L"画像を保存(&I)\tS",
    L"終了(&X)\tQ",
    L"表示(&V)",
    // 70
    L"サイドパネル(&P)\tC",
    L"全画面(&F)\tEnter",
    L"コントロール(&C)",
    L"SHARPモード(&S)",
    L"汎用モード(&G)",
    L"ステレオモード(&T)",
    L"左右並列 (SBS)",
    L"LR/RL",
    L"Dubois",
    L"カラーアナグリフ",
    // 80
    L"グレーアナグリフ",
    L"インターレース",
    L"左右入替(&W)\tX",
    L"リセット(&R)",
    L"ヘルプ(&H)",
    L"ヘルプ(&H)",
    L"バージョン情報(&A)...",
};

static_assert(kEnglishText.back() != nullptr && kJapaneseText.back() != nullptr,
              "every text stands in both tables");

const wchar_t* Text(TextId id) {
    return (gUiText != nullptr ? *gUiText : kEnglishText).at(static_cast<std::size_t>(id));
}

QString UiString(TextId id) {
    return FromWide(Text(id));
}

const wchar_t* EnglishText(TextId id) {
    return kEnglishText.at(static_cast<std::size_t>(id));
}

std::wstring Filled(std::wstring_view text, std::initializer_list<std::wstring_view> values) {
    constexpr std::size_t kMostCharacters = 256;
    std::wstring filled;
    for (const std::wstring_view value : values) {
        // Only in what stands behind the last value, which may hold anything.
        const std::size_t place = std::min(text.find(L"%d"), text.find(L"%s"));
        if (place == std::wstring_view::npos) break;
        filled += text.substr(0, place);
        filled += value;
        text.remove_prefix(place + 2);
    }
    filled += text;
    return filled.substr(0, kMostCharacters);
}

QString SpokenText(QString shown) {
    static const QRegularExpression kForTheEye(R"(\(&.\)|&|^[\p{S}\p{Pd}\s]+|[\p{S}\p{Pd}\s]+$)");
    return shown.remove(kForTheEye);
}

}  // namespace vistrel
