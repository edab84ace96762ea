// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/shell/window/generate_flow_fixture.h"

#include <future>
#include <utility>

#include "base/last_failure.h"
#include "batch/batch_converter.h"

namespace vistrel {
namespace {

using test::GenerateFlowTest;
using test::kSecond;
using test::WaitUntil;

TEST_F(GenerateFlowTest, FinishedSceneIsShownAndTheSettingsAreSaved) {
    ChooseBoth();
    flow->RunGenerate();
    now += 2 * kSecond + kSecond / 2;
    WaitForEnd();
    EXPECT_EQ(Status(), L"Conversion successful! (2 sec)");
    EXPECT_EQ(scenes, std::vector<std::wstring>{In("out/scene.ply")});
    EXPECT_TRUE(Find(ControlId::Generate)->isEnabled());
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
    EXPECT_EQ(texts,
              (std::vector<std::wstring>{
                  L"Preprocessing image\u2026", L"Running ONNX inference (CPU)\u2026",
                  L"Unprojecting Gaussians\u2026", L"Saving PLY\u2026", In("out/scene.ply")}));
}

TEST_F(GenerateFlowTest, NetworkThatCannotBeOpenedIsReported) {
    ChooseBoth();
    settings.modelPath = FromPath(folder.Write("cut.onnx", "no network"));
    flow->RunGenerate();
    WaitForEnd();
    const auto& before = window.received.at(window.received.size() - 2);
    EXPECT_EQ(before.number, kModelFileErrorMessage);
    EXPECT_EQ(before.text, In("cut.onnx"));
    EXPECT_EQ(window.received.back().value, 1U);
}

TEST_F(GenerateFlowTest, NetworkThatFailsLaterIsNotReported) {
    ChooseBoth();
    settings.modelPath = FromPath(test::ModelFile("three_outputs"));
    flow->RunGenerate();
    WaitForEnd();
    EXPECT_EQ(window.received.back().value, 1U);
    for (const auto& message : window.received) EXPECT_NE(message.number, kModelFileErrorMessage);
}

TEST_F(GenerateFlowTest, FailureIsKeptForReportsOfProblems) {
    Done(1, L"Failed to load /home/me/a.jpg");
    EXPECT_TRUE(LastFailure().ends_with(": <file>")) << LastFailure();
}

TEST_F(GenerateFlowTest, SceneIsHandedOnBeforeTheSettingsAreSaved) {
    flow->onScene = [this](const std::wstring& /*path*/) { settings.isSharpMode = false; };
    Done(0, L"/a.ply");
    EXPECT_FALSE(SavedSettings().isSharpMode);
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
    sidebar.SetGenerateEnabled(false);
    sidebar.ShowStatus(L"as it was");
    flow->OnProgress(WindowMessage(kGenerateProgressMessage, 0));
    Done(0, std::nullopt);
    Done(1, std::nullopt);
    EXPECT_EQ(Status(), L"as it was");
    EXPECT_FALSE(Find(ControlId::Generate)->isEnabled());
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
    EXPECT_TRUE(Find(ControlId::Generate)->isEnabled());
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

TEST_F(GenerateFlowTest, ConversionOutlivesTheWindow) {
    ChooseBoth();
    flow->RunGenerate();
    window.mailbox->Close();
    flow.reset();
    EXPECT_TRUE(WaitUntil([this] { return !engine->busy; }));
    EXPECT_TRUE(window.received.empty());
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "out/scene.ply"));
}

// A batch converts with the window's engine.
class WindowAndBatch : public GenerateFlowTest {
  protected:
    WindowAndBatch() { ChooseBoth(); }

    // On the caller's thread: one file, into "batch/photo.ply".
    void RunBatch() {
        std::filesystem::create_directory(folder / "batch");
        BatchConverter(engine).Run(settings.modelPath, FromPath(folder.Path()), In("batch"), 0);
        EXPECT_TRUE(std::filesystem::exists(folder / "batch/photo.ply"));
    }
};

TEST_F(WindowAndBatch, BatchAfterAConversionIsNotHeardOf) {
    flow->RunGenerate();
    WaitForEnd();
    const std::size_t count = window.received.size();
    RunBatch();
    test::DeliverPosted();
    EXPECT_EQ(window.received.size(), count);
    EXPECT_EQ(scenes, std::vector<std::wstring>{In("out/scene.ply")});
}

TEST_F(WindowAndBatch, BatchBesideAConversionIsNotHeardOf) {
    std::promise<void> held;
    std::promise<void> goOn;
    whileListing = [&, first = true]() mutable {
        if (!std::exchange(first, false)) return;
        held.set_value();
        goOn.get_future().wait();
    };
    flow->RunGenerate();
    held.get_future().wait();
    RunBatch();
    test::DeliverPosted();
    EXPECT_EQ(window.received.size(), 2U);  // the first stages of the window's own
    EXPECT_TRUE(scenes.empty());
    goOn.set_value();
    WaitForEnd();
    EXPECT_EQ(window.received.size(), 5U);
    EXPECT_EQ(scenes, std::vector<std::wstring>{In("out/scene.ply")});
}

}  // namespace
}  // namespace vistrel
