// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/end_signals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>
#include <functional>

namespace vistrel {
namespace {

void (*HandlerOf(int signal))(int) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

TEST(EndSignals, AreHeardFromTheEventLoop) {
    int heard = 0;
    const EndSignals endSignals([&heard] { ++heard; });
    raise(SIGTERM);
    EXPECT_EQ(heard, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, 1);
    raise(SIGINT);
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, 2);
}

TEST(EndSignals, HaveTheirUsualEffectAfterwards) {
    {
        const EndSignals endSignals([] {});
    }
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) EXPECT_EQ(HandlerOf(signal), SIG_DFL);
}

TEST(EndSignals, IgnoredOnesStayIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    {
        const EndSignals endSignals([] {});
        EXPECT_EQ(HandlerOf(SIGHUP), SIG_IGN);
    }
    EXPECT_EQ(HandlerOf(SIGHUP), SIG_IGN);
    std::signal(SIGHUP, SIG_DFL);
}

TEST(EndSignals, SecondOneEndsTheProcess) {
    const pid_t child = fork();
    if (child == 0) {
        const EndSignals endSignals([] {});
        raise(SIGTERM);
        raise(SIGTERM);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

}  // namespace
}  // namespace vistrel
