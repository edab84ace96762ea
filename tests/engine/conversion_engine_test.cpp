// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/conversion_engine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

std::wstring GoodModel() {
    return FromPath(test::ModelFile("echo"));
}
std::wstring WrongModel() {
    return FromPath(test::ModelFile("three_outputs"));
}

using test::ReadFile;

// The ending of the PLY files that the engine writes: image_size (2 x 4), frame (2 x 4), disparity
// (2 x 4), color_space (1) and version (3).
constexpr std::size_t kBytesFromImageSizeOn = 28;

class ConversionEngineTest : public testing::Test {
  protected:
    // A 4 x 3 picture that decodes; the network at `model`; the output "out.ply".
    bool Run(const std::wstring& model, ExecutionProvider provider = ExecutionProvider::Cpu) {
        return engine_.Run(Job(model, provider), callbacks_);
    }

    [[nodiscard]] ConversionJob Job(const std::wstring& model, ExecutionProvider provider) const {
        return {.modelPath = model,
                .inputPath = FromPath(photo_),
                .outputPath = FromPath(output_),
                .provider = provider};
    }

    // The single failure that was reported.
    [[nodiscard]] std::wstring Failure() const {
        EXPECT_EQ(results_.size(), 1U);
        EXPECT_FALSE(results_.empty() || results_.front().first);
        return results_.empty() ? L"" : results_.front().second;
    }

    test::TemporaryFolder folder_;
    std::filesystem::path photo_ =
        folder_.Write("photo.png", test::EncodePng(test::NoisePicture(4, 3)));
    std::filesystem::path output_ = folder_ / "out.ply";
    ConversionEngine engine_;
    std::vector<std::wstring> stages_;
    std::vector<std::pair<bool, std::wstring>> results_;
    ConversionCallbacks callbacks_{
        [this](const std::wstring& stage) { stages_.push_back(stage); },
        [this](bool success, const std::wstring& text) { results_.emplace_back(success, text); }};
};

TEST_F(ConversionEngineTest, GoodRunReportsItsStagesInOrderAndThenThePath) {
    EXPECT_TRUE(Run(GoodModel()));
    EXPECT_EQ(stages_, (std::vector<std::wstring>{
                           L"Preprocessing image\u2026", L"Running ONNX inference (CPU)\u2026",
                           L"Unprojecting Gaussians\u2026", L"Saving PLY\u2026"}));
    ASSERT_EQ(results_.size(), 1U);
    EXPECT_EQ(results_.front(), std::make_pair(true, FromPath(output_)));
    EXPECT_EQ(ReadFile(output_).substr(0, 4), "ply\n");
}

TEST_F(ConversionEngineTest, WriterOfTheOwnerGetsTheSceneAndItsCamera) {
    std::wstring path;
    std::int32_t count = 0;
    std::vector<float> numbers;
    const ConversionEngine engine(
        AvailableExecutionProviders, {},
        [&](const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
            std::uint32_t width, std::uint32_t height, float keepRatio) {
            path = outputPath;
            count = gaussians.count;
            numbers = {focalPx, static_cast<float>(width), static_cast<float>(height), keepRatio};
        });
    ConversionJob job = Job(GoodModel(), ExecutionProvider::Cpu);
    job.keepRatio = 0.5F;
    EXPECT_TRUE(engine.Run(job, callbacks_));
    EXPECT_EQ(path, FromPath(output_));
    EXPECT_EQ(count, 4);
    EXPECT_EQ(numbers, (std::vector<float>{4, 4, 3, 0.5F}));
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, WhatTheWriterThrowsFailsTheRun) {
    const ConversionEngine engine(
        AvailableExecutionProviders, {},
        [](const GaussianSet&, const std::wstring&, float, std::uint32_t, std::uint32_t, float) {
            throw std::runtime_error("no room");
        });
    EXPECT_FALSE(engine.Run(Job(GoodModel(), ExecutionProvider::Cpu), callbacks_));
    EXPECT_EQ(Failure(), L"no room");
}

