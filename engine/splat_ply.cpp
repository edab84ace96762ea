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
#include "base/workers.h"
#include "engine/decimation.h"
#include "engine/disparity_range.h"
#include "engine/splat_ply_format.h"

namespace vistrel {
namespace {

// Gaussians per step: what a step touches stays in the fastest cache.
constexpr std::size_t kBlockRecords = 256;

// Gaussians that go to the file at once.
constexpr std::size_t kPieceRecords = 16 * kBlockRecords;

// One encodes while the other writes. The system lets one thread at a time write to a file, and
// that takes longer than encoding: more threads would only wait.
constexpr int kThreads = 2;

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

// Calls `work` with the first Gaussian and the number of each step from `begin` to `end`.
template <typename Work>
void InSteps(std::size_t begin, std::size_t end, std::size_t step, const Work& work) {
    for (std::size_t first = begin; first < end; first += step) {
        work(first, std::min(step, end - first));
    }
}

// Turns Gaussians into vertex records. One object, one thread.
class RecordBuilder {
  public:
    explicit RecordBuilder(const Selection& selection)
        : selection_(selection), records_(kPieceRecords * kVertexBytes) {}

    // The records of `count` <= kPieceRecords Gaussians; valid until the next call.
    std::span<const std::byte> Build(std::size_t first, std::size_t count) {
        std::byte* to = records_.data();
        InSteps(first, first + count, kBlockRecords, [&](std::size_t begin, std::size_t records) {
            BuildBlock(begin, records, to);
            to += records * kVertexBytes;
        });
        return {records_.data(), to};
    }

  private:
    using Scratch = std::array<float, kBlockRecords * 4>;

    void BuildBlock(std::size_t first, std::size_t count, std::byte* records) {
        std::array<const float*, kVertexGroups.size()> values{};
        for (std::size_t g = 0; g < kVertexGroups.size(); ++g) {
            float* const scratch = scratch_[g].data();
            const auto linear = selection_.Values(kVertexGroups[g], first, count, scratch);
            values[g] = EncodedValues(kVertexGroups[g].encoding, linear, scratch).data();
        }
        Interleave(values, count, records, std::make_index_sequence<kVertexGroups.size()>());
    }

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
    std::vector<std::byte> records_;
    std::array<Scratch, kVertexGroups.size()> scratch_{};
};

DisparityRange DisparityOf(const Selection& selection) {
    const auto total = static_cast<std::size_t>(selection.Count());
    std::array<float, kBlockRecords * kMeans.components> scratch{};
    const auto means = [&](std::size_t first, std::size_t count) {
        return selection.Values(kMeans, first, count, scratch.data());
    };
    DisparityPercentiles percentiles;
    InSteps(0, total, kBlockRecords,
            [&](std::size_t first, std::size_t count) { percentiles.Count(means(first, count)); });
    percentiles.EndFirstLook();
    InSteps(0, total, kBlockRecords, [&](std::size_t first, std::size_t count) {
        percentiles.CountAgain(means(first, count));
    });
    return percentiles.Range();
}

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
    const auto place = file.LeaveOut(total * kVertexBytes);
    const std::size_t pieces = (total + kPieceRecords - 1) / kPieceRecords;
    Workers workers(place && pieces > 1 ? kThreads : 1);
    std::vector<RecordBuilder> builders(static_cast<std::size_t>(workers.Count()),
                                        RecordBuilder(selection));
    DisparityRange disparity;
    workers.Run(1 + pieces, [&](std::size_t piece, int worker) {
        if (piece == 0) {
            disparity = DisparityOf(selection);
            return;
        }
        const std::size_t first = (piece - 1) * kPieceRecords;
        const auto records = builders[static_cast<std::size_t>(worker)].Build(
            first, std::min(kPieceRecords, total - first));
        if (place) {
            file.WriteAt(*place + first * kVertexBytes, records);
        } else {
            file.Append(records);
        }
    });
    file.Append(SplatPlyCamera(
        {photograph.focalPx, photograph.width, photograph.height, selection.Count(), disparity}));
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
