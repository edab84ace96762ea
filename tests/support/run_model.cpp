// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/run_model.h"

#include <cstddef>
#include <numeric>

#include "base/text_encoding.h"
#include "engine/sharp_inference.h"
#include "tests/support/test_models.h"

namespace vistrel::test {

const PreprocessedImage& NumberedImage() {
    static const PreprocessedImage image = [] {
        constexpr std::size_t kSize = std::size_t{3} * kNetworkSide * kNetworkSide;
        PreprocessedImage numbered{AlignedVector<float>(kSize), 4000, 3000, 4000.0F};
        std::iota(numbered.tensor.begin(), numbered.tensor.end(), 0.0F);
        return numbered;
    }();
    return image;
}

GaussianSet RunFile(const std::filesystem::path& file, float disparityFactor) {
    return RunSharpInference(FromPath(file), NumberedImage(), disparityFactor,
                             ExecutionProvider::Cpu);
}

GaussianSet RunModel(std::string_view name, float disparityFactor) {
    return RunFile(ModelFile(name), disparityFactor);
}

}  // namespace vistrel::test
