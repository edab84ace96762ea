// SPDX-License-Identifier: GPL-3.0-or-later
// Reads the splat PLY files that the engine writes, independently of the engine's own code.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "render/gaussian_packing.h"

namespace vistrel {

// One vertex record, as it lies in the file. x right, y down, z forward; the camera is the origin.
using SplatVertex = RawGaussian;
static_assert(sizeof(SplatVertex) == 56);

struct SplatFile {
    std::vector<SplatVertex> vertices;
    float focalX = 0.0F;  // pixels of the photograph, like the three below
    float focalY = 0.0F;
    float centreX = 0.0F;  // principal point; 0 is the left edge of the first pixel
    float centreY = 0.0F;
    std::uint32_t width = 0;  // the photograph's size in pixels, at least 1
    std::uint32_t height = 0;
};

// Reads the whole file. The header must be, line by line, the one that the engine writes, and the
// file exactly as long as the header tells; nothing is allocated before that is certain.
//
// Throws std::runtime_error that tells what is wrong. Any thread.
[[nodiscard]] SplatFile ReadSplatPly(const std::filesystem::path& path);

}  // namespace vistrel
