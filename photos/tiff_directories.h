// SPDX-License-Identifier: GPL-3.0-or-later
// What a TIFF's directories say about it before a library looks at it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vistrel {

enum class TiffKind : std::uint8_t {
    Other,      // no TIFF
    Cut,        // a TIFF without its first directory
    Picture,    // one that is not told to be from a sensor
    CameraRaw,  // what a sensor saw, which is still to be developed: DNG, CR2, NEF, ARW ...
};

// Looks into all directories and those below them, for classic TIFF and BigTIFF in both byte
// orders. Never throws but std::bad_alloc, whatever the bytes are.
[[nodiscard]] TiffKind KindOfTiff(std::span<const std::byte> file);

}  // namespace vistrel
