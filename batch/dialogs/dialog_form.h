// SPDX-License-Identifier: GPL-3.0-or-later
// What both dialogs do with their forms.
#pragma once

#include <initializer_list>

#include "batch/dialogs/batch_control_id.h"
#include "ui/ui_text.h"

class QDialog;
class QPushButton;
class QWidget;

namespace vistrel {

// Thread of the event loop, all of them.

// A dialog of the size that its form gave it, with letters that suit the form's positions.
void PrepareDialog(QDialog& dialog);

void SetControlId(QWidget& control, BatchControlId id);

// Shows the text in letters small enough for the button's width.
void SetButtonText(QPushButton& button, TextId text);

// Buttons that stand in a row look alike.
void UseSmallestLetters(std::initializer_list<QPushButton*> buttons);

}  // namespace vistrel
