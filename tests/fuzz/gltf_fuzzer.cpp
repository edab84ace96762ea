// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a glTF scene, a .gltf file where they do not begin as a .glb. Lengths would stop
// what happens to a .glb file, so the search also changes its parts.
#include "formats/gltf.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

// Positions alone take 12 bytes.
const fuzz::SceneTarget kTarget = {ReadGltf, ".gltf", 1.0 / 12.0};

constexpr std::size_t kBeforeJson = 20;
constexpr std::size_t kBeforeBuffer = 8;

struct GlbParts {
    std::string json;
    std::string buffer;
};

std::uint32_t WordAt(std::string_view bytes, std::size_t place) {
    std::uint32_t word = 0;
    if (place + sizeof(word) <= bytes.size()) {
        std::memcpy(&word, bytes.data() + place, sizeof(word));
    }
    return word;
}

std::string Word(std::size_t number) {
    const auto word = static_cast<std::uint32_t>(number);
    std::string text(sizeof(word), '\0');
    std::memcpy(text.data(), &word, sizeof(word));
    return text;
}

GlbParts PartsOf(std::string_view glb) {
    const std::string_view rest = glb.substr(std::min(glb.size(), kBeforeJson));
    const std::size_t json = std::min<std::size_t>(WordAt(glb, 12), rest.size());
    const std::size_t buffer = std::min(rest.size(), json + kBeforeBuffer);
    return {std::string(rest.substr(0, json)), std::string(rest.substr(buffer))};
}

std::string GlbOf(const GlbParts& parts) {
    return "glTF" + Word(2) + Word(kBeforeJson + parts.json.size() + parts.buffer.size()) +
           Word(parts.json.size()) + "JSON" + parts.json + Word(parts.buffer.size()) +
           std::string("BIN\0", 4) + parts.buffer;
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    return text.replace(text.find(from), from.size(), to);
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = [] {
        const std::string one = fuzz::Written(WriteGlb, fuzz::SeedScene(1, 0), {.threads = 1});
        const GlbParts parts = PartsOf(one);
        // 56 bytes.
        const std::string data = "\"uri\":\"data:x;base64," + std::string(74, 'P') + "A\",";
        const std::string text =
            Replaced(parts.json, "\"byteLength\":56", data + "\"byteLength\":56");
        const std::string placed = Replaced(
            parts.json, "{\"mesh\":0}",
            "{\"children\":[2],\"scale\":[2,2,2]},{\"mesh\":0,\"rotation\":[0.6,0,0,0.8]}");
        const std::string strided =
            Replaced(parts.json, "\"byteOffset\":0", "\"byteOffset\":0,\"byteStride\":16");
        return std::vector<std::string>{
            one,
            fuzz::Written(WriteGlb, fuzz::SeedScene(2, 1), {.threads = 1}),
            fuzz::Written(WriteGlb, fuzz::SeedScene(1, 3), {.threads = 1}),
            text,
            GlbOf({placed, parts.buffer}),
            GlbOf({strided, parts.buffer})};
    }();
    return seeds;
}

void MutateText(std::string& text) {
    const std::size_t size = text.size();
    text.resize(size + 32);
    text.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(text.data()), size, text.size()));
}

std::size_t Mutate(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int random) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    if (random % 3 != 0 && file.starts_with("glTF")) {
        GlbParts parts = PartsOf(file);
        MutateText(random % 3 == 1 ? parts.json : parts.buffer);
        const std::string changed = GlbOf(parts);
        if (changed.size() <= most) {
            std::ranges::copy(changed, data);
            return changed.size();
        }
    }
    return fuzz::MutateSeeded(Seeds(), data, size, most, random / 3);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::fuzz::RunSceneTarget(vistrel::kTarget, {reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::Mutate(data, size, most, seed);
}
