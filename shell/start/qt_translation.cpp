#include "shell/start/qt_translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <memory>

#include "ui/ui_text.h"

namespace vistrel {

void InstallQtTranslation() {
    if (gUiText != &kJapaneseText) return;
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) return;
    QCoreApplication::installTranslator(translator.get());
    translator.release()->setParent(QCoreApplication::instance());
}

}  // namespace vistrel
