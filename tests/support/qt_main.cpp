// SPDX-License-Identifier: GPL-3.0-or-later
// Runs tests that need Qt's application object; no display is needed.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    // A screen as most users have it; without the file it is a small one.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" VISTREL_SCREEN);
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
