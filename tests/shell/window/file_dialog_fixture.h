// SPDX-License-Identifier: GPL-3.0-or-later
// File dialogs that a test looks at and answers.
#pragma once

#include <gtest/gtest.h>

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/text_encoding.h"
#include "shell/window/window_dialogs.h"
#include "tests/shell/window/dialog_answers.h"
#include "tests/support/own_home.h"
#include "ui/wide_text.h"

namespace vistrel::test {

inline QLineEdit& NameOf(const QFileDialog& dialog) {
    return *dialog.findChild<QLineEdit*>("fileNameEdit");
}

inline QStringList FiltersOf(const QFileDialog& dialog) {
    const auto& box = *dialog.findChild<QComboBox*>("fileTypeCombo");
    QStringList shown;
    for (int i = 0; i < box.count(); ++i) shown << box.itemText(i);
    return shown;
}

inline QStringList ListedIn(const QFileDialog& dialog) {
    const auto& view = *dialog.findChild<QListView*>("listView");
    QStringList names;
    for (int i = 0; i < view.model()->rowCount(view.rootIndex()); ++i) {
        names << view.model()->index(i, 0, view.rootIndex()).data().toString();
    }
    return names;
}

// As its button does.
inline void Accept(QDialog& dialog) {
    dialog.accept();
}

class FileDialogTest : public testing::Test {
  protected:
    FileDialogTest() {
        dialogs.isJapaneseUser = [] { return false; };
    }

    // Looks at the next file dialog, then cancels it.
    template <typename Ask>
    void Look(const Ask& ask, const std::function<void(QFileDialog&)>& look) {
        bool seen = false;
        OnNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            seen = true;
            look(dialog);
        });
        EXPECT_EQ(ask(), std::nullopt);
        EXPECT_TRUE(seen);
    }
    // Types `name` into the next file dialog and accepts it.
    void Type(const QString& name) {
        OnNextDialog<QFileDialog>([name](QFileDialog& dialog) {
            NameOf(dialog).setText(name);
            Accept(dialog);
        });
    }
    // Once for a box on top of the dialog.
    void AnswerBox(QMessageBox::StandardButton button) {
        OnNextDialog<QMessageBox>([this, button](QMessageBox& box) {
            boxText = box.text();
            box.button(button)->click();
        });
    }
    std::filesystem::path Make(std::string_view name) { return files.Write(name, "old"); }
    [[nodiscard]] QString At(std::string_view name) const {
        return FromWide(FromPath(files / name));
    }
    [[nodiscard]] std::optional<std::wstring> AskScene(const std::string& name) {
        return dialogs.AskSceneToSave(FromPath(files / name), FromPath(files.Path()));
    }

    OwnHome home;
    TemporaryFolder files;
    QWidget owner;
    DesktopDialogs dialogs{&owner};
    QString boxText;
};

}  // namespace vistrel::test
