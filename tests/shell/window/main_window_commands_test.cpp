// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the main window, by control, menu item and key.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSlider>
#include <QTest>
#include <filesystem>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "shell/window/main_window.h"
#include "shell/window/window_messages.h"
#include "tests/shell/window/window_fixture.h"
#include "ui/mailbox.h"

namespace vistrel {
namespace {

using test::WindowTest;
using Texts = std::vector<std::wstring>;

class CommandsTest : public WindowTest {
  protected:
    CommandsTest() {
        services.runBatch = [this](QWidget* owner, const std::shared_ptr<ConversionEngine>&,
                                   const AppSettings&) {
            EXPECT_EQ(owner, window.get());
            ++batches;
        };
    }
    void OpenWithScene() {
        Open();
        window->LoadScene(L"/a.ply");
        browser.calls.clear();
    }
    void PressKey(int key) const {
        window->Messages()->Post(
            std::make_unique<WindowMessage>(kKeyDownMessage, static_cast<quintptr>(key)));
        QCoreApplication::processEvents();
    }
    [[nodiscard]] bool LastScriptHolds(const std::wstring& text) const {
        return !browser.Scripts().empty() &&
               browser.Scripts().back().find(text) != std::wstring::npos;
    }

    int batches = 0;
};

TEST_F(CommandsTest, HelpIsThatOfTheProgramFolder) {
    Open();
    Click(ControlId::Help);
    Choose(ControlId::MenuHelp);
    EXPECT_EQ(dialogs->asked, (Texts{L"help /app", L"help /app"}));
}

TEST_F(CommandsTest, AboutIsTold) {
    Open();
    Choose(ControlId::MenuAbout);
    EXPECT_EQ(dialogs->asked, Texts{L"about"});
}

TEST_F(CommandsTest, BatchDialogIsRun) {
    Open();
    Click(ControlId::Batch);
    Choose(ControlId::MenuBatch);
    EXPECT_EQ(batches, 2);
}

TEST_F(CommandsTest, ChosenModelIsShownAndKeptUntilTheNextSave) {
    WriteSettings(R"({"modelPath":"/m/old.onnx"})");
    Open();
    dialogs->answer = L"/m/new.onnx";
    Click(ControlId::SelectModel);
    EXPECT_EQ(dialogs->asked, Texts{L"model /m/old.onnx"});
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "new.onnx");
    EXPECT_EQ(SettingsText().find("new.onnx"), std::string::npos);
    window->close();
    EXPECT_NE(SettingsText().find("new.onnx"), std::string::npos);
}

TEST_F(CommandsTest, CancelledDialogsChangeNothing) {
    WriteSettings(R"({"modelPath":"/m/old.onnx"})");
    OpenWithScene();
    for (const ControlId id : {ControlId::SelectModel, ControlId::SelectFile, ControlId::SaveImage,
                               ControlId::DownloadModel}) {
        Click(id);
    }
    EXPECT_EQ(dialogs->asked, (Texts{L"model /m/old.onnx", L"photograph or scene",
                                     L"picture to save", L"download"}));
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "old.onnx");
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "Drop image or 3DGS file here");
    EXPECT_TRUE(browser.calls.empty());
    EXPECT_FALSE(window->HasRunningWorker());
}

TEST_F(CommandsTest, OpenedFileIsSelected) {
    Open();
    dialogs->answer = Photograph();
    Click(ControlId::SelectFile);
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "photo.png");
    dialogs->answer = L"/scene.spz";
    Choose(ControlId::MenuSelectFile);
    EXPECT_TRUE(browser.Addresses().back().ends_with(L"openFile=/scene.spz"));
}

TEST_F(CommandsTest, SceneWhoseNameNoAddressCanCarryIsShownUnderAnother) {
    webDir = FromPath(folder.Path());
    Open();
    dialogs->answer = L"/C#/50%.ply";
    Click(ControlId::SelectFile);
    const std::wstring address = browser.Addresses().back();
    const std::wstring told = address.substr(address.find(L"openFile=") + 9);
    EXPECT_EQ(std::filesystem::read_symlink(folder.Path() / ToPath(told)), "/C#/50%.ply");
}

