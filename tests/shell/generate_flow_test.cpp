#include "shell/generate_flow.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include "shell/wide_text.h"
#include "tests/shell/flow_fixture.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

using test::WaitUntil;

constexpr std::int64_t kSecond = 1'000'000'000;

class GenerateFlowTest : public test::FlowTest {
  protected:
    GenerateFlowTest() {
        flow->clock = [this] { return now; };
        flow->providers = [this] { return listed; };
        flow->onScene = [this](const std::wstring& path) { scenes.push_back(path); };
        window.then = [this](const WindowMessage& message) {
            if (message.type() == kGenerateProgressMessage) flow->OnProgress(message);
            if (message.type() == kGenerateDoneMessage) flow->OnDone(message);
        };
        user.scene = In("out/scene.ply");
    }
    ~GenerateFlowTest() override {
        EXPECT_TRUE(WaitUntil([this] { return !engine.busy; }));
    }

    [[nodiscard]] std::wstring In(std::string_view name) const { return FromPath(folder / name); }
    // A photograph and a network that go together well.
    void ChooseBoth() {
        const auto picture = test::EncodePng(test::FilledPicture(32, 24, 200, 30, 60));
        flow->inputImagePath = FromPath(folder.Write("photo.png", picture));
        settings.modelPath = FromPath(test::ModelFile("echo"));
    }
    // Until the end of the conversion was reported.
    void WaitForEnd() {
        ASSERT_TRUE(WaitUntil([this] {
            return !window.received.empty() &&
                   window.received.back().number == kGenerateDoneMessage && !engine.busy;
        }));
    }
    [[nodiscard]] std::wstring Status() const { return ToWide(sidebar.generateStatus->text()); }
    void Progress(const std::wstring& stage) {
        flow->OnProgress(WindowMessage(kGenerateProgressMessage, 0, stage));
    }
    void Done(quintptr value, std::optional<std::wstring> text) {
        flow->OnDone(WindowMessage(kGenerateDoneMessage, value, std::move(text)));
    }

    test::TemporaryFolder folder;
    std::vector<std::string> listed = {"CPUExecutionProvider"};
    ConversionEngine engine{[this] { return listed; }};
    std::int64_t now = 5 * kSecond;
    std::vector<std::wstring> scenes;
    std::unique_ptr<GenerateFlow> flow =
        std::make_unique<GenerateFlow>(engine, settings, sidebar, user, window.mailbox);
};

TEST_F(GenerateFlowTest, NothingHappensWithoutAPhotograph) {
    ChooseBoth();
    flow->inputImagePath.clear();
    settings.modelPath.clear();
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"");
    EXPECT_TRUE(user.proposals.empty());
}

TEST_F(GenerateFlowTest, NothingHappensWhileAConversionRuns) {
    ChooseBoth();
    engine.busy = true;
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"");
    EXPECT_TRUE(user.proposals.empty());
    engine.busy = false;
}

TEST_F(GenerateFlowTest, WithoutAModelOnlyTheStatusSaysSo) {
    ChooseBoth();
    settings.modelPath.clear();
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"Please select or download the ONNX model first.");
    EXPECT_TRUE(user.proposals.empty());
    EXPECT_FALSE(engine.busy);
}

TEST_F(GenerateFlowTest, FolderAndNameAreProposed) {
    ChooseBoth();
    settings.outputDir = L"/some/folder";
    settings.outputFilename = L"photo.ply";
    user.scene.reset();
    flow->RunGenerate();
    EXPECT_EQ(user.proposals, std::vector<std::wstring>{L"/some/folder/photo.ply"});
    EXPECT_EQ(user.folders, std::vector<std::wstring>{L"/some/folder"});
}

TEST_F(GenerateFlowTest, ProposalWithoutAnExtensionGetsOne) {
    ChooseBoth();
    user.scene.reset();
    settings.outputDir = L"/with.dot";
    for (const wchar_t* name : {L"photo", L"", L".hidden", L"photo.v2"}) {
        settings.outputFilename = name;
        flow->RunGenerate();
    }
    EXPECT_EQ(user.proposals,
              (std::vector<std::wstring>{L"/with.dot/photo.ply", L"/with.dot/.ply",
                                         L"/with.dot/.hidden.ply", L"/with.dot/photo.v2"}));
}

