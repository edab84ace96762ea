// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/main_window.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QCoreApplication>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTimer>
#include <QUrl>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "shell/window/file_url.h"
#include "shell/window/preview.h"
#include "shell/window/window_messages.h"
#include "tests/shell/window/window_fixture.h"
#include "tests/support/wait_until.h"
#include "ui/mailbox.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

using test::WaitUntil;
using test::WindowTest;

class MainWindowTest : public WindowTest {
  protected:
    void Post(int number, quintptr value, std::optional<std::wstring> text = std::nullopt) const {
        window->Messages()->Post(std::make_unique<WindowMessage>(number, value, std::move(text)));
        QCoreApplication::processEvents();
    }
    [[nodiscard]] Preview* Picture() const {
        for (QWidget* const child : window->findChildren<QWidget*>()) {
            if (auto* const preview = dynamic_cast<Preview*>(child)) return preview;
        }
        return nullptr;
    }
    [[nodiscard]] QWidget* Host() const { return browser.hosts.at(0); }
    [[nodiscard]] bool ViewerControlsShown() const {
        return !Find(ControlId::ViewerHeading)->isHidden();
    }
};

TEST_F(MainWindowTest, WindowOpensWithItsSizeTitleAndParts) {
    Open();
    EXPECT_EQ(window->windowTitle(), "Vistrel");
    EXPECT_EQ(window->size(), QSize(1200, 700));
    const int height = 700 - window->menuWidget()->height();
    EXPECT_EQ(window->centralWidget()->size(), QSize(1200, height));
    EXPECT_EQ(Find(ControlId::Sidebar)->geometry(), QRect(0, 0, 290, height));
    EXPECT_EQ(Host()->geometry(), QRect(290, 0, 910, height));
    EXPECT_EQ(Picture()->geometry(), QRect(290, 0, 910, height));
}

TEST_F(MainWindowTest, BrowserBeginsWithItsFinalPlace) {
    window = std::make_unique<MainWindow>(L"/web", L"/app", services);
    const auto* const host = window->findChild<QWidget*>("WebViewHost");
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->geometry().topLeft(), QPoint(290, 0));
    EXPECT_EQ(host->width(), 910);
}

TEST_F(MainWindowTest, BrowserIsLoadedOnceTheWindowIsOnTheScreen) {
    window = std::make_unique<MainWindow>(L"/web", L"/app", services);
    test::DeliverPosted();
    EXPECT_TRUE(browser.calls.empty());
    window->show();
    EXPECT_TRUE(browser.calls.empty());
    EXPECT_TRUE(WaitUntil([this] { return !browser.calls.empty(); }));
}

TEST_F(MainWindowTest, BrowserIsLoadedOnceAlthoughTheWindowIsShownAgain) {
    Open();
    window->hide();
    window->show();
    test::DeliverPosted();
    EXPECT_EQ(std::ranges::count(browser.calls, L"create environment"), 1);
}

TEST_F(MainWindowTest, DesktopMayCallWhileTheWindowIsThere) {
    QPointer<QObject> calls;
    services.answerDesktop = [&](MainWindow& called) {
        EXPECT_TRUE(called.isVisible());
        auto made = std::make_unique<QObject>();
        calls = made.get();
        return made;
    };
    Open();
    EXPECT_FALSE(calls.isNull());
    window->close();
    EXPECT_TRUE(calls.isNull());
}

TEST_F(MainWindowTest, WindowThatEndsAtOnceIsNotCalled) {
    bool called = false;
    services.answerDesktop = [&](MainWindow&) {
        called = true;
        return std::unique_ptr<QObject>();
    };
    window = std::make_unique<MainWindow>(L"/web", L"/app", services);
    window->show();
    window->close();
    test::DeliverPosted();
    EXPECT_FALSE(called);
    EXPECT_TRUE(browser.calls.empty());
}

