// SPDX-License-Identifier: GPL-3.0-or-later
// Colours, fonts and the drawing of controls, for all windows of the program.
#pragma once

#include <QColor>
#include <QFont>

namespace vistrel {

inline constexpr QColor kWindowColour(30, 30, 46);   // behind everything but the sidebar
inline constexpr QColor kSidebarColour(24, 24, 37);  // behind the sidebar, inside edit boxes
inline constexpr QColor kAccentColour(49, 50, 74);   // surface of buttons
inline constexpr QColor kTextColour(205, 214, 244);
inline constexpr QColor kFaintTextColour(117, 122, 150);  // of disabled controls
inline constexpr QColor kEdgeColour(80, 82, 116);
inline constexpr QColor kFocusColour(137, 180, 250);
inline constexpr QColor kSelectionColour(69, 76, 124);
inline constexpr QColor kBarColour(166, 227, 161);  // of the progress bar, and of what is chosen
inline constexpr QColor kBarGrooveColour(36, 36, 56);

// Segoe UI or what comes close to it; sizes are pixels of the em square.
[[nodiscard]] QFont NormalFont();  // 14
[[nodiscard]] QFont BoldFont();    // 14
[[nodiscard]] QFont SmallFont();   // 11
[[nodiscard]] QFont TitleFont();   // 16

// Gives the whole application this look; further calls change nothing.
void ApplyTheme();

}  // namespace vistrel
