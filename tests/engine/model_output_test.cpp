// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/model_output.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/plain_model_output.h"

namespace vistrel {
namespace {

using Shape = std::vector<std::int64_t>;

// Outputs together with their memory: value number i is i + 0.5, counted through all outputs. The
// memory of every output is its own, so that a sanitizer sees the first read past its end.
class Outputs {
  public:
    explicit Outputs(const std::vector<Shape>& shapes) {
        float next = 0.5F;
        for (const Shape& shape : shapes) {
            std::int64_t size = 1;
            for (const std::int64_t dimension : shape) size *= dimension;
            std::vector<float>& values = memory_.emplace_back(static_cast<std::size_t>(size));
            std::iota(values.begin(), values.end(), next);
            next += static_cast<float>(size);
            outputs_.push_back({true, shape, values});
        }
    }

    ModelOutput& operator[](std::size_t i) { return outputs_[i]; }
    [[nodiscard]] const std::vector<ModelOutput>& All() const { return outputs_; }

  private:
    std::vector<std::vector<float>> memory_;
    std::vector<ModelOutput> outputs_;
};

Outputs FiveOutputs(std::int64_t count) {
    return Outputs({{1, count, 3}, {1, count, 3}, {1, count, 4}, {1, count, 3}, {1, count}});
}

// The message with which the outputs are refused.
std::string Refusal(const std::vector<ModelOutput>& outputs) {
    try {
        static_cast<void>(ParseModelOutputs(outputs));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "not refused";
}

void ExpectEqual(const AttributeArray& actual, const AttributeArray& expected) {
    EXPECT_EQ(actual.data, expected.data);
    EXPECT_EQ(actual.count, expected.count);
    EXPECT_EQ(actual.components, expected.components);
}

void ExpectEqual(const GaussianSet& actual, const GaussianSet& expected) {
    EXPECT_EQ(actual.count, expected.count);
    ExpectEqual(actual.means, expected.means);
    ExpectEqual(actual.scales, expected.scales);
    ExpectEqual(actual.quaternions, expected.quaternions);
    ExpectEqual(actual.colors, expected.colors);
    ExpectEqual(actual.opacities, expected.opacities);
}

TEST(ModelOutput, ColumnsOfTheSingleOutputBecomeTheAttributes) {
    const GaussianSet set = ParseModelOutputs(Outputs({{1, 2, 14}}).All());
    EXPECT_EQ(set.means.data, (AttributeValues{0.5F, 1.5F, 2.5F, 14.5F, 15.5F, 16.5F}));
    EXPECT_EQ(set.scales.data, (AttributeValues{3.5F, 4.5F, 5.5F, 17.5F, 18.5F, 19.5F}));
    EXPECT_EQ(set.quaternions.data,
              (AttributeValues{6.5F, 7.5F, 8.5F, 9.5F, 20.5F, 21.5F, 22.5F, 23.5F}));
    EXPECT_EQ(set.colors.data, (AttributeValues{10.5F, 11.5F, 12.5F, 24.5F, 25.5F, 26.5F}));
    EXPECT_EQ(set.opacities.data, (AttributeValues{13.5F, 27.5F}));
}

TEST(ModelOutput, EveryAttributeKnowsItsCountAndComponents) {
    const GaussianSet set = ParseModelOutputs(Outputs({{1, 5, 14}}).All());
    EXPECT_EQ(set.count, 5);
    for (const AttributeArray* array :
         {&set.means, &set.scales, &set.quaternions, &set.colors, &set.opacities}) {
        EXPECT_EQ(array->count, 5);
        EXPECT_EQ(array->data.size(), static_cast<std::size_t>(array->components) * 5);
    }
    EXPECT_EQ(set.means.components, 3);
    EXPECT_EQ(set.scales.components, 3);
    EXPECT_EQ(set.quaternions.components, 4);
    EXPECT_EQ(set.colors.components, 3);
    EXPECT_EQ(set.opacities.components, 1);
}

TEST(ModelOutput, SingleOutputOfTwoDimensionsMeansTheSame) {
    ExpectEqual(ParseModelOutputs(Outputs({{3, 14}}).All()),
                ParseModelOutputs(Outputs({{1, 3, 14}}).All()));
}

TEST(ModelOutput, EveryCountAroundABlockEqualsThePlainWay) {
    for (const std::int64_t count : {1, 2, 13, 63, 64, 65, 127, 128, 129, 1000, 4096}) {
        SCOPED_TRACE(count);
        const Outputs single({{1, count, 14}});
        ExpectEqual(ParseModelOutputs(single.All()), test::PlainParseModelOutputs(single.All()));
        const Outputs five = FiveOutputs(count);
        ExpectEqual(ParseModelOutputs(five.All()), test::PlainParseModelOutputs(five.All()));
    }
}

TEST(ModelOutput, ArraysThatFillManyPagesEqualThePlainWay) {
    const Outputs single({{1, 1000003, 14}});
    ExpectEqual(ParseModelOutputs(single.All()), test::PlainParseModelOutputs(single.All()));
}

TEST(ModelOutput, NaNAndInfinityPassThrough) {
    Outputs outputs({{1, 1, 14}});
    const std::vector<float> row(14, std::numeric_limits<float>::quiet_NaN());
    outputs[0].values = row;
    const GaussianSet set = ParseModelOutputs(outputs.All());
    EXPECT_TRUE(std::isnan(set.means.data[0]));
    EXPECT_TRUE(std::isnan(set.opacities.data[0]));
}

TEST(ModelOutput, FiveOutputsBecomeTheAttributes) {
    const GaussianSet set = ParseModelOutputs(FiveOutputs(2).All());
    EXPECT_EQ(set.count, 2);
    EXPECT_EQ(set.means.data, (AttributeValues{0.5F, 1.5F, 2.5F, 3.5F, 4.5F, 5.5F}));
    EXPECT_EQ(set.scales.data, (AttributeValues{6.5F, 7.5F, 8.5F, 9.5F, 10.5F, 11.5F}));
    EXPECT_EQ(set.quaternions.data,
              (AttributeValues{12.5F, 13.5F, 14.5F, 15.5F, 16.5F, 17.5F, 18.5F, 19.5F}));
    EXPECT_EQ(set.colors.data, (AttributeValues{20.5F, 21.5F, 22.5F, 23.5F, 24.5F, 25.5F}));
    EXPECT_EQ(set.opacities.data, (AttributeValues{26.5F, 27.5F}));
}

TEST(ModelOutput, FiveOutputsOfTwoDimensionsMeanTheSame) {
    ExpectEqual(ParseModelOutputs(Outputs({{2, 3}, {2, 3}, {2, 4}, {2, 3}, {2}}).All()),
                ParseModelOutputs(FiveOutputs(2).All()));
}

TEST(ModelOutput, NoGaussiansInTheSingleOutputAreAnEmptyScene) {
    for (const Shape& shape : {Shape{1, 0, 14}, Shape{0, 14}}) {
        const GaussianSet set = ParseModelOutputs(Outputs({shape}).All());
        EXPECT_EQ(set.count, 0);
        EXPECT_TRUE(set.means.data.empty());
        EXPECT_EQ(set.quaternions.components, 4);
    }
}

TEST(ModelOutput, NoGaussiansInFiveOutputsAreAnEmptyScene) {
    const GaussianSet set = ParseModelOutputs(FiveOutputs(0).All());
    EXPECT_EQ(set.count, 0);
    EXPECT_TRUE(set.opacities.data.empty());
    EXPECT_EQ(set.opacities.components, 1);
}

TEST(ModelOutput, OtherColumnCountIsRefused) {
    EXPECT_EQ(Refusal(Outputs({{1, 2, 13}}).All()), "Unexpected single-output column count: 13");
    EXPECT_EQ(Refusal(Outputs({{2, 15}}).All()), "Unexpected single-output column count: 15");
    EXPECT_EQ(Refusal(Outputs({{1, 2, 0}}).All()), "Unexpected single-output column count: 0");
    EXPECT_EQ(Refusal(Outputs({Shape{13}}).All()), "Unexpected single-output column count: 13");
}

TEST(ModelOutput, OtherNumberOfOutputsIsRefused) {
    EXPECT_EQ(Refusal({}), "Unexpected number of model outputs: 0");
    EXPECT_EQ(Refusal(Outputs({{1}, {1}}).All()), "Unexpected number of model outputs: 2");
    EXPECT_EQ(Refusal(Outputs({{1}, {1}, {1}}).All()), "Unexpected number of model outputs: 3");
    EXPECT_EQ(Refusal(Outputs({{1}, {1}, {1}, {1}}).All()),
              "Unexpected number of model outputs: 4");
    EXPECT_EQ(Refusal(Outputs({{1}, {1}, {1}, {1}, {1}, {1}}).All()),
              "Unexpected number of model outputs: 6");
}

TEST(ModelOutput, SingleOutputThatIsNotFloat32IsRefused) {
    const ModelOutput half{false, {1, 2, 14}, {}};
    EXPECT_EQ(Refusal({half}), "Unexpected type of model output 0: not float32");
}

TEST(ModelOutput, AnyOfFiveOutputsThatIsNotFloat32IsRefused) {
    for (std::size_t i = 0; i < 5; ++i) {
        Outputs outputs = FiveOutputs(2);
        outputs[i].isFloat32 = false;
        outputs[i].values = {};
        EXPECT_EQ(Refusal(outputs.All()),
                  "Unexpected type of model output " + std::to_string(i) + ": not float32");
    }
}

TEST(ModelOutput, ScalarIsRefused) {
    EXPECT_EQ(Refusal(Outputs({Shape{}}).All()), "Unexpected shape of model output 0: []");
    EXPECT_EQ(Refusal(Outputs({Shape{}, {1, 3}, {1, 4}, {1, 3}, {1}}).All()),
              "Unexpected shape of model output 0: []");
}

TEST(ModelOutput, OneDimensionTellsRowsThatAreNotThere) {
    EXPECT_EQ(Refusal(Outputs({Shape{14}}).All()),
              "Unexpected size of model output 0: 14 values instead of 196");
}

TEST(ModelOutput, NegativeDimensionIsRefused) {
    Outputs outputs({{1, 2, 14}});
    for (const Shape& shape : {Shape{1, -2, 14}, Shape{-1, 2, 14}, Shape{-2, 14}}) {
        outputs[0].shape = shape;
        EXPECT_EQ(Refusal(outputs.All()).rfind("Unexpected shape of model output 0: [", 0), 0U);
    }
    outputs[0].shape = {1, -2, 14};
    EXPECT_EQ(Refusal(outputs.All()), "Unexpected shape of model output 0: [1, -2, 14]");
}

TEST(ModelOutput, NegativeColumnCountIsRefused) {
    Outputs outputs({{1, 2, 14}});
    outputs[0].shape = {1, 2, -14};
    EXPECT_EQ(Refusal(outputs.All()), "Unexpected shape of model output 0: [1, 2, -14]");
}

TEST(ModelOutput, RowsOfNoPictureAreRefused) {
    EXPECT_EQ(Refusal(Outputs({{0, 2, 14}}).All()),
              "Unexpected size of model output 0: 0 values instead of 28");
}

TEST(ModelOutput, FirstOfSeveralPicturesIsTaken) {
    const GaussianSet set = ParseModelOutputs(Outputs({{2, 3, 14}}).All());
    EXPECT_EQ(set.count, 3);
    EXPECT_EQ(set.opacities.data, (AttributeValues{13.5F, 27.5F, 41.5F}));
}

TEST(ModelOutput, FewerValuesThanTheShapeTellsAreRefused) {
    Outputs outputs({{1, 3, 14}});
    outputs[0].values = outputs[0].values.first(41);
    EXPECT_EQ(Refusal(outputs.All()), "Unexpected size of model output 0: 41 values instead of 42");
}

TEST(ModelOutput, CountAboveThirtyOneBitsIsRefused) {
    Outputs outputs({{1, 1, 14}});
    outputs[0].shape = {1, std::int64_t{1} << 31, 14};
    EXPECT_EQ(Refusal(outputs.All()), "Unexpected number of Gaussians: 2147483648");
    outputs[0].shape = {1, std::numeric_limits<std::int64_t>::max(), 14};
    EXPECT_EQ(Refusal(outputs.All()), "Unexpected number of Gaussians: 9223372036854775807");
}

TEST(ModelOutput, LargestCountWithoutTheValuesIsRefused) {
    Outputs outputs({{1, 1, 14}});
    outputs[0].shape = {1, (std::int64_t{1} << 31) - 1, 14};
    EXPECT_EQ(Refusal(outputs.All()),
              "Unexpected size of model output 0: 14 values instead of 30064771058");
}

TEST(ModelOutput, AnyOfFiveOutputsThatIsTooShortIsRefused) {
    const std::vector<std::size_t> needed = {6, 6, 8, 6, 2};
    for (std::size_t i = 0; i < 5; ++i) {
        Outputs outputs = FiveOutputs(2);
        outputs[i].values = outputs[i].values.first(needed[i] - 1);
        EXPECT_EQ(Refusal(outputs.All()), "Unexpected size of model output " + std::to_string(i) +
                                              ": " + std::to_string(needed[i] - 1) +
                                              " values instead of " + std::to_string(needed[i]));
    }
}

TEST(ModelOutput, OpacitiesBeyondTheGaussiansAreLeftOut) {
    const Outputs outputs({{1, 2, 3}, {1, 2, 3}, {1, 2, 4}, {1, 2, 3}, {1, 5}});
    const GaussianSet set = ParseModelOutputs(outputs.All());
    EXPECT_EQ(set.count, 2);
    EXPECT_EQ(set.opacities.count, 2);
    EXPECT_EQ(set.opacities.data, (AttributeValues{26.5F, 27.5F}));
}

}  // namespace
}  // namespace vistrel
