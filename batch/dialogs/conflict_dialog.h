// SPDX-License-Identifier: GPL-3.0-or-later
// The question what happens to output files that exist already.
#pragma once

#include <QDialog>

#include "batch/batch_converter.h"

namespace vistrel {

// Thread of the event loop. exec() returns the number of the button (BatchControlId), or
// kDialogCancelled.
class ConflictDialog : public QDialog {
  public:
    explicit ConflictDialog(QWidget* owner);

    void reject() override;
};

// Asks and returns the answer; closing the question cancels the batch.
[[nodiscard]] BatchConflictPolicy AskConflictPolicy(QWidget* owner);

}  // namespace vistrel
