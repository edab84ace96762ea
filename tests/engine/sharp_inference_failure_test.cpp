// SPDX-License-Identifier: GPL-3.0-or-later
// What a run of the network refuses, and in which words.
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "engine/sharp_inference.h"
#include "tests/support/capture.h"
#include "tests/support/run_model.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"

namespace vistrel {
namespace {

using test::FailureOf;
using test::LogOf;
using test::NumberedImage;
using test::RunFile;
using test::RunModel;

std::string FailureOfModel(std::string_view model) {
    return FailureOf([model] { static_cast<void>(RunModel(model)); });
}

// The message with which a run on CUDA ends when these providers are said to be there.
std::string CudaFailure(const ProviderList& providers) {
    return FailureOf([&providers] {
        static_cast<void>(RunSharpInference(FromPath(test::ModelFile("echo")), NumberedImage(),
                                            1.0F, ExecutionProvider::Cuda, providers));
    });
}

TEST(SharpInferenceFailure, LogEndsWhereTheRunFails) {
    EXPECT_EQ(LogOf([] { static_cast<void>(FailureOfModel("unknown_input")); }),
              "  Using CPU Execution Provider.\n"
              "  Input  names: image disparity_factor depth \n"
              "  Output names: output0 \n");
}

TEST(SharpInferenceFailure, CudaThatIsNotListedFailsWithTheNamesThatAre) {
    const std::string start = "CUDAExecutionProvider not found in the loaded DLL. Supported: ";
    using Names = std::vector<std::string>;
    EXPECT_EQ(CudaFailure([] { return Names{"CPUExecutionProvider"}; }),
              start + "CPUExecutionProvider ");
    EXPECT_EQ(CudaFailure([] { return Names{"A", "CUDA", "B"}; }), start + "A CUDA B ");
    EXPECT_EQ(CudaFailure([] { return Names(); }), start);
}

TEST(SharpInferenceFailure, CudaThatIsNotListedLogsNothing) {
    EXPECT_EQ(
        LogOf([] { static_cast<void>(CudaFailure([] { return std::vector<std::string>(); })); }),
        "");
}

// The library beside the tests lists CUDA or not; its CUDA part is not installed in any case.
TEST(SharpInferenceFailure, CudaThatCannotBeLoadedFailsInTheWordsOfOnnxRuntime) {
    std::string failure;
    const std::string log = LogOf([&failure] {
        failure = CudaFailure([] { return std::vector<std::string>{kCudaProviderName}; });
    });
    EXPECT_NE(failure, "");
    EXPECT_EQ(failure.find("not found in the loaded DLL"), std::string::npos) << failure;
    EXPECT_EQ(log, "");
}

TEST(SharpInferenceFailure, ProviderListsOwnFailureIsPassedOn) {
    EXPECT_EQ(
        CudaFailure([]() -> std::vector<std::string> { throw std::runtime_error("no list"); }),
        "no list");
}

TEST(SharpInferenceFailure, UnknownInputIsRefused) {
    EXPECT_EQ(FailureOfModel("unknown_input"), "Unexpected model input: depth");
}

TEST(SharpInferenceFailure, ThirteenColumnsAreRefused) {
    EXPECT_EQ(FailureOfModel("columns_13"), "Unexpected single-output column count: 13");
}

TEST(SharpInferenceFailure, OtherNumberOfOutputsIsRefused) {
    EXPECT_EQ(FailureOfModel("two_outputs"), "Unexpected number of model outputs: 2");
    EXPECT_EQ(FailureOfModel("three_outputs"), "Unexpected number of model outputs: 3");
}

TEST(SharpInferenceFailure, OutputOfOtherTypeIsRefused) {
    for (const std::string_view model :
         {"float16", "float64", "int64", "sequence", "missing_optional"}) {
        EXPECT_EQ(FailureOfModel(model), "Unexpected type of model output 0: not float32") << model;
    }
    EXPECT_EQ(FailureOfModel("five_outputs_float16_colors"),
              "Unexpected type of model output 3: not float32");
}

TEST(SharpInferenceFailure, OutputWithoutRowsIsRefused) {
    EXPECT_EQ(FailureOfModel("scalar"), "Unexpected shape of model output 0: []");
    EXPECT_EQ(FailureOfModel("rank1"),
              "Unexpected size of model output 0: 14 values instead of 196");
}

TEST(SharpInferenceFailure, LaterOutputThatIsTooShortIsRefused) {
    EXPECT_EQ(FailureOfModel("five_outputs_short_1"),
              "Unexpected size of model output 1: 9 values instead of 12");
    EXPECT_EQ(FailureOfModel("five_outputs_short_2"),
              "Unexpected size of model output 2: 12 values instead of 16");
    EXPECT_EQ(FailureOfModel("five_outputs_short_3"),
              "Unexpected size of model output 3: 9 values instead of 12");
    EXPECT_EQ(FailureOfModel("five_outputs_short_4"),
              "Unexpected size of model output 4: 3 values instead of 4");
}

TEST(SharpInferenceFailure, InputOfOtherShapeOrTypeFailsInTheWordsOfOnnxRuntime) {
    EXPECT_NE(FailureOfModel("small_image_input").find("Got invalid dimensions"),
              std::string::npos);
    EXPECT_NE(FailureOfModel("float16_image_input").find("tensor(float16)"), std::string::npos);
}

TEST(SharpInferenceFailure, TensorThatIsTooShortFails) {
    PreprocessedImage image = NumberedImage();
    image.tensor.pop_back();
    EXPECT_NE(FailureOf([&image] {
                  static_cast<void>(RunSharpInference(FromPath(test::ModelFile("echo")), image,
                                                      1.0F, ExecutionProvider::Cpu));
              }),
              "");
}

TEST(SharpInferenceFailure, FileThatIsNoNetworkFails) {
    for (const std::string_view model : {"cut", "noise", "empty"}) {
        EXPECT_NE(FailureOfModel(model), "") << model;
    }
}

TEST(SharpInferenceFailure, MissingFileFailsWithItsName) {
    const test::TemporaryFolder folder;
    const std::string failure =
        FailureOf([&folder] { static_cast<void>(RunFile(folder / "not there.onnx")); });
    EXPECT_NE(failure.find("not there.onnx"), std::string::npos) << failure;
}

TEST(SharpInferenceFailure, EmptyNameOrFolderInPlaceOfAFileFails) {
    const test::TemporaryFolder folder;
    EXPECT_NE(FailureOf([] { static_cast<void>(RunFile(std::filesystem::path())); }), "");
    EXPECT_NE(FailureOf([&folder] { static_cast<void>(RunFile(folder.Path())); }), "");
}

TEST(SharpInferenceFailure, FailedRunLeavesTheNextOneAlone) {
    EXPECT_NE(FailureOfModel("noise"), "");
    EXPECT_EQ(RunModel("echo").count, 4);
}

}  // namespace
}  // namespace vistrel
