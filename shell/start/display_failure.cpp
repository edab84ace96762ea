// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/display_failure.h"

#include <unistd.h>

#include <QByteArray>
#include <QMessageLogContext>
#include <QString>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace vistrel {
namespace {

struct Message {
    QtMsgType type;
    QByteArray category;
    QString text;
};

std::mutex gMutex;
std::vector<Message> gHeld;  // guarded by gMutex
QtMessageHandler gFormerHandler = nullptr;

// The platform's own words tell more than the general ones that follow.
QString Reason(const QString& general) {
    for (const Message& message : gHeld)
        if (message.category.startsWith("qt.qpa")) return message.text;
    return general;
}

void Hold(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const std::lock_guard lock(gMutex);
    if (type != QtFatalMsg) {
        gHeld.push_back({type, context.category, text});
        return;
    }
    const QString reason = Reason(text).section('\n', 0, 0).trimmed();
    std::fprintf(stderr, "Vistrel: no window can be shown: %s\n", qPrintable(reason));
    _exit(1);
}

}  // namespace

DisplayFailureTold::DisplayFailureTold() {
    gFormerHandler = qInstallMessageHandler(Hold);
}

DisplayFailureTold::~DisplayFailureTold() {
    qInstallMessageHandler(gFormerHandler);
    for (const auto& [type, category, text] : std::exchange(gHeld, {}))
        gFormerHandler(type, QMessageLogContext(nullptr, 0, nullptr, category.constData()), text);
}

}  // namespace vistrel
