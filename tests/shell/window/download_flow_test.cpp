// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/download_flow.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTextDocument>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include "tests/shell/window/flow_fixture.h"
#include "tests/support/wait_until.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

using test::WaitUntil;

// A server's answer without a server.
class ScriptedRequest : public HttpRequest {
  public:
    using Answer = std::function<bool(HttpReceiver& receiver)>;
    explicit ScriptedRequest(Answer answer) : answer_(std::move(answer)) {}

    [[nodiscard]] bool ParseUrl(const std::string& /*url*/) override { return true; }
    [[nodiscard]] bool OpenSession() override { return true; }
    [[nodiscard]] bool Connect() override { return true; }
    [[nodiscard]] bool OpenRequest() override { return true; }
    [[nodiscard]] bool Send(HttpReceiver& receiver) override { return answer_(receiver); }

  private:
    Answer answer_;
};

class DownloadFlowTest : public test::FlowTest {
  protected:
    DownloadFlowTest() {
        window.then = [this](const WindowMessage& message) {
            if (message.type() == kDownloadProgressMessage) flow->OnProgress(message);
            if (message.type() == kDownloadDoneMessage) flow->OnDone(message);
        };
        flow->onModel = [this] {
            statusAtModel = Status();
            modelShown = settings.modelPath;
            savedAtModel = SettingsAreSaved();
        };
        flow->ShowModel();
    }
    ~DownloadFlowTest() override {
        hold = false;
        EXPECT_TRUE(WaitUntil([this] { return !downloader->busy; }));
    }

    void WaitForEnd() {
        ASSERT_TRUE(WaitUntil([this] {
            return !window.received.empty() &&
                   window.received.back().number == kDownloadDoneMessage;
        }));
    }
    [[nodiscard]] std::wstring Status() const { return TextOf(ControlId::DownloadStatus); }
    [[nodiscard]] int Position() const {
        return Find<QProgressBar>(ControlId::DownloadProgress)->value();
    }
    [[nodiscard]] bool AreaIsShown() const {
        return !Find(ControlId::DownloadProgress)->isHidden() &&
               !Find(ControlId::DownloadStatus)->isHidden();
    }
    void Progress(quintptr value, std::optional<std::wstring> text) {
        flow->OnProgress(WindowMessage(kDownloadProgressMessage, value, std::move(text)));
    }
    void Done(quintptr value, std::optional<std::wstring> text) {
        flow->OnDone(WindowMessage(kDownloadDoneMessage, value, std::move(text)));
    }

    void FileError(const std::wstring& model) {
        flow->OnModelFileError(WindowMessage(kModelFileErrorMessage, 0, model));
    }

    std::atomic<bool> hold = false;  // the answer waits for its end
    ScriptedRequest::Answer answer = [this](HttpReceiver& receiver) {
        receiver.OnAnswer(200, 6);
        receiver.OnBody("mod");
        receiver.OnBody("el!");
        while (hold) std::this_thread::yield();
        return true;
    };
    std::shared_ptr<ModelDownloader> downloader = std::make_shared<ModelDownloader>(
        "https://nowhere/", [this] { return std::make_unique<ScriptedRequest>(answer); });
    std::unique_ptr<DownloadFlow> flow =
        std::make_unique<DownloadFlow>(downloader, settings, sidebar, user, window.mailbox);
    std::wstring statusAtModel;
    std::wstring modelShown;
    bool savedAtModel = false;
};

TEST_F(DownloadFlowTest, ModelNameIsShownAndTheButtonGoesWithTheFile) {
    const std::filesystem::path model = home.Home() / "net.onnx";
    std::ofstream(model) << "model";
    settings.modelPath = FromPath(model);
    flow->ShowModel();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "net.onnx");
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isHidden());
    settings.modelPath = L"/gone.onnx";
    flow->ShowModel();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "gone.onnx");
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(DownloadFlowTest, ReliefDemoIsNotTheNetwork) {
    settings.modelPath = FromUtf8(VISTREL_RELIEF);
    flow->ShowModel();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "vistrel_relief_demo.onnx");
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(DownloadFlowTest, ModelBoxTellsTheWholePath) {
    for (const std::wstring path : {L"/folder/net.onnx", L"/<b>folder</b>/net.onnx"}) {
        settings.modelPath = path;
        flow->ShowModel();
        QTextDocument shown;
        const QString tip = Find<QLineEdit>(ControlId::ModelName)->toolTip();
        Qt::mightBeRichText(tip) ? shown.setHtml(tip) : shown.setPlainText(tip);
        EXPECT_EQ(ToWide(shown.toPlainText()), path);
    }
    settings.modelPath.clear();
    flow->ShowModel();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->toolTip(), "");
}

TEST_F(DownloadFlowTest, DownloadThatCannotBeOpenedIsOfferedAgain) {
    flow->StartModelDownload();
    WaitForEnd();
    flow->ShowModel();
    ASSERT_TRUE(Find(ControlId::DownloadModel)->isHidden());
    FileError(ModelFile());
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
    flow->ShowModel();
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());

    flow->StartModelDownload();
    EXPECT_TRUE(WaitUntil([this] { return !downloader->busy; }));
    WaitForEnd();
    flow->ShowModel();
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(DownloadFlowTest, FileOfTheUsersThatCannotBeOpenedIsNotOffered) {
    const std::filesystem::path model = home.Home() / "net.onnx";
    std::ofstream(model) << "no network";
    settings.modelPath = FromPath(model);
    flow->ShowModel();
    FileError(settings.modelPath);
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(DownloadFlowTest, WithoutAModelDownloadIsOffered) {
    flow->ShowModel();
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "(Not selected)");
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isHidden());
}

