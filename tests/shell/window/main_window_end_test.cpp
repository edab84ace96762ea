// SPDX-License-Identifier: GPL-3.0-or-later
// The end of the main window, which is that of the program.
#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "shell/window/main_window.h"
#include "shell/window/window_messages.h"
#include "tests/shell/window/window_fixture.h"
#include "ui/mailbox.h"

namespace vistrel {
namespace {

class EndTest : public test::WindowTest {
  protected:
    [[nodiscard]] std::filesystem::path SettingsPath() const {
        return folder / "config/Vistrel/settings.json";
    }
    // Ends the program the given way and counts the saves.
    void ExpectOneSave(const std::function<void()>& end) {
        Open();
        window->OnCommand(ControlId::Swap);
        QTimer::singleShot(0, window.get(), end);
        QApplication::exec();
        EXPECT_FALSE(window->isVisible());
        EXPECT_NE(SettingsText().find("\"isSwapped\": 1"), std::string::npos);
        // A second save would bring the file back.
        std::filesystem::remove(SettingsPath());
        window->close();
        EXPECT_TRUE(QMetaObject::invokeMethod(qApp, "aboutToQuit"));  // no one else may emit it
        window.reset();
        EXPECT_FALSE(std::filesystem::exists(SettingsPath()));
    }
};

TEST_F(EndTest, CloseBoxSavesOnce) {
    ExpectOneSave([this] { window->close(); });
}

TEST_F(EndTest, ExitSavesOnce) {
    ExpectOneSave([this] { window->OnCommand(ControlId::MenuExit); });
}

TEST_F(EndTest, KeyQSavesOnce) {
    ExpectOneSave([this] {
        window->Messages()->Post(std::make_unique<WindowMessage>(kKeyDownMessage, Qt::Key_Q));
    });
}

TEST_F(EndTest, EndOfTheApplicationSavesOnce) {
    ExpectOneSave([] { QCoreApplication::quit(); });
}

TEST_F(EndTest, EndWithAnOpenDialogLeavesItsLoopToo) {
    ExpectOneSave([this] {
        auto* const box = new QMessageBox(window.get());
        QTimer::singleShot(0, box, [this] { window->OnKeyDown(Qt::Key_Q); });
        box->exec();
    });
}

TEST_F(EndTest, CloseWithAnOpenDialogSavesOnce) {
    ExpectOneSave([this] {
        auto* const box = new QMessageBox(window.get());
        QTimer::singleShot(0, box, [this] { window->close(); });
        box->exec();
    });
}

TEST_F(EndTest, EndWhileAQuestionIsOpenDoesNotSaveAPicture) {
    Open();
    window->LoadScene(L"/a.ply");
    dialogs->whileAsking = [this] { window->OnKeyDown(Qt::Key_Q); };
    window->OnCommand(ControlId::SaveImage);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(EndTest, EndInFullScreenSavesOnce) {
    ExpectOneSave([this] {
        window->ToggleFullScreen();
        window->OnKeyDown(Qt::Key_Q);
    });
}

TEST_F(EndTest, ReportsAfterTheEndAreLost) {
    Open();
    const auto box = window->Messages();
    window->close();
    window.reset();
    box->Post(std::make_unique<WindowMessage>(kGenerateDoneMessage, 0, L"/a.ply"));
    QCoreApplication::processEvents();
}

TEST_F(EndTest, BrowserIsGoneBeforeItsHost) {
    Open();
    EXPECT_EQ(browser.controllers, 1);
    window->close();
    window.reset();
    EXPECT_EQ(browser.controllers, 0);
    EXPECT_EQ(browser.environments, 0);
}

}  // namespace
}  // namespace vistrel
