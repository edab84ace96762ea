// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/conflict_dialog.h"

#include "batch/dialogs/dialog_form.h"
#include "ui_conflict_dialog.h"

namespace vistrel {
ConflictDialog::ConflictDialog(QWidget* owner) : QDialog(owner) {
    Ui::ConflictForm form;
    form.setupUi(this);
    PrepareDialog(*this);
    setWindowTitle(UiString(TextId::ConflictCaption));
    form.message->setText(UiString(TextId::ConflictMessage));
    setAccessibleDescription(form.message->text());
    SetControlId(*form.message, BatchControlId::ConflictMessage);
    const auto add = [this](QPushButton& button, BatchControlId id, TextId text) {
        SetControlId(button, id);
        SetButtonText(button, text);
        connect(&button, &QPushButton::clicked, this, [this, id] { done(static_cast<int>(id)); });
    };
    add(*form.overwrite, BatchControlId::ConflictOverwrite, TextId::ConflictOverwrite);
    add(*form.rename, BatchControlId::ConflictRename, TextId::ConflictRename);
    add(*form.cancel, BatchControlId::ConflictCancel, TextId::ConflictCancel);
    UseSmallestLetters({form.overwrite, form.rename, form.cancel});
}

void ConflictDialog::reject() {
    done(kDialogCancelled);
}

BatchConflictPolicy AskConflictPolicy(QWidget* owner) {
    ConflictDialog dialog(owner);
    switch (BatchControlId{dialog.exec()}) {
        case BatchControlId::ConflictOverwrite:
            return BatchConflictPolicy::OverwriteAll;
        case BatchControlId::ConflictRename:
            return BatchConflictPolicy::RenameAll;
        default:
            return BatchConflictPolicy::CancelBatch;
    }
}

}  // namespace vistrel