TEST_F(MainWindowTest, FirstOfTheFilesThatAreHandedOverIsSelected) {
    Open();
    const QUrl file = FileUrl(ToPath(Photograph()));
    EXPECT_TRUE(window->TakeFiles({QUrl("https://example.org/a.ply"), file, FileUrl("/b.ply")}));
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "photo.png");
    EXPECT_EQ(browser.Addresses().size(), 1U);
}

TEST_F(MainWindowTest, AddressesThatAreNoFilesLeaveTheWindowAlone) {
    Open();
    EXPECT_FALSE(window->TakeFiles({QUrl("https://example.org/a.ply"), QUrl("/a.ply")}));
    EXPECT_EQ(browser.Addresses().size(), 1U);
}

TEST_F(MainWindowTest, SceneThatIsHandedOverBeforeThePageIsThereIsShownThen) {
    Open(false);
    EXPECT_TRUE(window->TakeFiles({FileUrl("/scenes/a.ply")}));
    browser.AnswerEnvironment();
    browser.AnswerController();
    browser.EndNavigation();
    EXPECT_TRUE(std::ranges::any_of(browser.Scripts(), [](const std::wstring& script) {
        return script.find(L"/scenes/a.ply") != std::wstring::npos;
    }));
}

TEST_F(MainWindowTest, PageComesFromTheWebFolder) {
    Open();
    EXPECT_EQ(browser.Addresses(),
              std::vector<std::wstring>{L"file:///web/gaus3d.html?nreso=1&mode=0"});
}

TEST_F(MainWindowTest, ControlsShowTheKeptSettings) {
    WriteSettings(R"({"modelPath":"/m/net.onnx","stereoMode":3,"focus":"12.7","depth":"99",
                      "isSharpMode":0,"executionProvider":1})");
    Open();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "net.onnx");
    EXPECT_EQ(Find<QComboBox>(ControlId::StereoMode)->currentIndex(), 3);
    EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: 12");
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 99);
    EXPECT_TRUE(Find<QRadioButton>(ControlId::GeneralMode)->isChecked());
    EXPECT_EQ(Find<QComboBox>(ControlId::Provider)->currentIndex(), 1);
}

TEST_F(MainWindowTest, FirstStartHasNoModelAndCannotGenerate) {
    Open();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "(Not selected)");
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadStatus)->isHidden());
    EXPECT_FALSE(Find(ControlId::Generate)->isEnabled());
    EXPECT_FALSE(ViewerControlsShown());
}

TEST_F(MainWindowTest, BrowserThatFailedIsTold) {
    Open(false);
    browser.AnswerEnvironment(false);
    QCoreApplication::processEvents();
    EXPECT_EQ(Find<QLabel>(ControlId::GenerateStatus)->text(),
              "WebView2 initialization failed. Please install WebView2 Runtime.");
}

TEST_F(MainWindowTest, BrowserThatIsReadyIsNotWorthAWord) {
    Open();
    EXPECT_EQ(Find<QLabel>(ControlId::GenerateStatus)->text(), "");
}

TEST_F(MainWindowTest, PhotographIsShownAndCanBeConverted) {
    WriteSettings(R"({"modelPath":"/m/net.onnx"})");
    Open();
    window->SelectFile(Photograph(40, 30, "my.holiday.JPG"));
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "my.holiday.JPG");
    EXPECT_TRUE(Find(ControlId::Generate)->isEnabled());
    EXPECT_TRUE(Host()->isHidden());
    EXPECT_FALSE(ViewerControlsShown());
    window->close();
    EXPECT_NE(SettingsText().find("my.holiday.ply"), std::string::npos);
}

