// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as an SPZ scene. Checksums and packing would stop what happens to packed bytes, so the
// search also changes what lies inside.
#include "formats/spz.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "formats/deflate.h"
#include "formats/zstd_frames.h"
#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

// Small files may hold up to 16 MiB, of at least 16 bytes for each Gaussian, and none has less than
// 40 bytes; above that it is what deflate can pack at the most.
const fuzz::SceneTarget kTarget = {ReadSpz, ".spz", (1 << 24) / 16.0 / 40.0};

constexpr std::size_t kMostInside = std::size_t{1} << 16;
constexpr std::size_t kTableOfContents = 32;
constexpr std::size_t kRecord = 16;

std::string PackedGzip(std::string_view content) {
    MemorySink sink;
    PackGzip(std::as_bytes(std::span(content)), 1, sink);
    return std::move(sink.content);
}

std::string TextOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Files of the versions that are not written, by their records.
std::string OldFile(char version, std::size_t record) {
    const std::string start = {'N', 'G', 'S', 'P', version, 0, 0, 0, 3, 0, 0, 0, 1, 12, 0, 0};
    return PackedGzip(start + std::string(3 * (record + 9), '\x71'));
}

// One whose extension says the frame.
std::string FileWithExtension(const std::string& file) {
    const std::string record = {3, 0, '\xBE', '\xAD', 4, 0, 0, 0, 4, 0, 0, 0};
    std::string inside = TextOf(UnpackGzip(std::as_bytes(std::span(file)), 0, kMostInside));
    inside[14] = 2;
    return PackedGzip(inside + record);
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = [] {
        const auto file = [](std::size_t count, int degree, int version) {
            return fuzz::Written(WriteSpz, fuzz::SeedScene(count, degree),
                                 {.spzVersion = version, .threads = 1});
        };
        return std::vector<std::string>{
            file(5, 0, 3), file(3, 2, 3),  file(40, 1, 3), file(5, 0, 4),
            file(3, 3, 4), OldFile(1, 16), OldFile(2, 19), FileWithExtension(file(2, 1, 3))};
    }();
    return seeds;
}

// Changes what a gzip file holds.
std::string ChangedInside(std::string_view file) {
    std::string inside = TextOf(UnpackGzip(std::as_bytes(std::span(file)), 0, kMostInside));
    const std::size_t size = inside.size();
    inside.resize(size + 64);
    inside.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(inside.data()), size, inside.size()));
    return PackedGzip(inside);
}

std::uint64_t NumberAt(std::string_view file, std::size_t place) {
    std::uint64_t number = 0;
    if (place + sizeof(number) > file.size()) throw std::runtime_error("no number");
    std::memcpy(&number, file.data() + place, sizeof(number));
    return number;
}

// Changes what one of a file's frames holds, and says its size in the table of contents.
std::string ChangedFrame(std::string file, std::size_t frame) {
    std::size_t place = kTableOfContents + kRecord * static_cast<unsigned char>(file.at(15));
    std::size_t record = kTableOfContents;
    for (; frame > 0; --frame, record += kRecord) place += NumberAt(file, record);
    const std::size_t packed = NumberAt(file, record);
    const std::size_t size = NumberAt(file, record + 8);
    if (place > file.size() || packed > file.size() - place || size > kMostInside || size == 0) {
        throw std::runtime_error("no frame");
    }
    std::vector<std::byte> inside =
        UnpackZstd(std::as_bytes(std::span(file)).subspan(place, packed), size);
    LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(inside.data()), size, size);
    const std::string changed = TextOf(PackZstd(inside));
    file.replace(place, packed, changed);
    const std::uint64_t length = changed.size();
    std::memcpy(file.data() + record, &length, sizeof(length));
    return file;
}

std::size_t Mutate(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int random) {
    constexpr unsigned kOutside = 3;  // of so many times, those on the packed bytes are one
    if (random % kOutside != 0) {
        const std::string_view file(reinterpret_cast<const char*>(data), size);
        try {
            const std::string changed =
                IsGzip(std::as_bytes(std::span(file)))
                    ? ChangedInside(file)
                    : ChangedFrame(std::string(file), random / kOutside % 5);
            if (changed.size() <= most) {
                std::ranges::copy(changed, data);
                return changed.size();
            }
        } catch (const std::exception&) {
            // Nothing to unpack.
        }
    }
    return fuzz::MutateSeeded(Seeds(), data, size, most, random / kOutside);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::fuzz::RunSceneTarget(vistrel::kTarget, {reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::Mutate(data, size, most, seed);
}