TEST_F(GenerateFlowTest, CancelledQuestionChangesNothing) {
    ChooseBoth();
    settings.outputDir = L"/some/folder";
    settings.outputFilename = L"photo.ply";
    user.scene.reset();
    flow->RunGenerate();
    EXPECT_EQ(settings.outputDir, L"/some/folder");
    EXPECT_EQ(settings.outputFilename, L"photo.ply");
    EXPECT_EQ(Status(), L"");
    EXPECT_FALSE(engine.busy);
    EXPECT_FALSE(SettingsAreSaved());
}

TEST_F(GenerateFlowTest, StartDisablesTheButtonAndShowsTheFirstText) {
    ChooseBoth();
    sidebar.generate->setEnabled(true);
    flow->RunGenerate();
    EXPECT_TRUE(engine.busy);
    EXPECT_FALSE(sidebar.generate->isEnabled());
    EXPECT_EQ(Status(), L"Starting inference\u2026");
    EXPECT_EQ(settings.outputDir, In("out"));
    EXPECT_EQ(settings.outputFilename, L"scene.ply");
    EXPECT_FALSE(SettingsAreSaved());
    WaitForEnd();
}

TEST_F(GenerateFlowTest, FinishedSceneIsShownAndTheSettingsAreSaved) {
    ChooseBoth();
    flow->RunGenerate();
    now += 2 * kSecond + kSecond / 2;
    WaitForEnd();
    EXPECT_EQ(Status(), L"Conversion successful! (2 sec)");
    EXPECT_EQ(scenes, std::vector<std::wstring>{In("out/scene.ply")});
    EXPECT_TRUE(sidebar.generate->isEnabled());
    EXPECT_EQ(SavedSettings().outputDir, In("out"));
    EXPECT_EQ(SavedSettings().outputFilename, L"scene.ply");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "out/scene.ply"));
}

TEST_F(GenerateFlowTest, EveryStageIsReported) {
    ChooseBoth();
    flow->RunGenerate();
    WaitForEnd();
    std::vector<std::wstring> texts;
    for (const auto& message : window.received) texts.push_back(message.text.value());
    EXPECT_EQ(texts, (std::vector<std::wstring>{
                         L"Preprocessing image\u2026", L"Running ONNX inference (CPU)\u2026",
                         L"Unprojecting Gaussians\u2026", kSavingStage, In("out/scene.ply")}));
}

TEST_F(GenerateFlowTest, SceneIsHandedOnBeforeTheSettingsAreSaved) {
    flow->onScene = [this](const std::wstring& /*path*/) { settings.isSharpMode = false; };
    Done(0, L"/a.ply");
    EXPECT_FALSE(SavedSettings().isSharpMode);
}

TEST_F(GenerateFlowTest, TimeInQuestionsIsNotCounted) {
    ChooseBoth();
    settings.executionProvider = 1;
    user.whileAsked = [this] { now += 60 * kSecond; };
    flow->RunGenerate();
    Progress(L"stage");
    EXPECT_EQ(Status(), L"stage (0 sec)");
    WaitForEnd();
}

TEST_F(GenerateFlowTest, StageTextCarriesWholeSeconds) {
    now = 13 * kSecond - 1;
    Progress(L"Unprojecting Gaussians\u2026");
    EXPECT_EQ(Status(), L"Unprojecting Gaussians\u2026 (12 sec)");
}

TEST_F(GenerateFlowTest, JapaneseTextsCarrySeconds) {
    gUiText = &kJapaneseText;
    now = 12 * kSecond;
    Progress(L"stage");
    EXPECT_EQ(Status(), L"stage (12 秒)");
    Done(0, L"/a.ply");
    EXPECT_EQ(Status(), L"変換完了！ (12 秒)");
    Done(1, L"no");
    EXPECT_EQ(Status(), L"エラー: no");
}

TEST_F(GenerateFlowTest, SecondsAdvanceBetweenStages) {
    ChooseBoth();
    window.then = nullptr;  // no stage is shown
    flow->RunGenerate();
    now += 7 * kSecond;
    EXPECT_TRUE(WaitUntil([this] { return Status() == L"Starting inference\u2026 (7 sec)"; }));
}