TEST_F(MainWindowTest, DroppedFileIsCopiedWhateverIsProposed) {
    Open();
    QMimeData file;
    file.setUrls({FileUrl(ToPath(Photograph()))});
    QDragEnterEvent enter(QPoint(), Qt::CopyAction | Qt::MoveAction, &file, Qt::LeftButton,
                          Qt::ShiftModifier);
    QCoreApplication::sendEvent(window.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    QDropEvent drop(QPointF(), Qt::CopyAction | Qt::MoveAction, &file, Qt::LeftButton,
                    Qt::ShiftModifier);
    ASSERT_EQ(drop.proposedAction(), Qt::MoveAction);
    QCoreApplication::sendEvent(window.get(), &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_EQ(drop.dropAction(), Qt::CopyAction);
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "photo.png");
}

TEST_F(MainWindowTest, PhotographIsDrawnInTheMiddleOfTheViewerArea) {
    Open();
    window->SelectFile(Photograph(40, 30));
    ASSERT_TRUE(WaitUntil([this] { return !Picture()->IsReading(); }));
    const QImage drawn = window->centralWidget()->grab().toImage();
    const int top = (drawn.height() - 30) / 2;
    EXPECT_EQ(drawn.pixelColor(290 + 435, top), QColor(200, 30, 60));
    EXPECT_EQ(drawn.pixelColor(290 + 474, top + 29), QColor(200, 30, 60));
    EXPECT_EQ(drawn.pixelColor(290 + 434, top), QColor(30, 30, 46));
    EXPECT_EQ(drawn.pixelColor(290 + 475, top + 29), QColor(30, 30, 46));
}

TEST_F(MainWindowTest, PhotographIsCentredAnewWithoutTheSidebar) {
    Open();
    window->SelectFile(Photograph(40, 30));
    ASSERT_TRUE(WaitUntil([this] { return !Picture()->IsReading(); }));
    window->ToggleSidebar();
    const QImage drawn = window->centralWidget()->grab().toImage();
    const int top = (drawn.height() - 30) / 2;
    EXPECT_EQ(drawn.pixelColor(580, top), QColor(200, 30, 60));
    EXPECT_EQ(drawn.pixelColor(579, top), QColor(30, 30, 46));
}

TEST_F(MainWindowTest, SceneIsShownInTheBrowser) {
    Open();
    window->SelectFile(L"/scenes/my scene.ply");
    EXPECT_EQ(browser.Addresses().back(),
              L"file:///web/gaus3d.html?nreso=1&mode=0&nst=1&openFile=/scenes/my%20scene.ply");
    EXPECT_FALSE(Host()->isHidden());
    EXPECT_TRUE(ViewerControlsShown());
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "Drop image or 3DGS file here");
}

TEST_F(MainWindowTest, ExtensionsOfScenesAreKnownInAnyCase) {
    Open();
    for (const char* name : {"a.ply", "a.PLY", "a.Splat", "a.SPZ", "b.kSplat"}) {
        const std::size_t before = browser.Addresses().size();
        window->SelectFile(InFolder(name));
        EXPECT_EQ(browser.Addresses().size(), before + 1) << name;
    }
}

TEST_F(MainWindowTest, OtherExtensionsArePhotographs) {
    Open();
    for (const char* name : {"a.jpg", "a.plyx", "ply", ".ply", "a.ply.png", "a"}) {
        window->SelectFile(InFolder(name));
        EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), name);
    }
    EXPECT_EQ(browser.Addresses().size(), 1U);
}

TEST_F(MainWindowTest, SceneBeginsWithFocusAndDepthAsTheyAreAtFirst) {
    WriteSettings(R"({"focus":"50","depth":"150","stereoMode":4,"isSwapped":1})");
    Open();
    window->LoadScene(L"/a.ply");
    EXPECT_EQ(Find<QSlider>(ControlId::Focus)->value(), 0);
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 30);
    EXPECT_EQ(Find<QLabel>(ControlId::DepthLabel)->text(), "Depth: 30");
    // Only these two are passed on to the page that is left.
    ASSERT_EQ(browser.Scripts().size(), 1U);
    EXPECT_NE(browser.Scripts()[0].find(L"SetFocusFromNative(0,30)"), std::wstring::npos);
}

