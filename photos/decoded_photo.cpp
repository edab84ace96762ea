// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/decoded_photo.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace vistrel {

bool TellsColours(const PhotoColours& colours) {
    constexpr CodedColours kNotTold;
    return !colours.iccProfile.empty() || colours.coded.primaries != kNotTold.primaries ||
           colours.coded.transfer != kNotTold.transfer || colours.gamma > 0 ||
           colours.chromaticities[0] > 0;
}
namespace {

// Most of the time that filling new memory takes goes into its pages, unless these are large ones.
// Where the system has none, the memory stays as it is.
void PreferLargePages(std::uint8_t* memory, std::size_t size) {
    constexpr std::size_t kLarge = std::size_t{4} << 20;
    if (size < kLarge) return;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t before = (page - (reinterpret_cast<std::uintptr_t>(memory) % page)) % page;
    madvise(memory + before, size - before, MADV_HUGEPAGE);
}

}  // namespace

void CheckPhotoSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) throw PhotoError("It has no pixels.");
    if (width <= kMostPixels / height && width <= INT32_MAX && height <= INT32_MAX) return;
    throw PhotoError("It has " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels, and at most 200 megapixels are read.");
}

void AllocateSamples(DecodedPhoto& photo) {
    CheckPhotoSize(static_cast<std::uint64_t>(photo.width),
                   static_cast<std::uint64_t>(photo.height));
    const std::size_t count = static_cast<std::size_t>(photo.width) *
                              static_cast<std::size_t>(photo.height) * BytesPerSample(photo.format);
    photo.samples = TryAllocatePixels(count);
    if (!photo.samples) throw PhotoError("There is not enough memory for its pixels.");
    PreferLargePages(photo.samples.get(), count * kPixelBytes);
}

}  // namespace vistrel
