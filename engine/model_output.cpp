// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/model_output.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "engine/gaussian_pieces.h"

namespace vistrel {
namespace {

struct Attribute {
    AttributeArray GaussianSet::* array;
    std::size_t components;
};

// In the order of the five outputs and of the columns of the single one.
constexpr std::array<Attribute, 5> kAttributes = {{
    {&GaussianSet::means, 3},
    {&GaussianSet::scales, 3},
    {&GaussianSet::quaternions, 4},
    {&GaussianSet::colors, 3},
    {&GaussianSet::opacities, 1},
}};
constexpr std::size_t kColumns = 14;

// Gaussians that are taken apart in one go: their rows stay in the fastest cache while one
// attribute after the other is taken from them.
constexpr std::size_t kBlock = 64;

// Where the values of one attribute lie in the outputs.
struct Column {
    const float* values;
    std::size_t stride;  // from a Gaussian's first value to the next one's
};
using Columns = std::array<Column, kAttributes.size()>;

std::string Position(std::size_t index) {
    return "model output " + std::to_string(index);
}

std::string Text(const std::vector<std::int64_t>& shape) {
    std::string text = "[";
    for (const std::int64_t dimension : shape) {
        if (text.size() > 1) text += ", ";
        text += std::to_string(dimension);
    }
    return text + "]";
}

void RequireFloat32(const ModelOutput& output, std::size_t index) {
    if (!output.isFloat32) {
        throw std::runtime_error("Unexpected type of " + Position(index) + ": not float32");
    }
}

void RequireValues(const ModelOutput& output, std::size_t index, std::size_t needed) {
    if (output.values.size() < needed) {
        throw std::runtime_error("Unexpected size of " + Position(index) + ": " +
                                 std::to_string(output.values.size()) + " values instead of " +
                                 std::to_string(needed));
    }
}

// N by the first output: the second of three dimensions, otherwise the first one.
std::int32_t GaussianCount(const ModelOutput& first) {
    const std::vector<std::int64_t>& shape = first.shape;
    const auto isNegative = [](std::int64_t dimension) { return dimension < 0; };
    if (shape.empty() || std::any_of(shape.begin(), shape.end(), isNegative)) {
        throw std::runtime_error("Unexpected shape of " + Position(0) + ": " + Text(shape));
    }
    const std::int64_t count = shape.size() == 3 ? shape[1] : shape[0];
    if (count > std::numeric_limits<std::int32_t>::max()) {
        throw std::runtime_error("Unexpected number of Gaussians: " + std::to_string(count));
    }
    return static_cast<std::int32_t>(count);
}

template <std::size_t kComponents>
void CopyColumn(const Column& from, std::size_t first, std::size_t count, AttributeValues& to) {
    const float* value = from.values + first * from.stride;
    float* copy = to.data() + first * kComponents;
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(copy, value, kComponents * sizeof(float));
        copy += kComponents;
        value += from.stride;
    }
}

// The attributes of Gaussians, each with its own number of components.
template <std::size_t... kAttribute>
void CopyColumns(const Columns& columns, std::size_t first, std::size_t count, GaussianSet& set,
                 std::index_sequence<kAttribute...> /*attributes*/) {
    (CopyColumn<kAttributes[kAttribute].components>(columns[kAttribute], first, count,
                                                    (set.*kAttributes[kAttribute].array).data),
     ...);
}

// Most of the time goes to fresh memory, which comes into being when it is written.
GaussianSet CopiedSet(std::int32_t gaussians, const Columns& columns) {
    const auto count = static_cast<std::size_t>(gaussians);
    GaussianSet set;
    set.count = gaussians;
    for (const Attribute& attribute : kAttributes) {
        AttributeArray& array = set.*attribute.array;
        array.count = gaussians;
        array.components = static_cast<std::int32_t>(attribute.components);
        array.data.resize(count * attribute.components);
    }
    ForEachPiece(count, [&](std::size_t begin, std::size_t inPiece) {
        const std::size_t end = begin + inPiece;
        for (std::size_t first = begin; first < end; first += kBlock) {
            CopyColumns(columns, first, std::min(kBlock, end - first), set,
                        std::make_index_sequence<kAttributes.size()>());
        }
    });
    return set;
}

GaussianSet ParseRows(const ModelOutput& rows) {
    RequireFloat32(rows, 0);
    const std::int32_t gaussians = GaussianCount(rows);
    if (rows.shape.back() != static_cast<std::int64_t>(kColumns)) {
        throw std::runtime_error("Unexpected single-output column count: " +
                                 std::to_string(rows.shape.back()));
    }
    const auto count = static_cast<std::size_t>(gaussians);
    RequireValues(rows, 0, count * kColumns);

    if (count == 0) return CopiedSet(0, {});  // there may be no memory to point into

    Columns columns{};
    const float* values = rows.values.data();
    for (std::size_t i = 0; i < kAttributes.size(); ++i) {
        columns[i] = {values, kColumns};
        values += kAttributes[i].components;
    }
    return CopiedSet(gaussians, columns);
}

// An output that holds more than N Gaussians gives the first N: the stages that follow index every
// array by N, so that the rest could never show in a result.
GaussianSet ParseArrays(std::span<const ModelOutput> outputs) {
    RequireFloat32(outputs[0], 0);
    const std::int32_t gaussians = GaussianCount(outputs[0]);
    Columns columns{};
    for (std::size_t i = 0; i < kAttributes.size(); ++i) {
        const std::size_t components = kAttributes[i].components;
        RequireFloat32(outputs[i], i);
        RequireValues(outputs[i], i, static_cast<std::size_t>(gaussians) * components);
        columns[i] = {outputs[i].values.data(), components};
    }
    return CopiedSet(gaussians, columns);
}

}  // namespace

GaussianSet ParseModelOutputs(std::span<const ModelOutput> outputs) {
    if (outputs.size() == 1) return ParseRows(outputs.front());
    if (outputs.size() == kAttributes.size()) return ParseArrays(outputs);
    throw std::runtime_error("Unexpected number of model outputs: " +
                             std::to_string(outputs.size()));
}

}  // namespace vistrel