TEST_F(MainWindowTest, SceneChosenBeforeTheBrowserIsReadyIsShownLater) {
    Open(false);
    window->LoadScene(L"/a.ply");
    window->LoadScene(L"/b.ply");
    browser.AnswerEnvironment();
    browser.AnswerController();
    browser.EndNavigation();
    const auto scripts = browser.Scripts();
    ASSERT_FALSE(scripts.empty());
    EXPECT_NE(scripts[0].find(L"FileFromNative('/b.ply')"), std::wstring::npos);
}

TEST_F(MainWindowTest, PhotographTakesThePlaceOfAScene) {
    Open();
    window->LoadScene(L"/a.ply");
    window->SelectFile(Photograph());
    EXPECT_TRUE(Host()->isHidden());
    EXPECT_FALSE(ViewerControlsShown());
    EXPECT_FALSE(Item(ControlId::MenuSaveImage)->isEnabled());
}

TEST_F(MainWindowTest, SceneTakesThePlaceOfAPhotograph) {
    Open();
    window->SelectFile(Photograph());
    window->LoadScene(L"/a.ply");
    EXPECT_FALSE(Host()->isHidden());
    EXPECT_TRUE(ViewerControlsShown());
    EXPECT_TRUE(Item(ControlId::MenuSaveImage)->isEnabled());
}

TEST_F(MainWindowTest, FinishedConversionShowsItsSceneInSharpMode) {
    WriteSettings(R"({"isSharpMode":0})");
    Open();
    Post(kGenerateDoneMessage, 0, L"/out/new.ply");
    EXPECT_TRUE(Find<QRadioButton>(ControlId::SharpMode)->isChecked());
    EXPECT_EQ(browser.Addresses().back(),
              L"file:///web/gaus3d.html?nreso=1&mode=0&nst=1&openFile=/out/new.ply");
    EXPECT_TRUE(ViewerControlsShown());
}

TEST_F(MainWindowTest, ReportsOfWorkersReachTheirControls) {
    Open();
    Post(kDownloadProgressMessage, 250, L"half a half");
    EXPECT_EQ(Find<QLabel>(ControlId::DownloadStatus)->text(), "half a half");
    EXPECT_FALSE(Find(ControlId::DownloadProgress)->isHidden());
    Post(kDownloadDoneMessage, 1, L"no network");
    EXPECT_EQ(Find<QLabel>(ControlId::DownloadStatus)->text(), "Failed: no network");
    Post(kGenerateProgressMessage, 0, L"Thinking");
    EXPECT_TRUE(Find<QLabel>(ControlId::GenerateStatus)->text().startsWith("Thinking ("));
}

TEST_F(MainWindowTest, DownloadThatCannotBeOpenedIsOfferedAgain) {
    Open();
    const std::filesystem::path model = ToPath(ModelFile());
    std::filesystem::create_directories(model.parent_path());
    std::ofstream(model) << "half a network";
    Post(kDownloadDoneMessage, 0, ModelFile());
    ASSERT_TRUE(Find(ControlId::DownloadModel)->isHidden());
    Post(kModelFileErrorMessage, 0, ModelFile());
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(MainWindowTest, FinishedDownloadIsTheModel) {
    Open();
    const auto model = folder.Write("net.onnx", "x");
    Post(kDownloadDoneMessage, 0, FromPath(model));
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "net.onnx");
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(MainWindowTest, NoWorkerRunsAtFirst) {
    Open();
    EXPECT_FALSE(window->HasRunningWorker());
}

TEST_F(MainWindowTest, ReadingOfAPhotographIsARunningWorker) {
    Open();
    window->SelectFile(Photograph());
    EXPECT_TRUE(window->HasRunningWorker());
    EXPECT_TRUE(WaitUntil([this] { return !window->HasRunningWorker(); }));
}

TEST_F(MainWindowTest, JapaneseWindowShowsJapanese) {
    gUiText = &kJapaneseText;
    Open();
    EXPECT_EQ(Find<QLabel>(ControlId::InputName)->text(), "画像または3DGSファイルをドロップ");
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "(未選択)");
    EXPECT_EQ(Item(ControlId::MenuExit)->text(), "終了(&X)\tQ");
}

}  // namespace
}  // namespace vistrel
