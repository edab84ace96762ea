// SPDX-License-Identifier: GPL-3.0-or-later
// Runs the small networks on a picture that shows what arrives.
#pragma once

#include <filesystem>
#include <string_view>

#include "engine/gaussian_set.h"
#include "engine/image_loading.h"

namespace vistrel::test {

// Value number i of the tensor is i, which float32 holds exactly.
[[nodiscard]] const PreprocessedImage& NumberedImage();

// Runs the network in the file on NumberedImage and the CPU.
[[nodiscard]] GaussianSet RunFile(const std::filesystem::path& file, float disparityFactor = 1.0F);

// The same for one of the networks made for the tests.
[[nodiscard]] GaussianSet RunModel(std::string_view name, float disparityFactor = 1.0F);

}  // namespace vistrel::test
