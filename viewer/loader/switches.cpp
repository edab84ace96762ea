#include "viewer/loader/switches.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace vistrel::loader {
namespace {

constexpr char kVariable[] = "QTWEBENGINE_CHROMIUM_FLAGS";

// A machine without a GPU draws WebGL in software, which the browser refuses unless told otherwise.
constexpr char kOwnSwitches[] = "--ignore-gpu-blocklist --enable-unsafe-swiftshader";

}  // namespace

void SetSwitches(const std::wstring& arguments) {
    QByteArray switches = qgetenv(kVariable);
    const QByteArray added = QString::fromStdWString(arguments).toUtf8() + ' ' + kOwnSwitches;
    for (const QByteArray& word : added.simplified().split(' ')) {
        if (switches.simplified().split(' ').contains(word)) continue;
        if (!switches.isEmpty()) switches += ' ';
        switches += word;
    }
    qputenv(kVariable, switches);
}

}  // namespace vistrel::loader