TEST_F(ConversionEngineTest, RunWithoutCallbacksWorks) {
    EXPECT_TRUE(engine_.Run(Job(GoodModel(), ExecutionProvider::Cpu)));
    EXPECT_FALSE(engine_.Run(Job(L"no such model", ExecutionProvider::Cpu)));
    EXPECT_TRUE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, PictureSizeInTheFileIsTheUprightOne) {
    photo_ = folder_.Write("turned.jpg",
                           test::JpegWithExif(test::EncodeJpeg(test::NoisePicture(4, 3), 90),
                                              test::TiffBlock(test::OrientationEntry(6))));
    ASSERT_TRUE(Run(GoodModel()));
    const std::string ply = ReadFile(output_);
    std::uint32_t size[2] = {};
    std::memcpy(size, ply.data() + ply.size() - kBytesFromImageSizeOn, sizeof size);
    EXPECT_EQ(size[0], 3U);
    EXPECT_EQ(size[1], 4U);
}

TEST_F(ConversionEngineTest, NamesWithAnyBytesWork) {
    const std::string odd = "\xE5\x86\x99\xE7\x9C\x9F # \xFF";
    photo_ = folder_.Write(odd + ".png", test::EncodePng(test::NoisePicture(4, 3)));
    output_ = folder_ / (odd + ".ply");
    const std::filesystem::path model =
        folder_.Write(odd + ".onnx", ReadFile(test::ModelFile("echo")));
    EXPECT_TRUE(Run(FromPath(model)));
    EXPECT_TRUE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, OpeningTheNetworkIsToldBetweenTheSecondStageAndTheThird) {
    callbacks_.onNetworkOpened = [this] { stages_.emplace_back(L"opened"); };
    ASSERT_TRUE(Run(GoodModel()));
    ASSERT_EQ(stages_.size(), 5U);
    EXPECT_EQ(stages_[2], L"opened");
}

TEST_F(ConversionEngineTest, RunDoesNotTouchBusy) {
    engine_.busy = true;
    EXPECT_TRUE(Run(GoodModel()));
    EXPECT_TRUE(engine_.busy);
}

TEST_F(ConversionEngineTest, KeepRatioThinsTheScene) {
    ConversionJob job = Job(GoodModel(), ExecutionProvider::Cpu);
    job.keepRatio = 0.0F;
    ASSERT_TRUE(engine_.Run(job));
    EXPECT_NE(ReadFile(output_).find("\nelement vertex 1\n"), std::string::npos);
}

TEST_F(ConversionEngineTest, MissingPictureFailsAndLeavesNoPly) {
    std::filesystem::remove(photo_);
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"Failed to open file for stb_image");
    EXPECT_EQ(stages_.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, CorruptPictureFailsAndLeavesNoPly) {
    photo_ = folder_.Write("broken.png", "this is no picture");
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure().substr(0, 26), L"stb_image failed to load (");
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, MissingModelFailsWithTheRuntimesTextAndLeavesNoPly) {
    EXPECT_FALSE(Run(L"no such model"));
    EXPECT_NE(Failure().find(L"no such model"), std::wstring::npos);
    EXPECT_EQ(stages_.size(), 2U);
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, ModelThatCannotBeOpenedIsToldBeforeTheEnd) {
    const std::vector<std::wstring> models = {L"no such model", FromPath(photo_), WrongModel(),
                                              GoodModel()};
    std::vector<bool> told;
    for (const std::wstring& model : models) {
        results_.clear();
        bool isTold = false;
        callbacks_.onModelFileError = [&] { isTold = results_.empty(); };
        Run(model);
        told.push_back(isTold);
    }
    EXPECT_EQ(told, (std::vector<bool>{true, true, false, false}));
}

TEST_F(ConversionEngineTest, WrongModelFailsWithTheParsersTextAndLeavesNoPly) {
    EXPECT_FALSE(Run(WrongModel()));
    EXPECT_EQ(Failure(), L"Unexpected number of model outputs: 3");
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, FailureBeforeWritingKeepsTheFormerFile) {
    folder_.Write("out.ply", "former scene");
    EXPECT_FALSE(Run(WrongModel()));
    EXPECT_EQ(ReadFile(output_), "former scene");
}

TEST_F(ConversionEngineTest, MissingOutputFolderFailsAndIsNotMade) {
    output_ = folder_ / "missing/out.ply";
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"Cannot open output file");
    EXPECT_EQ(stages_.size(), 4U);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "missing"));
}

