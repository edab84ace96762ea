// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/shell/window/generate_flow_fixture.h"

#include <stdexcept>

namespace vistrel {
namespace {

using test::GenerateFlowTest;
using test::kSecond;

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
    engine->busy = true;
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"");
    EXPECT_TRUE(user.proposals.empty());
    engine->busy = false;
}

TEST_F(GenerateFlowTest, WithoutAModelOnlyTheStatusSaysSo) {
    ChooseBoth();
    settings.modelPath.clear();
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"Please select or download the ONNX model first.");
    EXPECT_TRUE(user.proposals.empty());
    EXPECT_FALSE(engine->busy);
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
    EXPECT_FALSE(engine->busy);
    EXPECT_FALSE(SettingsAreSaved());
}

TEST_F(GenerateFlowTest, StartDisablesTheButtonAndShowsTheFirstText) {
    ChooseBoth();
    flow->UpdateButton();
    flow->RunGenerate();
    EXPECT_TRUE(engine->busy);
    EXPECT_FALSE(Find(ControlId::Generate)->isEnabled());
    EXPECT_EQ(Status(), L"Starting inference\u2026");
    EXPECT_EQ(settings.outputDir, In("out"));
    EXPECT_EQ(settings.outputFilename, L"scene.ply");
    EXPECT_FALSE(SettingsAreSaved());
    WaitForEnd();
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

TEST_F(GenerateFlowTest, OutputFolderThatCannotBeMadeIsToldAndTheNextStartIsFree) {
    ChooseBoth();
    const auto file = folder.Write("file", "kept");
    user.scene = In("file/scene.ply");
    flow->RunGenerate();
    EXPECT_EQ(Status(), L"Error: create_directories: Not a directory: \"" + FromPath(file) + L"\"");
    EXPECT_TRUE(Find(ControlId::Generate)->isEnabled());
    EXPECT_FALSE(engine->busy);
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
    EXPECT_TRUE(engine->busy);
    WaitForEnd();
}

TEST_F(GenerateFlowTest, NothingStartsWhenTheWindowClosesDuringTheWarning) {
    ChooseBoth();
    settings.executionProvider = 1;
    user.whileAsked = [this] {
        if (user.fallbackWarnings > 0) flow->Stop();
    };
    flow->RunGenerate();
    EXPECT_FALSE(engine->busy);
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
    EXPECT_FALSE(engine->busy);
}

TEST_F(GenerateFlowTest, GenerateNeedsPhotographAndModelAndAnIdleEngine) {
    const auto enabled = [this] {
        flow->UpdateButton();
        return Find(ControlId::Generate)->isEnabled();
    };
    EXPECT_FALSE(enabled());
    ChooseBoth();
    EXPECT_TRUE(enabled());
    engine->busy = true;
    EXPECT_FALSE(enabled());
    engine->busy = false;
    settings.modelPath.clear();
    EXPECT_FALSE(enabled());
    ChooseBoth();
    flow->inputImagePath.clear();
    EXPECT_FALSE(enabled());
}

}  // namespace
}  // namespace vistrel
