// SPDX-License-Identifier: GPL-3.0-or-later
// All texts that the windows show, in English and Japanese.
//
// The language is chosen once, before the first window, and constant from then on; all functions
// may then be called from any thread.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "base/stereo_mode.h"

class QString;

namespace vistrel {

// A text's name; the value is its slot in both tables. Behind some stands what they are filled
// with.
enum class TextId : std::size_t {
    ModelHeading = 0,
    InputHeading = 1,
    ViewerHeading = 2,
    DropHint = 3,
    SelectFile = 4,
    ProviderLabel = 5,
    ProviderCpu = 6,
    ProviderCuda = 7,
    Generate = 8,
    SharpMode = 9,
    GeneralMode = 10,
    StereoLabel = 11,
    FocusValue = 12,  // %d
    DepthValue = 13,  // %d
    Swap = 14,
    Reset = 15,
    SaveImage = 16,
    StereoSideBySide = 17,
    StereoLrRl = 18,
    StereoDubois = 19,
    StereoColorAnaglyph = 20,
    StereoGrayAnaglyph = 21,
    StereoInterlaced = 22,
    DownloadStarting = 23,
    DownloadComplete = 24,
    DownloadFailed = 25,  // the reason follows
    ConversionStarting = 26,
    ConversionComplete = 27,  // %d
    ConversionFailed = 28,    // the reason follows
    ModelNeeded = 29,
    WebViewFailed = 30,
    DownloadQuestion = 31,
    DownloadCaption = 32,
    FallbackWarning = 33,
    FallbackCaption = 34,
    About = 35,
    AboutCaption = 36,
    ExtractionFailed = 37,
    ComFailed = 38,
    ClassFailed = 39,
    WindowFailed = 40,
    LoaderMissing = 41,
    ElapsedSuffix = 42,  // %d, follows a stage
    NoModel = 43,
    DownloadModel = 44,
    BatchCaption = 45,
    BatchInput = 46,
    BatchOutput = 47,
    BatchStart = 48,
    BatchCancel = 49,
    BatchBrowse = 50,
    BatchReady = 51,
    BatchProcessing = 52,  // %d, %d and %s
    BatchComplete = 53,
    BatchCancelled = 54,
    BatchCancelPending = 55,
    BatchClose = 56,
    ConflictCaption = 57,
    ConflictMessage = 58,
    ConflictOverwrite = 59,
    ConflictRename = 60,
    ConflictCancel = 61,
    BatchElapsed = 62,  // %d
    Batch = 63,
    FileMenu = 64,
    MenuSelectFile = 65,
    MenuBatch = 66,
    MenuSaveImage = 67,
    MenuExit = 68,
    ViewMenu = 69,
    MenuSidePanel = 70,
    MenuFullScreen = 71,
    ControlsMenu = 72,
    MenuSharpMode = 73,
    MenuGeneralMode = 74,
    StereoMenu = 75,
    MenuSideBySide = 76,
    MenuLrRl = 77,
    MenuDubois = 78,
    MenuColorAnaglyph = 79,
    MenuGrayAnaglyph = 80,
    MenuInterlaced = 81,
    MenuSwap = 82,
    MenuReset = 83,
    HelpMenu = 84,
    MenuHelp = 85,
    MenuAbout = 86,
    Count  // of all texts
};

inline constexpr std::size_t kUiTextCount = static_cast<std::size_t>(TextId::Count);

// What the window calls a stereo mode.
struct StereoModeTexts {
    TextId inList;
    TextId inMenu;
};

// In the order of StereoMode.
inline constexpr std::array kStereoModeTexts = std::to_array<StereoModeTexts>({
    {TextId::StereoSideBySide, TextId::MenuSideBySide},
    {TextId::StereoLrRl, TextId::MenuLrRl},
    {TextId::StereoDubois, TextId::MenuDubois},
    {TextId::StereoColorAnaglyph, TextId::MenuColorAnaglyph},
    {TextId::StereoGrayAnaglyph, TextId::MenuGrayAnaglyph},
    {TextId::StereoInterlaced, TextId::MenuInterlaced},
});
static_assert(kStereoModeTexts.size() == kStereoModeCount, "every mode has its texts");

// Slot to text.
using UiText = std::array<const wchar_t*, kUiTextCount>;

extern const UiText kEnglishText;
extern const UiText kJapaneseText;

// The table of the active language; null means English.
extern const UiText* gUiText;

// The text in the active language.
[[nodiscard]] const wchar_t* Text(TextId id);
[[nodiscard]] QString UiString(TextId id);
// The English one, whatever the language.
[[nodiscard]] const wchar_t* EnglishText(TextId id);

// `text` with each value in the place of the next "%d" or "%s"; no more than the first 256
// characters of what becomes of it.
[[nodiscard]] std::wstring Filled(std::wstring_view text,
                                  std::initializer_list<std::wstring_view> values);

// What a screen reader says for a text that is made for the eye: without mnemonics, and without the
// symbols and dashes around it.
[[nodiscard]] QString SpokenText(QString shown);

}  // namespace vistrel
