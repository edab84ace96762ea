// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/model_output.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace vistrel {
namespace {

struct Attribute {
    AttributeArray GaussianSet::* array;
    std::int32_t components;
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

// Rows that are taken apart in one go. The arrays grow by as many Gaussians, and the zeroes that
// growing writes are still in the first-level cache when the values overwrite them.
constexpr std::size_t kRowsPerBlock = 64;

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

// Asks the kernel to back the reserved memory by huge pages. Most of the time that fills fresh
// memory goes to page faults, and huge ones take a five-hundredth of them. Only a wish: where the
// kernel declines, or the memory is in use already, nothing changes.
void PreferHugePages(std::vector<float>& reserved) {
    static const auto kPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t bytes = reserved.capacity() * sizeof(float);
    const std::size_t before =
        (kPage - reinterpret_cast<std::uintptr_t>(reserved.data()) % kPage) % kPage;
    if (bytes < before + kPage) return;
    madvise(reinterpret_cast<char*>(reserved.data()) + before, (bytes - before) / kPage * kPage,
            MADV_HUGEPAGE);
}

// Every array with its final size reserved and no values.
GaussianSet ReservedSet(std::int32_t count) {
    GaussianSet set;
    set.count = count;
    for (const Attribute& attribute : kAttributes) {
        AttributeArray& array = set.*attribute.array;
        array.count = count;
        array.components = attribute.components;
        array.data.reserve(static_cast<std::size_t>(count) *
                           static_cast<std::size_t>(attribute.components));
        PreferHugePages(array.data);
    }
    return set;
}

// Adds `count` Gaussians at the end of a reserved array and returns where their values go.
float* Grow(AttributeArray& array, std::size_t count) {
    const std::size_t before = array.data.size();
    array.data.resize(before + count * static_cast<std::size_t>(array.components));
    return array.data.data() + before;
}

template <std::size_t kCount>
void CopyValues(float*& to, const float*& from) {
    std::memcpy(to, from, kCount * sizeof(float));
    to += kCount;
    from += kCount;
}

void AppendRows(GaussianSet& set, const float* row, std::size_t count) {
    float* means = Grow(set.means, count);
    float* scales = Grow(set.scales, count);
    float* quaternions = Grow(set.quaternions, count);
    float* colors = Grow(set.colors, count);
    float* opacities = Grow(set.opacities, count);
    for (std::size_t i = 0; i < count; ++i) {
        CopyValues<3>(means, row);
        CopyValues<3>(scales, row);
        CopyValues<4>(quaternions, row);
        CopyValues<3>(colors, row);
        CopyValues<1>(opacities, row);
    }
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

    GaussianSet set = ReservedSet(gaussians);
    for (std::size_t first = 0; first < count; first += kRowsPerBlock) {
        AppendRows(set, rows.values.data() + first * kColumns,
                   std::min(kRowsPerBlock, count - first));
    }
    return set;
}

// An output that holds more than N Gaussians gives the first N: the stages that follow index every
// array by N, so that the rest could never show in a result.
GaussianSet ParseArrays(std::span<const ModelOutput> outputs) {
    RequireFloat32(outputs[0], 0);
    const std::int32_t gaussians = GaussianCount(outputs[0]);
    const auto size = [gaussians](const Attribute& attribute) {
        return static_cast<std::size_t>(gaussians) * static_cast<std::size_t>(attribute.components);
    };
    for (std::size_t i = 0; i < kAttributes.size(); ++i) {
        RequireFloat32(outputs[i], i);
        RequireValues(outputs[i], i, size(kAttributes[i]));
    }

    GaussianSet set = ReservedSet(gaussians);
    for (std::size_t i = 0; i < kAttributes.size(); ++i) {
        const std::span<const float> values = outputs[i].values.first(size(kAttributes[i]));
        (set.*kAttributes[i].array).data.assign(values.begin(), values.end());
    }
    return set;
}

}  // namespace

GaussianSet ParseModelOutputs(std::span<const ModelOutput> outputs) {
    if (outputs.size() == 1) return ParseRows(outputs.front());
    if (outputs.size() == kAttributes.size()) return ParseArrays(outputs);
    throw std::runtime_error("Unexpected number of model outputs: " +
                             std::to_string(outputs.size()));
}

}  // namespace vistrel
