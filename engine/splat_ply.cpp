// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/splat_ply.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/new_file.h"
#include "base/text_encoding.h"
#include "engine/decimation.h"
#include "engine/disparity_range.h"
#include "engine/splat_ply_format.h"

namespace vistrel {
namespace {

// Gaussians per step: what a step touches stays in the fastest cache.
constexpr std::size_t kBlockRecords = 256;
static_assert(kBlockRecords * kVertexBytes <= NewFile::kLargestPiece);

constexpr const VertexGroup& kMeans = kVertexGroups.front();
static_assert(kMeans.source == &GaussianSet::means);

using Indices = std::span<const std::int32_t>;

// The Gaussians to write, some at a time: all of them as they lie in the set, or the kept ones.
class Selection {
  public:
    Selection(const GaussianSet& gaussians, float keepRatio)
        : gaussians_(gaussians), count_(gaussians.count) {
        if (!(keepRatio < 1.0F)) return;
        count_ = DecimatedCount(gaussians.count, keepRatio);
        kept_ = MostImportant(gaussians, count_);
        LogInfo("  Decimating: keeping " + std::to_string(count_) + " of " +
                std::to_string(gaussians.count));
    }

    [[nodiscard]] std::int32_t Count() const { return count_; }

    // One attribute of `count` written Gaussians from the `first` on, where it lies or brought
    // together in `scratch`.
    [[nodiscard]] std::span<const float> Values(const VertexGroup& group, std::size_t first,
                                                std::size_t count, float* scratch) const {
        const AttributeValues& data = (gaussians_.*group.source).data;
        const std::size_t components = group.components;
        if (!kept_) return std::span(data).subspan(first * components, count * components);
        float* to = scratch;
        for (const std::int32_t index : Indices(*kept_).subspan(first, count)) {
            to = std::copy_n(&data[static_cast<std::size_t>(index) * components], components, to);
        }
        return {scratch, to};
    }

  private:
    const GaussianSet& gaussians_;
    std::int32_t count_;
    std::optional<std::vector<std::int32_t>> kept_;
};

// Turns blocks of Gaussians into vertex records.
class RecordBuilder {
  public:
    explicit RecordBuilder(const Selection& selection) : selection_(selection) {}

    // Writes `count` <= kBlockRecords records to `records`; returns the block's means.
    std::span<const float> Build(std::size_t first, std::size_t count, std::byte* records) {
        std::array<const float*, kVertexGroups.size()> values{};
        for (std::size_t g = 0; g < kVertexGroups.size(); ++g) {
            float* const scratch = scratch_[g].data();
            const auto linear = selection_.Values(kVertexGroups[g], first, count, scratch);
            values[g] = EncodedValues(kVertexGroups[g].encoding, linear, scratch).data();
        }
        Interleave(values, count, records, std::make_index_sequence<kVertexGroups.size()>());
        return {values.front(), count * kMeans.components};
    }

  private:
    using Scratch = std::array<float, kBlockRecords * 4>;

    // The sizes are known when this is compiled, so that each copy is a move or two.
    template <std::size_t... kGroup>
    static void Interleave(std::array<const float*, sizeof...(kGroup)> values, std::size_t count,
                           std::byte* records, std::index_sequence<kGroup...> /*groups*/) {
        for (std::size_t i = 0; i < count; ++i) {
            (Take<kGroup>(values[kGroup], records), ...);
        }
    }

    template <std::size_t kGroup>
    static void Take(const float*& from, std::byte*& to) {
        constexpr std::size_t kComponents = kVertexGroups[kGroup].components;
        constexpr bool kFromMemory = kVertexGroups[kGroup].encoding == Encoding::SameBits;
        // Encoded values were just made; the others come from memory, and in steps too short for
        // the processor to foresee.
        if constexpr (kFromMemory) PrefetchAhead(from);
        std::memcpy(to, from, kComponents * sizeof(float));
        from += kComponents;
        to += kComponents * sizeof(float);
    }

    static void PrefetchAhead(const float* from) {
        constexpr std::uintptr_t kAhead = 2048;  // bytes; found by measuring
        // May lie behind the end of the array, where pointer arithmetic must not go.
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(from) + kAhead;
        __builtin_prefetch(
            reinterpret_cast<const void*>(address));  // NOLINT(performance-no-int-to-ptr)
    }

    const Selection& selection_;
    std::array<Scratch, kVertexGroups.size()> scratch_;
};

// Who finds a scene takes it for a whole one, also after the machine went down: work on many
// machines does not do again what is there.
NewFile OpenOutput(const std::wstring& path) {
    try {
        return NewFile(ToPath(path), {.durability = Durability::kOnDisk});
    } catch (const std::system_error&) {
        throw std::runtime_error("Cannot open output file");
    }
}

struct Photograph {
    float focalPx;
    std::uint32_t width;
    std::uint32_t height;
};

void Write(NewFile& file, const Selection& selection, const Photograph& photograph) {
    const auto total = static_cast<std::size_t>(selection.Count());
    file.Append(SplatPlyHeader(selection.Count()));
    RecordBuilder records(selection);
    DisparityPercentiles percentiles;
    for (std::size_t first = 0; first < total; first += kBlockRecords) {
        const std::size_t count = std::min(kBlockRecords, total - first);
        percentiles.Count(records.Build(first, count, file.Next(count * kVertexBytes).data()));
    }
    percentiles.EndFirstLook();
    std::array<float, kBlockRecords * kMeans.components> scratch{};
    for (std::size_t first = 0; first < total; first += kBlockRecords) {
        const std::size_t count = std::min(kBlockRecords, total - first);
        percentiles.CountAgain(selection.Values(kMeans, first, count, scratch.data()));
    }
    file.Append(SplatPlyCamera({photograph.focalPx, photograph.width, photograph.height,
                                selection.Count(), percentiles.Range()}));
    file.Commit();
}

}  // namespace

void WriteSplatPly(const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
                   std::uint32_t width, std::uint32_t height, float keepRatio) {
    const Selection selection(gaussians, keepRatio);
    NewFile file = OpenOutput(outputPath);
    try {
        Write(file, selection, {focalPx, width, height});
    } catch (const std::system_error& failure) {
        throw std::runtime_error("Cannot write output file: " + failure.code().message());
    }
    LogInfoWide(L"  Saved PLY with " + std::to_wstring(selection.Count()) + L" Gaussians to " +
                outputPath);
}

}  // namespace vistrel