TEST_F(ConversionEngineTest, UnlistedCudaFailsWithTheListAndNoFallback) {
    const ConversionEngine engine([] { return std::vector<std::string>{"CPUExecutionProvider"}; });
    EXPECT_FALSE(engine.Run(Job(GoodModel(), ExecutionProvider::Cuda), callbacks_));
    EXPECT_EQ(stages_.back(), L"Running ONNX inference (CUDA)\u2026");
    EXPECT_EQ(
        Failure(),
        L"CUDAExecutionProvider not found in the loaded DLL. Supported: CPUExecutionProvider ");
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, AnyOtherProviderNumberIsTheCpu) {
    EXPECT_TRUE(Run(GoodModel(), ExecutionProvider{7}));
    EXPECT_EQ(stages_.at(1), L"Running ONNX inference (CPU)\u2026");
}

// What a progress callback throws ends the run as a failure, at whichever stage it happens.
class ThrowingProgress : public ConversionEngineTest, public testing::WithParamInterface<int> {};

TEST_P(ThrowingProgress, EndsTheRunWithItsTextAndLeavesNoPly) {
    callbacks_.onProgress = [this](const std::wstring& stage) {
        stages_.push_back(stage);
        if (stages_.size() == static_cast<std::size_t>(GetParam())) {
            throw std::runtime_error("stop: \xE5\x81\x9C\xE6\xAD\xA2");
        }
    };
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"stop: \u505C\u6B62");
    EXPECT_EQ(stages_.size(), static_cast<std::size_t>(GetParam()));
    EXPECT_FALSE(std::filesystem::exists(output_));
}

INSTANTIATE_TEST_SUITE_P(AtEachStage, ThrowingProgress, testing::Values(1, 2, 3, 4));

TEST_F(ConversionEngineTest, ExceptionWithoutTextGivesAnEmptyMessage) {
    callbacks_.onProgress = [](const std::wstring&) { throw std::runtime_error(""); };
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"");
}

TEST_F(ConversionEngineTest, ForeignExceptionGivesTheGeneralMessage) {
    callbacks_.onProgress = [](const std::wstring&) { throw 42; };
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"Unknown error during inference.");
}

TEST_F(ConversionEngineTest, SuccessCallbackThatThrowsTurnsTheRunIntoAFailure) {
    callbacks_.onFinished = [this](bool success, const std::wstring& text) {
        if (success) throw std::runtime_error("window gone");
        results_.emplace_back(success, text);
    };
    EXPECT_FALSE(Run(GoodModel()));
    EXPECT_EQ(Failure(), L"window gone");
    EXPECT_TRUE(std::filesystem::exists(output_));
}

TEST_F(ConversionEngineTest, TwoRunsAtOnceOnOneEngine) {
    const auto run = [this](const char* name) {
        ConversionJob job = Job(GoodModel(), ExecutionProvider::Cpu);
        job.outputPath = FromPath(folder_ / name);
        EXPECT_TRUE(engine_.Run(job));
    };
    std::thread other(run, "other.ply");
    run("one.ply");
    other.join();
    EXPECT_EQ(ReadFile(folder_ / "one.ply"), ReadFile(folder_ / "other.ply"));
}

TEST_F(ConversionEngineTest, TwoRunsAtOnceReportEachToItsOwnCallbacks) {
    std::vector<std::wstring> otherStages;
    std::vector<std::pair<bool, std::wstring>> otherResults;
    const ConversionJob broken = Job(WrongModel(), ExecutionProvider::Cpu);
    const ConversionCallbacks others{
        [&](const std::wstring& stage) { otherStages.push_back(stage); },
        [&](bool success, const std::wstring& text) { otherResults.emplace_back(success, text); }};
    // The other run begins and ends while this one is at its second stage.
    callbacks_.onProgress = [&](const std::wstring& stage) {
        stages_.push_back(stage);
        if (stages_.size() == 2) std::thread([&] { engine_.Run(broken, others); }).join();
    };
    EXPECT_TRUE(Run(GoodModel()));
    EXPECT_EQ(stages_.size(), 4U);
    EXPECT_EQ(results_, (std::vector{std::pair(true, FromPath(output_))}));
    EXPECT_EQ(otherStages.size(), 2U);
    EXPECT_EQ(
        otherResults,
        (std::vector{std::pair(false, std::wstring(L"Unexpected number of model outputs: 3"))}));
}

}  // namespace
}  // namespace vistrel