TEST_F(GenerateFlowTest, EndStopsTheSeconds) {
    ChooseBoth();
    flow->RunGenerate();
    WaitForEnd();
    int asked = 0;
    flow->clock = [&asked] { return ++asked; };
    // A timer that begins later than the flow's has ticked.
    bool ticked = false;
    QTimer::singleShot(1100, Qt::PreciseTimer, [&ticked] { ticked = true; });
    EXPECT_TRUE(WaitUntil([&ticked] { return ticked; }));
    EXPECT_EQ(asked, 0);
}

TEST_F(GenerateFlowTest, MessagesWithoutTextAreIgnored) {
    sidebar.generate->setEnabled(false);
    sidebar.generateStatus->setText("as it was");
    flow->OnProgress(WindowMessage(kGenerateProgressMessage, 0));
    Done(0, std::nullopt);
    Done(1, std::nullopt);
    EXPECT_EQ(Status(), L"as it was");
    EXPECT_FALSE(sidebar.generate->isEnabled());
    EXPECT_TRUE(scenes.empty());
    EXPECT_FALSE(SettingsAreSaved());
}

TEST_F(GenerateFlowTest, MissingModelFileIsAFailureOfTheEngine) {
    ChooseBoth();
    settings.modelPath = In("gone.onnx");
    flow->RunGenerate();
    WaitForEnd();
    EXPECT_EQ(Status().find(L"Error: "), 0U);
    EXPECT_NE(Status().find(L"gone.onnx"), std::wstring::npos) << ToUtf8(Status());
    EXPECT_TRUE(sidebar.generate->isEnabled());
    EXPECT_TRUE(scenes.empty());
    EXPECT_TRUE(SettingsAreSaved());
    EXPECT_FALSE(std::filesystem::exists(folder / "out/scene.ply"));
}

TEST_F(GenerateFlowTest, TiffPhotographFails) {
    ChooseBoth();
    flow->inputImagePath =
        FromPath(folder.Write("photo.tif", std::string("II*\0\b\0\0\0\0\0", 10)));
    flow->RunGenerate();
    WaitForEnd();
    EXPECT_EQ(Status(), L"Error: stb_image failed to load (unknown image type)");
}

TEST_F(GenerateFlowTest, OutputFolderThatCannotBeMadeIsToldAndTheNextStartIsFree) {
    ChooseBoth();
    const auto file = folder.Write("file", "kept");
    user.scene = In("file/scene.ply");
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"Error: create_directories: Not a directory: \"" + FromPath(file) + L"\"");
    EXPECT_TRUE(sidebar.generate->isEnabled());
    EXPECT_FALSE(engine.busy);
    EXPECT_EQ(test::ReadFile(file), "kept");

    user.scene = In("scene.ply");
    flow->RunGenerate();
    WaitForEnd();
    EXPECT_EQ(scenes, std::vector<std::wstring>{In("scene.ply")});
}

TEST_F(GenerateFlowTest, CudaThatIsNotListedWarnsOnceAndFails) {
    ChooseBoth();
    settings.executionProvider = 1;
    flow->RunGenerate();
    EXPECT_EQ(user.fallbackWarnings, 1);
    WaitForEnd();
    EXPECT_EQ(Status(),
              L"Error: CUDAExecutionProvider not found in the loaded DLL. Supported: "
              L"CPUExecutionProvider ");
    EXPECT_EQ(settings.executionProvider, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "out/scene.ply"));
}

TEST_F(GenerateFlowTest, CudaThatIsListedWarnsNot) {
    ChooseBoth();
    settings.executionProvider = 1;
    flow->providers = [] { return std::vector<std::string>{kCudaProviderName}; };
    flow->RunGenerate();
    EXPECT_EQ(user.fallbackWarnings, 0);
    WaitForEnd();
}

TEST_F(GenerateFlowTest, ProvidersAreNotAskedForTheProcessor) {
    ChooseBoth();
    flow->providers = []() -> std::vector<std::string> {
        ADD_FAILURE();
        return {};
    };
    flow->RunGenerate();
    WaitForEnd();
}

