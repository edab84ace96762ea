// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/splat_picture/splat_ply_reader.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little,
              "records are read as they lie in the file");

constexpr std::string_view kVertexCount = "element vertex ";

constexpr std::string_view kHeader[] = {
    "ply",
    "format binary_little_endian 1.0",
    kVertexCount,  // the number of records follows on this line
    "property float x",
    "property float y",
    "property float z",
    "property float f_dc_0",
    "property float f_dc_1",
    "property float f_dc_2",
    "property float opacity",
    "property float scale_0",
    "property float scale_1",
    "property float scale_2",
    "property float rot_0",
    "property float rot_1",
    "property float rot_2",
    "property float rot_3",
    "element extrinsic 16",
    "property float extrinsic",
    "element intrinsic 9",
    "property float intrinsic",
    "element image_size 2",
    "property uint image_size",
    "element frame 2",
    "property int frame",
    "element disparity 2",
    "property float disparity",
    "element color_space 1",
    "property uchar color_space",
    "element version 3",
    "property uchar version",
    "end_header",
};

constexpr std::size_t kLongestHeader = 1024;  // the real one has about 700 bytes
constexpr std::uint64_t kBytesBehindVertices = 64 + 36 + 8 + 8 + 8 + 1 + 3;

struct Header {
    std::uint64_t vertices = 0;
    std::uint64_t bytes = 0;
};

std::uint64_t ParseVertexCount(std::string_view digits) {
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (error != std::errc() || end != digits.data() + digits.size() ||
        count > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
        throw std::runtime_error("the number of vertices in the header is not usable");
    }
    return count;
}

Header ParseHeader(std::string_view text) {
    Header header;
    int lineNumber = 0;
    for (const std::string_view expected : kHeader) {
        ++lineNumber;
        const std::size_t end = text.find('\n', header.bytes);
        const std::string_view line =
            text.substr(header.bytes, end == text.npos ? text.npos : end - header.bytes);
        const bool isCount = expected == kVertexCount && line.starts_with(expected);
        if (end == text.npos || (!isCount && line != expected)) {
            throw std::runtime_error("not a scene of Vistrel: line " + std::to_string(lineNumber) +
                                     " of the header should be \"" + std::string(expected) + "\"");
        }
        if (isCount) header.vertices = ParseVertexCount(line.substr(expected.size()));
        header.bytes = end + 1;
    }
    return header;
}

template <typename T>
void ReadInto(std::ifstream& stream, T* values, std::uint64_t count) {
    const auto bytes = static_cast<std::streamsize>(count * sizeof(T));
    if (!stream.read(reinterpret_cast<char*>(values), bytes)) {
        throw std::runtime_error("the file cannot be read to its end");
    }
}

void CheckLength(const Header& header, std::uint64_t fileBytes) {
    const std::uint64_t expected =
        header.bytes + header.vertices * sizeof(SplatVertex) + kBytesBehindVertices;
    if (fileBytes != expected) {
        throw std::runtime_error("the file has " + std::to_string(fileBytes) +
                                 " bytes, but its header tells of " + std::to_string(expected));
    }
}

void ReadCamera(std::ifstream& stream, SplatFile& file) {
    std::array<float, 16> extrinsic{};
    std::array<float, 9> intrinsic{};
    std::array<std::uint32_t, 2> imageSize{};
    ReadInto(stream, extrinsic.data(), extrinsic.size());
    ReadInto(stream, intrinsic.data(), intrinsic.size());
    ReadInto(stream, imageSize.data(), imageSize.size());
    file.focalX = intrinsic[0];
    file.centreX = intrinsic[2];
    file.focalY = intrinsic[4];
    file.centreY = intrinsic[5];
    file.width = imageSize[0];
    file.height = imageSize[1];
    const bool usable = file.focalX > 0.0F && file.focalY > 0.0F && std::isfinite(file.focalX) &&
                        std::isfinite(file.focalY) && std::isfinite(file.centreX) &&
                        std::isfinite(file.centreY) && file.width > 0 && file.height > 0;
    if (!usable) throw std::runtime_error("the camera in the file is not usable");
}

}  // namespace

SplatFile ReadSplatPly(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("the file cannot be opened");
    std::string start(kLongestHeader, '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    if (stream.bad()) throw std::runtime_error("the file cannot be read");
    start.resize(static_cast<std::size_t>(stream.gcount()));
    const Header header = ParseHeader(start);

    stream.clear();
    stream.seekg(0, std::ios::end);
    CheckLength(header, static_cast<std::uint64_t>(stream.tellg()));
    stream.seekg(static_cast<std::streamoff>(header.bytes));

    SplatFile file;
    file.vertices.resize(header.vertices);
    ReadInto(stream, file.vertices.data(), header.vertices);
    ReadCamera(stream, file);
    return file;
}

}  // namespace vistrel
