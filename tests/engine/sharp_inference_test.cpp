// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/sharp_inference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <numeric>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/capture.h"
#include "tests/support/run_model.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"

namespace vistrel {
namespace {

using test::LogOf;
using test::NumberedImage;
using test::RunFile;
using test::RunModel;

// The five arrays, row by row, as the network wrote them.
std::vector<float> Rows(const GaussianSet& set) {
    std::vector<float> rows;
    const auto add = [&rows](const AttributeArray& array, std::size_t i) {
        const auto components = static_cast<std::size_t>(array.components);
        const float* values = array.data.data() + i * components;
        rows.insert(rows.end(), values, values + components);
    };
    for (std::size_t i = 0; i < static_cast<std::size_t>(set.count); ++i) {
        add(set.means, i);
        add(set.scales, i);
        add(set.quaternions, i);
        add(set.colors, i);
        add(set.opacities, i);
    }
    return rows;
}

// What the echo networks make of NumberedImage.
std::vector<float> EchoedRows(float disparityFactor) {
    std::vector<float> rows;
    int sample = 5;
    for (int i = 0; i < 4; ++i) {
        for (int column = 0; column < 13; ++column, sample += 138782) {
            rows.push_back(static_cast<float>(sample));
        }
        rows.push_back(disparityFactor);
    }
    return rows;
}

std::vector<float> CountedRows() {
    std::vector<float> rows(std::size_t{4} * 14);
    std::iota(rows.begin(), rows.end(), 0.5F);
    return rows;
}

TEST(SharpInference, TensorAndDisparityFactorReachTheNetwork) {
    EXPECT_EQ(Rows(RunModel("echo")), EchoedRows(1.0F));
}

TEST(SharpInference, DisparityFactorIsPassedOn) {
    EXPECT_EQ(Rows(RunModel("echo", 0.375F)), EchoedRows(0.375F));
}

TEST(SharpInference, InputsAreMatchedByName) {
    EXPECT_EQ(Rows(RunModel("echo_swapped_inputs")), EchoedRows(1.0F));
}

TEST(SharpInference, NetworkWithImageAloneRuns) {
    EXPECT_EQ(Rows(RunModel("echo_image_only")), EchoedRows(0.0F));
}

TEST(SharpInference, NetworkWithShapesLeftOpenRuns) {
    EXPECT_EQ(Rows(RunModel("echo_dynamic_shapes")), EchoedRows(1.0F));
}

TEST(SharpInference, OutputOfTwoDimensionsIsUnderstood) {
    EXPECT_EQ(Rows(RunModel("echo_rank2")), EchoedRows(1.0F));
}

TEST(SharpInference, FiveOutputsBecomeTheAttributesInOrder) {
    for (const std::string_view model : {"five_outputs", "five_outputs_rank2"}) {
        const GaussianSet set = RunModel(model);
        std::vector<float> values;
        for (const AttributeArray* array :
             {&set.means, &set.scales, &set.quaternions, &set.colors, &set.opacities}) {
            values.insert(values.end(), array->data.begin(), array->data.end());
        }
        EXPECT_EQ(values, CountedRows()) << model;
    }
}

TEST(SharpInference, OutputOfFullSizeArrivesWhole) {
    const GaussianSet set = RunModel("full_size");
    ASSERT_EQ(set.count, 2 * 768 * 768);
    const std::vector<float> rows = Rows(set);
    std::vector<float> expected(rows.size());
    std::iota(expected.begin(), expected.end(), 0.0F);
    EXPECT_TRUE(rows == expected);
}

TEST(SharpInference, NoGaussiansAreAnEmptyScene) {
    EXPECT_EQ(RunModel("no_gaussians").count, 0);
    EXPECT_EQ(RunModel("no_gaussians_five_outputs").count, 0);
}

TEST(SharpInference, PictureIsLeftAsItIs) {
    static_cast<void>(RunModel("echo"));
    AlignedVector<float> numbers(NumberedImage().tensor.size());
    std::iota(numbers.begin(), numbers.end(), 0.0F);
    EXPECT_TRUE(NumberedImage().tensor == numbers);
}

TEST(SharpInference, LogTellsProviderNamesAndCount) {
    EXPECT_EQ(LogOf([] { static_cast<void>(RunModel("echo")); }),
              "  Using CPU Execution Provider.\n"
              "  Input  names: image disparity_factor \n"
              "  Output names: gaussians \n"
              "  Running inference...\n"
              "  Parsed 4 Gaussians.\n");
}

TEST(SharpInference, LogNamesInputsAndOutputsInTheNetworksOrder) {
    const std::string log = LogOf([] { static_cast<void>(RunModel("echo_swapped_inputs")); });
    EXPECT_NE(log.find("  Input  names: disparity_factor image \n"), std::string::npos) << log;
    const std::string five = LogOf([] { static_cast<void>(RunModel("five_outputs")); });
    EXPECT_NE(five.find("  Output names: output0 output1 output2 output3 output4 \n"),
              std::string::npos)
        << five;
}

TEST(SharpInference, UnknownProviderNumberIsTheCpu) {
    GaussianSet set;
    const std::string log = LogOf([&set] {
        set = RunSharpInference(FromPath(test::ModelFile("echo")), NumberedImage(), 1.0F,
                                static_cast<ExecutionProvider>(-7));
    });
    EXPECT_EQ(set.count, 4);
    EXPECT_EQ(log.rfind("  Using CPU Execution Provider.\n", 0), 0U) << log;
}

TEST(SharpInference, CpuProviderIsAvailable) {
    const std::vector<std::string> providers = AvailableExecutionProviders();
    EXPECT_NE(std::find(providers.begin(), providers.end(), "CPUExecutionProvider"),
              providers.end());
}

TEST(SharpInference, OpacitiesBeyondTheGaussiansAreLeftOut) {
    EXPECT_EQ(RunModel("five_outputs_long_opacities").opacities.data.size(), 4U);
}

TEST(SharpInference, FileNameMayHoldAnyBytes) {
    const test::TemporaryFolder folder;
    for (const char* name : {"\xE5\x86\x99\xE7\x9C\x9F.onnx", "a b.onnx", "#1%20.onnx",
                             "\xFF\xC0\x80.onnx", "line\nfeed.onnx", "no extension"}) {
        std::filesystem::copy_file(test::ModelFile("echo"), folder / name);
        EXPECT_EQ(RunFile(folder / name).count, 4) << name;
    }
}

TEST(SharpInference, TwoRunsAtOnceKeepTheirResultsApart) {
    std::vector<float> other;
    std::thread thread([&other] { other = Rows(RunModel("echo", 0.5F)); });
    const std::vector<float> own = Rows(RunModel("echo", 2.0F));
    thread.join();
    EXPECT_EQ(own, EchoedRows(2.0F));
    EXPECT_EQ(other, EchoedRows(0.5F));
}

}  // namespace
}  // namespace vistrel
