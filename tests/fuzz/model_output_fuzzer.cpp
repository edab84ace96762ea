// SPDX-License-Identifier: GPL-3.0-or-later
// Any number of outputs of any shape, type and size: they are refused with a message, or they give
// a set whose arrays are as long as they say and hold what the plain way finds.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "engine/model_output.h"
#include "tests/fuzz/require.h"
#include "tests/support/plain_model_output.h"

namespace {

using vistrel::AttributeArray;
using vistrel::GaussianSet;
using vistrel::ModelOutput;
using vistrel::fuzz::Require;

constexpr std::int64_t kMostValues = 4096;

// Small sizes, the ones that are looked for, and the ends of the type.
std::int64_t Dimension(FuzzedDataProvider& data) {
    constexpr std::array<std::int64_t, 10> kSpecial = {
        0, 1, 3, 4, 14, -1, INT32_MAX, std::int64_t{INT32_MAX} + 1, INT64_MAX, INT64_MIN};
    if (data.ConsumeBool()) return data.PickValueInArray(kSpecial);
    return data.ConsumeIntegralInRange<std::int64_t>(0, 80);
}

std::vector<std::int64_t> AnyShape(FuzzedDataProvider& data) {
    std::vector<std::int64_t> shape(data.ConsumeIntegralInRange<std::size_t>(0, 5));
    for (std::int64_t& dimension : shape) dimension = Dimension(data);
    return shape;
}

// The shape that the layout wants, so that many inputs get past the first checks.
std::vector<std::int64_t> RightShape(FuzzedDataProvider& data, std::size_t outputs, std::size_t i,
                                     std::int64_t count) {
    constexpr std::array<std::int64_t, 5> kComponents = {3, 3, 4, 3, 1};
    const std::int64_t last = outputs == 1 ? 14 : kComponents[i % kComponents.size()];
    if (data.ConsumeBool()) return {1, count, last};
    return {count, last};
}

// As many values as the shape tells, where that is possible.
std::size_t ValueCount(const std::vector<std::int64_t>& shape) {
    std::int64_t count = 1;
    for (const std::int64_t dimension : shape) {
        if (dimension <= 0) return 0;
        if (dimension > kMostValues || count * dimension > kMostValues) return kMostValues;
        count *= dimension;
    }
    return static_cast<std::size_t>(count);
}

// Bits are compared, because a NaN equals nothing.
void RequireEqual(const AttributeArray& actual, const AttributeArray& expected,
                  std::int32_t count) {
    Require(actual.count == count && actual.components == expected.components);
    Require(actual.data.size() == expected.data.size());
    Require(actual.data.empty() || std::memcmp(actual.data.data(), expected.data.data(),
                                               actual.data.size() * sizeof(float)) == 0);
}

void RequirePlainResult(const GaussianSet& set, const std::vector<ModelOutput>& outputs) {
    Require(set.count >= 0);
    const GaussianSet plain = vistrel::test::PlainParseModelOutputs(outputs);
    RequireEqual(set.means, plain.means, set.count);
    RequireEqual(set.scales, plain.scales, set.count);
    RequireEqual(set.quaternions, plain.quaternions, set.count);
    RequireEqual(set.colors, plain.colors, set.count);
    RequireEqual(set.opacities, plain.opacities, set.count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const auto count = data.ConsumeBool() ? (data.ConsumeBool() ? std::size_t{1} : std::size_t{5})
                                          : data.ConsumeIntegralInRange<std::size_t>(0, 7);
    const auto gaussians = data.ConsumeIntegralInRange<std::int64_t>(0, 200);

    std::vector<std::vector<float>> memory(count);
    std::vector<ModelOutput> outputs(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool right = data.ConsumeIntegralInRange(0, 9) > 0;
        outputs[i].shape = right ? RightShape(data, count, i, gaussians) : AnyShape(data);
        outputs[i].isFloat32 = data.ConsumeIntegralInRange(0, 19) > 0;
        if (!outputs[i].isFloat32) continue;
        std::size_t values = ValueCount(outputs[i].shape);
        if (data.ConsumeIntegralInRange(0, 9) == 0) {
            values -= std::min(values, data.ConsumeIntegralInRange<std::size_t>(0, 20));
        }
        memory[i].resize(values);
        if (values > 0) data.ConsumeData(memory[i].data(), values * sizeof(float));
        outputs[i].values = memory[i];
    }

    try {
        RequirePlainResult(vistrel::ParseModelOutputs(outputs), outputs);
    } catch (const std::runtime_error&) {
        // Refused.
    }
    return 0;
}
