// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/dialog_form.h"

#include <QDialog>
#include <QFontMetrics>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <algorithm>

namespace vistrel {
namespace {

constexpr int kFontPixels = 12;  // 9 points
constexpr int kSmallestFontPixels = 7;
constexpr int kLeastMargin = 3;

// Some styles let the text reach the button's edge.
int RoomForText(const QPushButton& button) {
    QStyleOptionButton option;
    option.initFrom(&button);
    const QRect contents =
        button.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &button);
    return std::min(contents.width(), button.width() - 2 * kLeastMargin);
}

}  // namespace

void PrepareDialog(QDialog& dialog) {
    QFont font = dialog.font();
    font.setPixelSize(kFontPixels);
    dialog.setFont(font);
    dialog.setFixedSize(dialog.size());
}

void SetControlId(QWidget& control, BatchControlId id) {
    control.setObjectName(QString::number(static_cast<int>(id)));
}

void SetButtonText(QPushButton& button, TextId textId) {
    const QString text = UiString(textId);
    button.setText(text);
    const int room = RoomForText(button);
    QFont font = button.parentWidget()->font();
    for (int pixels = kFontPixels; pixels > kSmallestFontPixels; --pixels) {
        font.setPixelSize(pixels);
        if (QFontMetrics(font).horizontalAdvance(text) <= room) break;
    }
    button.setFont(font);
}

void UseSmallestLetters(std::initializer_list<QPushButton*> buttons) {
    const QFont smallest = (*std::ranges::min_element(buttons, {}, [](const QPushButton* button) {
                               return button->font().pixelSize();
                           }))->font();
    for (QPushButton* button : buttons) button->setFont(smallest);
}

}  // namespace vistrel
