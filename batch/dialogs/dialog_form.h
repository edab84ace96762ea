// What both dialogs do with their forms.
#pragma once

#include <cstddef>
#include <initializer_list>

#include "batch/dialogs/batch_control_id.h"

class QDialog;
class QPushButton;
class QString;
class QWidget;

namespace vistrel {

// Thread of the event loop, all of them.

// A dialog of the size that its form gave it, with letters that suit the form's positions.
void PrepareDialog(QDialog& dialog);

void SetControlId(QWidget& control, BatchControlId id);

// The text in `slot` of the active language.
[[nodiscard]] QString UiString(std::size_t slot);

// Shows the text in `slot` in letters small enough for the button's width.
void SetButtonText(QPushButton& button, std::size_t slot);

// Buttons that stand in a row look alike.
void UseSmallestLetters(std::initializer_list<QPushButton*> buttons);

}  // namespace vistrel
