// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/file_dialog.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QSize>
#include <QTreeView>
#include <filesystem>
#include <system_error>

#include "base/text_encoding.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

constexpr QSize kSize(860, 540);

QString Shown(const fs::path& path) {
    return FromWide(FromPath(path));
}

class Dialog : public QFileDialog {
  public:
    explicit Dialog(QWidget* owner) : QFileDialog(owner) {
        setOption(DontUseNativeDialog);
        setOption(HideNameFilterDetails);
        setOption(DontConfirmOverwrite);  // asked below
        resize(kSize);
        // Names and dates are to be read whole.
        QHeaderView* columns = findChild<QTreeView*>()->header();
        columns->setSectionResizeMode(QHeaderView::ResizeToContents);
        columns->setSectionResizeMode(0, QHeaderView::Stretch);
        // Screen readers tell what these boxes are for by their labels.
        findChild<QLabel*>("lookInLabel")->setBuddy(findChild<QComboBox*>("lookInCombo"));
        findChild<QLabel*>("fileTypeLabel")->setBuddy(findChild<QComboBox*>("fileTypeCombo"));
    }

    [[nodiscard]] std::wstring Chosen() const {
        const QStringList files = selectedFiles();
        return files.isEmpty() ? std::wstring() : ToWide(files.front());
    }

  protected:
    // Qt cannot see every file that a name stands for (base/text_encoding.h), so it is not left to
    // ask.
    void accept() override {
        if (acceptMode() == AcceptSave && !MayReplace(ToPath(Chosen()))) return;
        QFileDialog::accept();
    }

  private:
    bool MayReplace(const fs::path& path) {
        std::error_code ignored;
        const fs::file_status status = fs::status(path, ignored);
        if (!fs::exists(status) || fs::is_directory(status)) return true;  // a folder is entered
        const QString question = QFileDialog::tr("%1 already exists.\nDo you want to replace it?");
        const QPointer<QMessageBox> box(new QMessageBox(QMessageBox::Warning, windowTitle(),
                                                        question.arg(Shown(path.filename())),
                                                        QMessageBox::Yes | QMessageBox::No, this));
        box->setDefaultButton(QMessageBox::No);
        box->setTextFormat(Qt::PlainText);
        const bool agreed = box->exec() == QMessageBox::Yes;
        delete box;
        return agreed;
    }
};

// Qt's dialog takes nothing but folders that it can see. Where `folder` is none, the nearest one
// above it is shown.
fs::path ShowFolder(QFileDialog& dialog, fs::path folder) {
    while (!folder.empty() && !QFileInfo(Shown(folder)).isDir()) {
        if (!folder.has_relative_path()) return {};
        folder = folder.parent_path();
    }
    if (!folder.empty()) dialog.setDirectory(Shown(folder));
    return folder;
}

void SetUp(Dialog& dialog, const FileQuestion& question) {
    dialog.setAcceptMode(question.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(question.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setNameFilters(question.filters);
    dialog.setDefaultSuffix(question.suffix);
    if (!question.folder.empty()) ShowFolder(dialog, ToPath(question.folder));
    if (question.file.empty()) return;
    // The part of the way that is not there yet stays in the box for the name.
    const fs::path file = ToPath(question.file);
    const fs::path shown = ShowFolder(dialog, file.parent_path());
    dialog.selectFile(Shown(shown.empty() ? file : file.lexically_relative(shown)));
}

}  // namespace

std::optional<std::wstring> AskFile(QWidget* owner, const FileQuestion& question) {
    // On the heap, since the owner takes it along when it goes.
    const QPointer<Dialog> dialog(new Dialog(owner));
    SetUp(*dialog, question);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog) return std::nullopt;
    std::optional<std::wstring> chosen;
    if (accepted) chosen = dialog->Chosen();
    delete dialog;
    return chosen;
}

}  // namespace vistrel
