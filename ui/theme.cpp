// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QStringList>

#include "ui/control_style.h"
#include "ui/hover_light.h"

namespace vistrel {
namespace {

constexpr int kMenuPixels = 12;

// Latin letters first, then Japanese, then arrows and triangles.
QStringList Families() {
    QStringList families;
    for (const char* family :
         {"Segoe UI", "Noto Sans", "Noto Sans CJK JP", "Noto Sans Symbols2", "DejaVu Sans"}) {
        if (QFontDatabase::hasFamily(family)) families << family;
    }
    if (families.isEmpty())
        families << QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
    return families;
}

QFont MakeFont(int pixels, QFont::Weight weight) {
    static const QStringList families = Families();
    QFont font;
    font.setFamilies(families);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QPalette DarkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, kWindowColour);
    palette.setColor(QPalette::Base, kSidebarColour);
    palette.setColor(QPalette::AlternateBase, kBarGrooveColour);
    palette.setColor(QPalette::Button, kAccentColour);
    palette.setColor(QPalette::ToolTipBase, kAccentColour);
    palette.setColor(QPalette::Highlight, kSelectionColour);
    palette.setColor(QPalette::Link, kFocusColour);
    palette.setColor(QPalette::LinkVisited, kFocusColour);
    palette.setColor(QPalette::PlaceholderText, kFaintTextColour);
    palette.setColor(QPalette::Light, kEdgeColour);
    palette.setColor(QPalette::Midlight, kAccentColour);
    palette.setColor(QPalette::Mid, kBarGrooveColour);
    palette.setColor(QPalette::Dark, kSidebarColour);
    palette.setColor(QPalette::Shadow, kSidebarColour.darker());
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText,
          QPalette::HighlightedText, QPalette::BrightText}) {
        palette.setColor(role, kTextColour);
        palette.setColor(QPalette::Disabled, role, kFaintTextColour);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, kAccentColour);
    return palette;
}

}  // namespace

QFont NormalFont() {
    return MakeFont(14, QFont::Normal);
}
QFont BoldFont() {
    return MakeFont(14, QFont::DemiBold);
}
QFont SmallFont() {
    return MakeFont(11, QFont::Normal);
}
QFont TitleFont() {
    return MakeFont(16, QFont::Bold);
}

void ApplyTheme() {
    static bool applied = false;
    if (applied) return;
    applied = true;
    QApplication::setStyle(new ControlStyle);
    new HoverLight(qApp);
    QApplication::setPalette(DarkPalette());
    QApplication::setFont(MakeFont(kMenuPixels, QFont::Normal));
}

}  // namespace vistrel