TEST_F(GenerateFlowTest, ListThatFailsIsLeftToTheEngine) {
    ChooseBoth();
    settings.executionProvider = 1;
    flow->providers = []() -> std::vector<std::string> { throw std::runtime_error("too old"); };
    flow->RunGenerate();
    EXPECT_EQ(user.fallbackWarnings, 0);
    EXPECT_TRUE(engine.busy);
    WaitForEnd();
}

TEST_F(GenerateFlowTest, NothingStartsWhenTheWindowClosesDuringTheWarning) {
    ChooseBoth();
    settings.executionProvider = 1;
    user.whileAsked = [this] {
        if (user.fallbackWarnings > 0) flow->Stop();
    };
    flow->RunGenerate();
    EXPECT_FALSE(engine.busy);
    EXPECT_EQ(Status(), L"");
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));
}

TEST_F(GenerateFlowTest, NothingStartsWhenTheFlowGoesDuringTheWarning) {
    ChooseBoth();
    settings.executionProvider = 1;
    user.whileAsked = [this] {
        if (user.fallbackWarnings > 0) flow.reset();
    };
    flow->RunGenerate();
    EXPECT_FALSE(engine.busy);
}

TEST_F(GenerateFlowTest, ConversionOutlivesTheWindow) {
    ChooseBoth();
    flow->RunGenerate();
    window.mailbox->Close();
    flow.reset();
    EXPECT_TRUE(WaitUntil([this] { return !engine.busy; }));
    EXPECT_TRUE(window.received.empty());
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "out/scene.ply"));
}

TEST_F(GenerateFlowTest, FilesOfABatchAreNotShown) {
    ChooseBoth();
    flow->RunGenerate();
    WaitForEnd();
    const std::size_t count = window.received.size();
    std::thread([this] {
        engine.Run(settings.modelPath, flow->inputImagePath, In("batch.ply"), 1.0F,
                   ExecutionProvider::Cpu);
    }).join();
    test::DeliverPosted();
    EXPECT_TRUE(std::filesystem::exists(folder / "batch.ply"));
    EXPECT_EQ(window.received.size(), count);
    EXPECT_EQ(scenes.size(), 1U);
}

TEST_F(GenerateFlowTest, ModelNameIsShownAndTheButtonGoesWithTheFile) {
    ChooseBoth();
    flow->UpdateModelDisplay();
    EXPECT_EQ(sidebar.modelName->text(), "echo.onnx");
    EXPECT_TRUE(sidebar.downloadModel->isHidden());
    settings.modelPath = In("gone.onnx");
    flow->UpdateModelDisplay();
    EXPECT_EQ(sidebar.modelName->text(), "gone.onnx");
    EXPECT_FALSE(sidebar.downloadModel->isHidden());
}

TEST_F(GenerateFlowTest, WithoutAModelDownloadIsOffered) {
    flow->UpdateModelDisplay();
    EXPECT_EQ(sidebar.modelName->text(), "(Not selected)");
    EXPECT_FALSE(sidebar.downloadModel->isHidden());
}

TEST_F(GenerateFlowTest, ModelDisplayHidesTheProgressOfADownload) {
    sidebar.downloadProgress->show();
    sidebar.downloadStatus->show();
    flow->UpdateModelDisplay();
    EXPECT_TRUE(sidebar.downloadProgress->isHidden());
    EXPECT_TRUE(sidebar.downloadStatus->isHidden());
}

TEST_F(GenerateFlowTest, GenerateNeedsPhotographAndModelAndAnIdleEngine) {
    const auto enabled = [this] {
        flow->UpdateModelDisplay();
        return sidebar.generate->isEnabled();
    };
    EXPECT_FALSE(enabled());
    ChooseBoth();
    EXPECT_TRUE(enabled());
    engine.busy = true;
    EXPECT_FALSE(enabled());
    engine.busy = false;
    settings.modelPath.clear();
    EXPECT_FALSE(enabled());
    ChooseBoth();
    flow->inputImagePath.clear();
    EXPECT_FALSE(enabled());
}

}  // namespace
}  // namespace vistrel
