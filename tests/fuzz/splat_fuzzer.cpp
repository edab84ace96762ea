// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a scene in .splat.
#include "formats/splat.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = {
        fuzz::Written(WriteSplat, fuzz::SeedScene(1, 0)),
        fuzz::Written(WriteSplat, fuzz::SeedScene(3, 0))};
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::fuzz::RunSceneTarget({vistrel::ReadSplat, ".splat", 1.0 / 32},
                                  {reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}
