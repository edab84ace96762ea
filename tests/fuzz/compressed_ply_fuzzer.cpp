// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a compressed PLY scene.
#include "formats/compressed_ply.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = [] {
        std::vector<std::string> files = {fuzz::Written(WriteCompressedPly, fuzz::SeedScene(3, 0)),
                                          fuzz::Written(WriteCompressedPly, fuzz::SeedScene(2, 1)),
                                          fuzz::Written(WriteCompressedPly, fuzz::SeedScene(1, 3))};
        // Without ranges of colours.
        std::string old = files[0];
        for (const char* const name : {"min_r", "min_g", "min_b", "max_r", "max_g", "max_b"}) {
            const std::string line = "property float " + std::string(name) + "\n";
            old.erase(old.find(line), line.size());
        }
        files.push_back(old);
        return files;
    }();
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    // A Gaussian has 16 bytes.
    vistrel::fuzz::RunSceneTarget({vistrel::ReadCompressedPly, ".ply", 1.0 / 16},
                                  {reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}
