// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a PLY scene, which writing keeps bit for bit.
#include "formats/ply.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/fuzz/require.h"
#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

using fuzz::Require;

// A Gaussian has at least a byte for each value.
const fuzz::SceneTarget kTarget = {ReadPly, ".ply", 1.0 / kRawValues};

void RunOne(std::string_view bytes) {
    std::optional<RawScene> scene = fuzz::ReadAnyScene(kTarget, bytes);
    if (!scene) return;
    const std::optional<RawScene> again =
        fuzz::ReadAnyScene(kTarget, fuzz::Written(WritePly, *scene, {.threads = 1}));
    Require(again && again->Count() == scene->Count() && again->Degree() == scene->Degree());
    for (std::size_t row = 0; row < RawValues(scene->Degree()); ++row) {
        Require(std::memcmp(again->Row(row), scene->Row(row), scene->Count() * sizeof(float)) == 0);
    }
    fuzz::RequireWritable(std::move(*scene));
}

// Other orders and types than the writer's, and lists.
std::string OddFile(const std::string& order) {
    std::string bytes =
        "ply\nformat " + order +
        " 1.0\nelement face 2\nproperty char c\nproperty list ushort int i\nelement vertex 2\n";
    for (const char* const property :
         {"double z", "char x", "uchar y", "short f_dc_2", "ushort f_dc_0", "int f_dc_1",
          "uint opacity", "float scale_0", "float scale_1", "float scale_2", "uchar rot_3",
          "uchar rot_1", "uchar rot_2", "uchar rot_0"}) {
        bytes += "property " + std::string(property) + "\n";
    }
    bytes += "element image_size 1\nproperty ushort width\nproperty ushort height\nend_header\n";
    bytes += std::string("!\0\0!\1\1", 6);
    return bytes + std::string(4 + 2 * 40 + 4 + 1028, '\1');
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = {fuzz::Written(WritePly, fuzz::SeedScene(3, 0)),
                                                   fuzz::Written(WritePly, fuzz::SeedScene(2, 1)),
                                                   fuzz::Written(WritePly, fuzz::SeedScene(1, 3)),
                                                   OddFile("binary_little_endian"),
                                                   OddFile("binary_big_endian")};
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}
