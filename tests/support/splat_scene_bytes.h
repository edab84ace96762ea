// SPDX-License-Identifier: GPL-3.0-or-later
// Scene files for tests, put together by hand so that they do not depend on the engine's writer.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/raw_scene.h"

namespace vistrel::test {

struct SceneParts {
    std::string vertexCount = {};  // as it stands in the header; empty: the number of `vertices`
    std::vector<RawGaussian> vertices;
    std::array<float, 9> intrinsic = {400, 0, 200, 0, 400, 150, 0, 0, 1};
    std::array<std::uint32_t, 2> imageSize = {400, 300};
};

// A round white Gaussian. `sigma` is its standard deviation, `opacity` in 0..1 (both exclusive).
[[nodiscard]] RawGaussian WhiteVertex(std::array<float, 3> position, float sigma, float opacity);

// The file's bytes.
[[nodiscard]] std::string SceneBytes(const SceneParts& parts);

}  // namespace vistrel::test
