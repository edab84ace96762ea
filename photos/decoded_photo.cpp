// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/decoded_photo.h"

namespace vistrel {

bool TellsColours(const PhotoColours& colours) {
    constexpr int kNotTold = 2;
    return !colours.iccProfile.empty() || colours.coded.primaries != kNotTold ||
           colours.coded.transfer != kNotTold || colours.gamma > 0 || colours.chromaticities[0] > 0;
}

void CheckPhotoSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) throw PhotoError("It has no pixels.");
    if (width <= kMostPixels / height && width <= INT32_MAX && height <= INT32_MAX) return;
    throw PhotoError("It has " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels, and at most 200 megapixels are read.");
}

void AllocateSamples(DecodedPhoto& photo) {
    CheckPhotoSize(static_cast<std::uint64_t>(photo.width),
                   static_cast<std::uint64_t>(photo.height));
    photo.samples =
        TryAllocatePixels(static_cast<std::size_t>(photo.width) *
                          static_cast<std::size_t>(photo.height) * BytesPerSample(photo.format));
    if (!photo.samples) throw PhotoError("There is not enough memory for its pixels.");
}

}  // namespace vistrel
