// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/language.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QProcess>
#include <QProcessEnvironment>
#include <QPushButton>
#include <QTranslator>
#include <ostream>
#include <string>

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

struct Language {
    const char* name;
    bool japanese;
};

void PrintTo(const Language& language, std::ostream* out) {
    *out << language.name;
}

// A program of its own, since Qt reads the language once.
bool IsJapaneseIn(const std::string& variable, const std::string& value) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"}) environment.remove(name);
    environment.insert("LANG", "en_US.UTF-8");
    environment.insert(QString::fromStdString(variable), QString::fromStdString(value));
    QProcess probe;
    probe.setProcessEnvironment(environment);
    probe.start(VISTREL_LANGUAGE_PROBE, QStringList());
    EXPECT_TRUE(probe.waitForFinished());
    const QByteArray answer = probe.readAllStandardOutput();
    EXPECT_TRUE(answer == "Japanese" || answer == "other");
    return answer == "Japanese";
}

class UserLanguage : public testing::TestWithParam<Language> {};

TEST_P(UserLanguage, DecidesOnJapanese) {
    EXPECT_EQ(IsJapaneseIn("LANG", GetParam().name), GetParam().japanese);
}

INSTANTIATE_TEST_SUITE_P(AllKinds, UserLanguage,
                         testing::Values(Language{"ja_JP.UTF-8", true}, Language{"ja", true},
                                         Language{"ja_JP.eucJP", true},
                                         Language{"ja_US.UTF-8", true}, Language{"en_US", false},
                                         Language{"zh_CN.UTF-8", false},
                                         Language{"ko_KR.UTF-8", false},
                                         Language{"jv_ID.UTF-8", false}, Language{"C", false},
                                         Language{"", false}));

TEST(UserLanguageList, FirstLanguageDecides) {
    EXPECT_TRUE(IsJapaneseIn("LANGUAGE", "ja:en"));
    EXPECT_FALSE(IsJapaneseIn("LANGUAGE", "en:ja"));
}

}  // namespace
}  // namespace vistrel
