// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/switches.h"

#include <QList>
#include <QString>

#include "viewer/loader/sandbox.h"

namespace vistrel::loader {
namespace {

constexpr char kVariable[] = "QTWEBENGINE_CHROMIUM_FLAGS";
constexpr char kAccessibility[] = "QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY";
constexpr char kSandbox[] = "QTWEBENGINE_DISABLE_SANDBOX";

constexpr const char* kOwnSwitches[] = {
    // A machine without a GPU draws WebGL in software, which the browser refuses unless told to.
    "--ignore-gpu-blocklist",
    "--enable-unsafe-swiftshader",
    // Connections between browsers pass by the request filter. Without names and addresses, and
    // without datagrams past a proxy, they reach nobody.
    "--force-webrtc-ip-handling-policy=disable_non_proxied_udp",
    "--host-resolver-rules=\"MAP * ~NOTFOUND\"",
};

void Add(QByteArray& switches, const QByteArray& added) {
    if ((' ' + switches + ' ').contains(' ' + added + ' ')) return;
    if (!switches.isEmpty()) switches += ' ';
    switches += added;
}

}  // namespace

Switches::Switches(const std::wstring& arguments)
    : users_(qgetenv(kVariable)),
      wereSet_(qEnvironmentVariableIsSet(kVariable)),
      accessibilityWasSet_(qEnvironmentVariableIsSet(kAccessibility)) {
    QByteArray switches = users_;
    const QByteArray words = QString::fromStdWString(arguments).toUtf8().simplified();
    if (!words.isEmpty()) {
        for (const QByteArray& word : words.split(' ')) Add(switches, word);
    }
    for (const char* own : kOwnSwitches) Add(switches, own);
    qputenv(kVariable, switches);
    if (!accessibilityWasSet_) qputenv(kAccessibility, "1");
    if (qEnvironmentVariableIsSet(kSandbox) && !VariableTurnsSandboxOff()) {
        sandbox_ = qgetenv(kSandbox);
        qunsetenv(kSandbox);
    }
}

Switches::~Switches() {
    if (sandbox_) qputenv(kSandbox, *sandbox_);
    if (!accessibilityWasSet_) qunsetenv(kAccessibility);
    if (wereSet_) {
        qputenv(kVariable, users_);
    } else {
        qunsetenv(kVariable);
    }
}

}  // namespace vistrel::loader