TEST_F(DownloadFlowTest, ModelHidesTheProgressOfADownload) {
    Progress(1, L"text");
    flow->ShowModel();
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadStatus)->isHidden());
}

TEST_F(DownloadFlowTest, DeclinedQuestionChangesNothing) {
    user.wantsDownload = false;
    flow->StartModelDownload();
    EXPECT_EQ(user.downloadQuestions, 1);
    EXPECT_FALSE(downloader->busy);
    EXPECT_FALSE(AreaIsShown());
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_FALSE(std::filesystem::exists(ToPath(UserDataFolder())));
}

TEST_F(DownloadFlowTest, StartShowsTheAreaAndDisablesTheButton) {
    hold = true;
    flow->StartModelDownload();
    EXPECT_TRUE(downloader->busy);
    EXPECT_TRUE(AreaIsShown());
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_EQ(Status(), L"Starting download\u2026");
}

TEST_F(DownloadFlowTest, SecondStartAsksNothing) {
    hold = true;
    flow->StartModelDownload();
    flow->StartModelDownload();
    EXPECT_EQ(user.downloadQuestions, 1);
}

TEST_F(DownloadFlowTest, DownloadedModelIsChosenAndSaved) {
    flow->StartModelDownload();
    WaitForEnd();
    EXPECT_EQ(settings.modelPath, ModelFile());
    EXPECT_EQ(modelShown, ModelFile());
    EXPECT_EQ(SavedSettings().modelPath, ModelFile());
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_EQ(test::ReadFile(ToPath(ModelFile())), "model!");
}

TEST_F(DownloadFlowTest, ModelIsShownAfterTheTextAndBeforeTheSave) {
    Done(0, L"/model.onnx");
    EXPECT_EQ(statusAtModel, L"Download complete!");
    EXPECT_FALSE(savedAtModel);
    EXPECT_TRUE(SettingsAreSaved());
}

TEST_F(DownloadFlowTest, ReportsOfTheDownloadReachTheBar) {
    hold = true;
    flow->StartModelDownload();
    EXPECT_TRUE(WaitUntil([this] { return Position() == 1000; }));
    EXPECT_EQ(Status(), L"Downloading\u2026 0 MB / 0 MB");
}

TEST_F(DownloadFlowTest, ReportRightAfterAnotherWaits) {
    hold = true;
    flow->StartModelDownload();
    EXPECT_TRUE(WaitUntil([this] { return Position() == 1000; }));
    Progress(500, L"next");
    EXPECT_EQ(Position(), 1000);
}

TEST_F(DownloadFlowTest, FailedConnectionIsToldAndMayBeTriedAgain) {
    settings.modelPath = L"/old.onnx";
    answer = [](HttpReceiver& /*receiver*/) { return false; };
    flow->StartModelDownload();
    WaitForEnd();
    EXPECT_EQ(Status(), L"Failed: HTTP request failed.");
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_FALSE(Find(ControlId::DownloadStatus)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_EQ(settings.modelPath, L"/old.onnx");
    EXPECT_FALSE(SettingsAreSaved());
    EXPECT_TRUE(std::filesystem::is_empty(ToPath(ModelFile()).parent_path()));

    flow->StartModelDownload();
    EXPECT_EQ(user.downloadQuestions, 2);
}

TEST_F(DownloadFlowTest, FailureShowsATextThatWasHidden) {
    Done(1, L"no");
    EXPECT_FALSE(Find(ControlId::DownloadStatus)->isHidden());
}

TEST_F(DownloadFlowTest, LowHalfOfTheValueIsThePosition) {
    Progress(0x70000 + 345, L"text");
    EXPECT_EQ(Position(), 345);
    EXPECT_EQ(Status(), L"text");
}

TEST_F(DownloadFlowTest, PositionBeyondTheEndFillsTheBar) {
    Progress(1001, L"text");
    EXPECT_EQ(Position(), 1000);
}

TEST_F(DownloadFlowTest, ProgressShowsAnAreaThatWasHidden) {
    Progress(1, L"text");
    EXPECT_TRUE(AreaIsShown());
}

TEST_F(DownloadFlowTest, MessagesWithoutTextAreIgnored) {
    Find(ControlId::DownloadModel)->setEnabled(false);
    Progress(1, std::nullopt);
    Done(0, std::nullopt);
    Done(1, std::nullopt);
    EXPECT_FALSE(AreaIsShown());
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_EQ(settings.modelPath, L"");
    EXPECT_FALSE(SettingsAreSaved());
}

TEST_F(DownloadFlowTest, JapaneseTextsAreShown) {
    gUiText = &kJapaneseText;
    hold = true;
    flow->StartModelDownload();
    EXPECT_EQ(Status(), L"ダウンロードを開始…");
    Done(1, L"no");
    EXPECT_EQ(Status(), L"失敗: no");
    Done(0, L"/model.onnx");
    EXPECT_EQ(statusAtModel, L"ダウンロード完了！");
}

TEST_F(DownloadFlowTest, DownloadOutlivesTheWindow) {
    hold = true;
    flow->StartModelDownload();
    window.mailbox->Close();
    flow.reset();
    hold = false;
    EXPECT_TRUE(WaitUntil([this] { return !downloader->busy; }));
    EXPECT_TRUE(window.received.empty());
    EXPECT_EQ(test::ReadFile(ToPath(ModelFile())), "model!");
}

}  // namespace
}  // namespace vistrel
