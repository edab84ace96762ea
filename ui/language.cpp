// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QTranslator>
#include <memory>

#include "ui/ui_text.h"

namespace vistrel {

bool IsJapaneseUser() {
    const QStringList languages = QLocale::system().uiLanguages();
    if (languages.isEmpty()) return false;
    const QString& first = languages.front();
    return first.startsWith(u"ja", Qt::CaseInsensitive) &&
           (first.size() == 2 || !first.at(2).isLetterOrNumber());
}

void InstallQtTranslation() {
    if (gUiText != &kJapaneseText) return;
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) return;
    QCoreApplication::installTranslator(translator.get());
    translator.release()->setParent(QCoreApplication::instance());
}

}  // namespace vistrel
