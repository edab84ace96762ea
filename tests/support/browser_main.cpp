// SPDX-License-Identifier: GPL-3.0-or-later
// Runs tests that show the real browser. They need a display, see tests/support/with_display.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>

#include "tests/support/temporary_folder.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const vistrel::test::TemporaryFolder home;
    for (const char* name :
         {"HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        qputenv(name, home.Path().c_str());
    }
    if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
