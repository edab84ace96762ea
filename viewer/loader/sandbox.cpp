// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/sandbox.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QByteArray>
#include <QList>
#include <QtGlobal>
#include <cerrno>

namespace vistrel::loader {
namespace {

bool IsTurnedOff() {
    return VariableTurnsSandboxOff() ||
           qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").simplified().split(' ').contains("--no-sandbox");
}

// Tries in a process of its own what the browser does to its helpers.
bool HasNamespaces() {
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) _exit(unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET) == 0 ? 0 : 1);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

bool VariableTurnsSandboxOff() {
    const QByteArray value = qgetenv("QTWEBENGINE_DISABLE_SANDBOX");
    return !value.isEmpty() && value != "0";
}

bool SandboxAllowsStart() {
    if (IsTurnedOff()) return true;
    if (geteuid() == 0) {
        qWarning("The browser does not run for root unless QTWEBENGINE_DISABLE_SANDBOX is 1");
        return false;
    }
    if (!HasNamespaces()) {
        qWarning("The browser needs user namespaces, which this machine does not allow");
        return false;
    }
    return true;
}

}  // namespace vistrel::loader
