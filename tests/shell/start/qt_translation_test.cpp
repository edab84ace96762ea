#include "shell/start/qt_translation.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTranslator>

#include "ui/ui_text.h"

namespace vistrel {
namespace {

// The text of a standard button after a start in the language of `table`.
QString YesAfterStart(const UiText* table) {
    gUiText = table;
    InstallQtTranslation();
    gUiText = nullptr;
    const QMessageBox box(QMessageBox::Question, "", "", QMessageBox::Yes);
    const QString text = box.button(QMessageBox::Yes)->text();
    qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator*>());
    return text;
}

TEST(QtTranslation, JapaneseUsersSeeJapaneseButtons) {
    EXPECT_EQ(YesAfterStart(&kJapaneseText), QString::fromUtf8("はい(&Y)"));
}

TEST(QtTranslation, OthersSeeEnglishButtons) {
    EXPECT_EQ(YesAfterStart(&kEnglishText), "&Yes");
}

TEST(QtTranslation, BeforeTheLanguageIsChosenButtonsAreEnglish) {
    EXPECT_EQ(YesAfterStart(nullptr), "&Yes");
}

}  // namespace
}  // namespace vistrel