TEST_F(CommandsTest, GenerateAsksWhereToSave) {
    WriteSettings(R"({"modelPath":"/m/net.onnx","outputDir":"/out"})");
    Open();
    window->SelectFile(Photograph());
    Click(ControlId::Generate);
    EXPECT_EQ(dialogs->asked, Texts{L"scene to save /out/photo.ply"});
}

TEST_F(CommandsTest, ProviderIsSavedAtOnce) {
    Open();
    Find(ControlId::Provider)->setFocus();
    QTest::keyClick(Find(ControlId::Provider), Qt::Key_Down);
    EXPECT_NE(SettingsText().find("\"executionProvider\": 1"), std::string::npos);
}

TEST_F(CommandsTest, StereoModeOfTheComboGoesToThePageAndTheMenu) {
    OpenWithScene();
    Find(ControlId::StereoMode)->setFocus();
    QTest::keyClick(Find(ControlId::StereoMode), Qt::Key_End);
    const std::int32_t last = kStereoModeCount - 1;
    EXPECT_TRUE(LastScriptHolds(L"ChgstFromNative(" + std::to_wstring(last) + L")"));
    window->UpdateMenuState();
    EXPECT_TRUE(Item(StereoModeItem(last))->isChecked());
}

TEST_F(CommandsTest, StereoModeOfTheMenuGoesToThePageAndTheCombo) {
    OpenWithScene();
    for (std::int32_t mode = kStereoModeCount - 1; mode >= 0; --mode) {
        Choose(StereoModeItem(mode));
        EXPECT_TRUE(LastScriptHolds(L"ChgstFromNative(" + std::to_wstring(mode) + L")"));
        EXPECT_EQ(Find<QComboBox>(ControlId::StereoMode)->currentIndex(), mode);
    }
}

TEST_F(CommandsTest, SlidersGoToThePage) {
    OpenWithScene();
    Find<QSlider>(ControlId::Focus)->setValue(-45);
    EXPECT_TRUE(LastScriptHolds(L"SetFocusFromNative(-45,30)"));
    EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: -45");
    Find<QSlider>(ControlId::Depth)->setValue(200);
    EXPECT_TRUE(LastScriptHolds(L"SetFocusFromNative(-45,200)"));
    EXPECT_EQ(Find<QLabel>(ControlId::DepthLabel)->text(), "Depth: 200");
    EXPECT_EQ(browser.Scripts().size(), 2U);
}

TEST_F(CommandsTest, ResetTouchesFocusAndDepthAlone) {
    WriteSettings("{}");
    OpenWithScene();
    Click(ControlId::Swap);
    Choose(ControlId::MenuFirstStereoMode);
    for (const ControlId reset : {ControlId::Reset, ControlId::MenuReset}) {
        Find<QSlider>(ControlId::Focus)->setValue(7);
        Find<QSlider>(ControlId::Depth)->setValue(8);
        browser.calls.clear();
        if (reset == ControlId::Reset) {
            Click(reset);
        } else {
            Choose(reset);
        }
        EXPECT_EQ(Find<QSlider>(ControlId::Focus)->value(), 0);
        EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 30);
        EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: 0");
        ASSERT_EQ(browser.Scripts().size(), 1U);
        EXPECT_TRUE(LastScriptHolds(L"SetFocusFromNative(0,30)"));
    }
    EXPECT_EQ(SettingsText(), "{}");
}

TEST_F(CommandsTest, SwapTurnsOverEachTime) {
    OpenWithScene();
    Click(ControlId::Swap);
    EXPECT_TRUE(LastScriptHolds(L"SwapFromNative(true)"));
    Choose(ControlId::MenuSwap);
    EXPECT_TRUE(LastScriptHolds(L"SwapFromNative(false)"));
    PressKey(Qt::Key_X);
    EXPECT_TRUE(LastScriptHolds(L"SwapFromNative(true)"));
}

TEST_F(CommandsTest, ViewModeLoadsTheSceneAnew) {
    OpenWithScene();
    const auto expectReload = [this](const std::wstring& mode) {
        ASSERT_EQ(browser.Addresses().size(), 1U);
        EXPECT_EQ(browser.Addresses()[0],
                  L"file:///web/gaus3d.html?nreso=1&mode=" + mode + L"&nst=1&openFile=/a.ply");
        EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 30);
        browser.calls.clear();
    };
    Find<QSlider>(ControlId::Depth)->setValue(77);
    Click(ControlId::GeneralMode);
    expectReload(L"1");
    Click(ControlId::SharpMode);
    expectReload(L"0");
    Choose(ControlId::MenuGeneralMode);
    expectReload(L"1");
    EXPECT_TRUE(Find<QRadioButton>(ControlId::GeneralMode)->isChecked());
    Choose(ControlId::MenuSharpMode);
    expectReload(L"0");
    EXPECT_TRUE(Find<QRadioButton>(ControlId::SharpMode)->isChecked());
}

