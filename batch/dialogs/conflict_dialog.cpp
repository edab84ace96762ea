#include "batch/dialogs/conflict_dialog.h"

#include "batch/dialogs/dialog_form.h"
#include "ui_conflict_dialog.h"

namespace vistrel {
namespace {

constexpr std::size_t kCaption = 57;
constexpr std::size_t kMessage = 58;
constexpr std::size_t kOverwrite = 59;
constexpr std::size_t kRename = 60;
constexpr std::size_t kCancel = 61;

}  // namespace

ConflictDialog::ConflictDialog(QWidget* owner) : QDialog(owner) {
    Ui::ConflictForm form;
    form.setupUi(this);
    PrepareDialog(*this);
    setWindowTitle(UiString(kCaption));
    form.message->setText(UiString(kMessage));
    setAccessibleDescription(form.message->text());
    SetControlId(*form.message, BatchControlId::ConflictMessage);
    const auto add = [this](QPushButton& button, BatchControlId id, std::size_t slot) {
        SetControlId(button, id);
        SetButtonText(button, slot);
        connect(&button, &QPushButton::clicked, this, [this, id] { done(static_cast<int>(id)); });
    };
    add(*form.overwrite, BatchControlId::ConflictOverwrite, kOverwrite);
    add(*form.rename, BatchControlId::ConflictRename, kRename);
    add(*form.cancel, BatchControlId::ConflictCancel, kCancel);
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
