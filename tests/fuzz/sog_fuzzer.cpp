// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a SOG file, and any parts in one: checksums and entropy coding would stop most
// changes of a whole file. The first byte of an input tells which; parts follow each other, each
// with a byte that tells its name and form, two for its length, and its content.
#include "formats/sog.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/webp_pictures.h"
#include "formats/zip_archive.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/support/sog_parts.h"

namespace vistrel {
namespace {

constexpr char kWholeFile = 0;
constexpr char kParts = 1;

constexpr std::array<std::string_view, 8> kNames = {"meta.json",    "means_l.webp", "means_u.webp",
                                                    "scales.webp",  "quats.webp",   "sh0.webp",
                                                    "palette.webp", "labels.webp"};
constexpr unsigned kNameBits = 7;
constexpr unsigned kAsPixels = 8;  // width and height, then pixels over and over

constexpr std::size_t kPartHead = 3;

// What "@" in meta.json stands for.
const std::string& FuzzCodebook() {
    static const std::string text = [] {
        std::string numbers = "[-4";
        for (int i = 1; i < 256; ++i) numbers += "," + std::to_string(-4.0 + (i * 0.03125));
        return numbers + "]";
    }();
    return text;
}

std::string Expanded(std::string_view meta) {
    std::string text;
    for (const char letter : meta) {
        if (letter == '@') {
            text += FuzzCodebook();
        } else {
            text += letter;
        }
    }
    return text;
}

NumberPicture PictureOfBytes(std::string_view bytes) {
    const auto side = [&bytes](std::size_t at) {
        return at < bytes.size() ? std::max<std::uint32_t>(static_cast<std::uint8_t>(bytes[at]), 1)
                                 : 1U;
    };
    NumberPicture picture({.width = side(0), .height = side(1)});
    const std::string_view pixels = bytes.substr(std::min<std::size_t>(bytes.size(), 2));
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        picture.pixels[i] =
            pixels.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(pixels[i % pixels.size()]);
    }
    return picture;
}

void AddPart(ZipWriter& writer, unsigned form, std::string_view content) {
    const std::string_view name = kNames[form & kNameBits];
    if ((form & kAsPixels) != 0) {
        writer.Add(name, WebpFile(PictureOfBytes(content), 0).Bytes());
    } else {
        const std::string text = (form & kNameBits) == 0 ? Expanded(content) : std::string(content);
        writer.Add(name, std::as_bytes(std::span(text)));
    }
}

std::string FileOfParts(std::string_view input) {
    MemorySink sink;
    ZipWriter writer(sink);
    while (input.size() > kPartHead) {
        const auto byte = [&input](std::size_t at) { return static_cast<std::uint8_t>(input[at]); };
        const std::size_t length = byte(1) + (std::size_t{256} * byte(2));
        const unsigned form = byte(0);
        input.remove_prefix(kPartHead);
        AddPart(writer, form, input.substr(0, length));
        input.remove_prefix(std::min(length, input.size()));
    }
    writer.Finish();
    return sink.content;
}

void PutPart(std::string& input, unsigned form, std::string_view content) {
    input += static_cast<char>(form);
    input += static_cast<char>(content.size() % 256);
    input += static_cast<char>(content.size() / 256);
    input += content;
}

std::string WithShortCodebooks(std::string meta) {
    constexpr std::string_view kMark = "\"codebook\":";
    for (std::size_t at = meta.find(kMark); at != std::string::npos; at = meta.find(kMark, at)) {
        at += kMark.size();
        meta.replace(at, meta.find(']', at) + 1 - at, "@");
    }
    return meta;
}

std::string InputOfParts(const SogParts& parts, bool asPixels) {
    std::string input(1, kParts);
    PutPart(input, 0, WithShortCodebooks(parts.meta));
    for (unsigned name = 1; name < kNames.size(); ++name) {
        const NumberPicture& picture = parts.pictures.at(std::string(kNames[name]));
        const auto text = [](const auto* bytes, std::size_t size) {
            return std::string(reinterpret_cast<const char*>(bytes), size);
        };
        if (asPixels) {
            const std::size_t pixels = std::min<std::size_t>(picture.pixels.size(), 64);
            PutPart(input, name | kAsPixels,
                    std::string{static_cast<char>(picture.size.width),
                                static_cast<char>(picture.size.height)} +
                        text(picture.pixels.data(), pixels));
        } else {
            const WebpFile file(picture, 0);
            PutPart(input, name, text(file.Bytes().data(), file.Bytes().size()));
        }
    }
    return input;
}

const std::vector<std::string>& SogSeeds() {
    static const std::vector<std::string> seeds = {
        InputOfParts(SogVersion2(), true),
        InputOfParts(SogVersion1(), true),
        InputOfParts(SogVersion2(), false),
        InputOfParts(SogVersion1(), false),
        std::string(1, kWholeFile) + FileOfParts(InputOfParts(SogVersion1(), false).substr(1)),
    };
    return seeds;
}

// What the reader reads can be written, and is read again whole.
void RequireSogAgain(const fuzz::SceneTarget& target, const RawScene& scene) {
    constexpr std::size_t kMostWritten = 500;  // more takes long
    if (scene.Count() > kMostWritten) return;
    const auto again = fuzz::ReadAnyScene(target, fuzz::Written(WriteSog, scene, {.threads = 1}));
    fuzz::Require(again.has_value());
    fuzz::Require(again->Count() == scene.Count());
    fuzz::Require(again->Degree() == (scene.Degree() > 0 ? kMostHarmonicsDegree : 0));
}

}  // namespace
}  // namespace vistrel

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int random) {
    return vistrel::fuzz::MutateSeeded(vistrel::SogSeeds(), data, size, most, random);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (input.empty()) return 0;
    const std::string file = input[0] % 2 == vistrel::kWholeFile
                                 ? std::string(input.substr(1))
                                 : vistrel::FileOfParts(input.substr(1));
    // 1,024 bytes of memory for each of the file's, of which a Gaussian takes 56.
    const vistrel::fuzz::SceneTarget target = {
        .read = vistrel::ReadSog, .ending = ".sog", .gaussiansPerByte = 19.0};
    if (auto scene = vistrel::fuzz::ReadAnyScene(target, file)) {
        vistrel::RequireSogAgain(target, *scene);
        vistrel::fuzz::RequireWritable(std::move(*scene));
    }
    return 0;
}