TEST_F(CommandsTest, ViewModeWithoutASceneIsOnlyASetting) {
    Open();
    browser.calls.clear();
    window->OnCommand(ControlId::GeneralMode);
    EXPECT_TRUE(browser.calls.empty());
    window->LoadScene(L"/a.ply");
    EXPECT_NE(browser.Addresses().back().find(L"mode=1"), std::wstring::npos);
}

TEST_F(CommandsTest, PictureOfTheViewIsSaved) {
    OpenWithScene();
    dialogs->answer = InFolder("rendering.png");
    Click(ControlId::SaveImage);
    Choose(ControlId::MenuSaveImage);
    PressKey(Qt::Key_S);
    EXPECT_EQ(dialogs->asked, (Texts{L"picture to save", L"picture to save", L"picture to save"}));
    ASSERT_TRUE(browser.AnswerCapture(true, {std::byte{'P'}}));
    EXPECT_EQ(test::ReadFile(folder / "rendering.png"), "P");
}

TEST_F(CommandsTest, KeySWithoutASceneDoesNothing) {
    Open();
    PressKey(Qt::Key_S);
    EXPECT_TRUE(dialogs->asked.empty());
}

TEST_F(CommandsTest, SaveButtonDoesNotLookForAScene) {
    Open();
    window->OnCommand(ControlId::SaveImage);
    EXPECT_EQ(dialogs->asked, Texts{L"picture to save"});
}

TEST_F(CommandsTest, KeyCTogglesTheSidebar) {
    Open();
    PressKey(Qt::Key_C);
    EXPECT_TRUE(Find(ControlId::Sidebar)->isHidden());
    Choose(ControlId::MenuSidePanel);
    EXPECT_FALSE(Find(ControlId::Sidebar)->isHidden());
}

TEST_F(CommandsTest, EnterAndF11ToggleFullScreen) {
    Open();
    PressKey(Qt::Key_F11);
    EXPECT_TRUE(window->isFullScreen());
    PressKey(Qt::Key_Return);
    EXPECT_FALSE(window->isFullScreen());
    PressKey(Qt::Key_Enter);
    EXPECT_TRUE(window->isFullScreen());
}

TEST_F(CommandsTest, KeysThatReachTheWindowItselfActToo) {
    Open();
    QTest::keyClick(window.get(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(Find(ControlId::Sidebar)->isHidden());
}

TEST_F(CommandsTest, KeysAreNotTakenFromTheModelBoxAndCombos) {
    Open();
    for (const ControlId id : {ControlId::ModelName, ControlId::Provider}) {
        Find(id)->setFocus();
        for (const int key : {Qt::Key_C, Qt::Key_F11, Qt::Key_Q}) PressKey(key);
        EXPECT_FALSE(Find(ControlId::Sidebar)->isHidden());
        EXPECT_FALSE(window->isFullScreen());
        EXPECT_TRUE(window->isVisible());
    }
}

TEST_F(CommandsTest, OtherKeysDoNothing) {
    Open();
    browser.calls.clear();
    for (const int key : {Qt::Key_A, Qt::Key_Escape, Qt::Key_Space, Qt::Key_F1}) PressKey(key);
    EXPECT_TRUE(dialogs->asked.empty());
    EXPECT_TRUE(browser.calls.empty());
    EXPECT_TRUE(window->isVisible());
}

TEST_F(CommandsTest, OtherNumbersAreIgnored) {
    Open();
    browser.calls.clear();
    for (const int id : {0, 999, 1000, 1001, 1010, 4042, 4029, 5001}) {
        window->OnCommand(static_cast<ControlId>(id), 1);
    }
    window->OnCommand(StereoModeItem(kStereoModeCount), 1);
    EXPECT_TRUE(dialogs->asked.empty());
    EXPECT_TRUE(browser.calls.empty());
    EXPECT_EQ(batches, 0);
}

}  // namespace
}  // namespace vistrel
