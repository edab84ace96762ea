// All texts that the windows show, in English and Japanese.
//
// The language is chosen once, before the first window, and constant from then on; all functions
// may then be called from any thread.
#pragma once

#include <array>
#include <cstddef>

namespace vistrel {

inline constexpr std::size_t kUiTextCount = 87;

// Slot number to text. Slots 12, 13, 27, 42 and 62 hold one %d, slot 52 %d, %d and %s.
using UiText = std::array<const wchar_t*, kUiTextCount>;

extern const UiText kEnglishText;
extern const UiText kJapaneseText;

// The table of the active language; null means English.
extern const UiText* gUiText;

// The text in `slot` of the active language.
[[nodiscard]] const wchar_t* Text(std::size_t slot);

// Whether the user reads Japanese: the language subtag of the first of the system's languages.
[[nodiscard]] bool IsJapaneseUser();

}  // namespace vistrel
