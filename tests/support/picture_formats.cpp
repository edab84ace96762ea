// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/picture_formats.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vistrel::test {
namespace {

using namespace std::string_literals;

std::string Byte(std::uint32_t value) {
    return {static_cast<char>(value & 255U)};
}
std::string Little16(std::uint32_t value) {
    return Byte(value) + Byte(value >> 8U);
}
std::string Big16(std::uint32_t value) {
    return Byte(value >> 8U) + Byte(value);
}
std::string Big32(std::uint32_t value) {
    return Big16(value >> 16U) + Big16(value);
}

std::string Big16(int value) {
    return Big16(static_cast<std::uint32_t>(value));
}
std::string Big32(int value) {
    return Big32(static_cast<std::uint32_t>(value));
}
std::string Little16(int value) {
    return Little16(static_cast<std::uint32_t>(value));
}

std::uint32_t Crc32(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ ((crc & 1U) * 0xEDB88320U);
    }
    return ~crc;
}

std::uint32_t Adler32(const std::string& bytes) {
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (const char byte : bytes) {
        low = (low + static_cast<unsigned char>(byte)) % 65521U;
        high = (high + low) % 65521U;
    }
    return (high << 16U) | low;
}

std::string PngChunk(const std::string& type, const std::string& content) {
    return Big32(static_cast<std::uint32_t>(content.size())) + type + content +
           Big32(Crc32(type + content));
}

std::string StoredZlib(const std::string& bytes) {
    constexpr std::size_t kMost = 65535;
    std::string stream = "\x78\x01";
    for (std::size_t begin = 0; begin < bytes.size(); begin += kMost) {
        const std::string block = bytes.substr(begin, kMost);
        const auto size = static_cast<std::uint32_t>(block.size());
        stream += Byte(begin + kMost >= bytes.size() ? 1 : 0) + Little16(size) + Little16(~size);
        stream += block;
    }
    return stream + Big32(Adler32(bytes));
}

// One channel of every pixel.
std::string Plane(const PlainPicture& picture, std::size_t channel) {
    std::string plane;
    for (std::size_t i = channel; i < picture.rgba.size(); i += 4) plane += Byte(picture.rgba[i]);
    return plane;
}

std::string Rgb(const PlainPicture& picture) {
    std::string pixels;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        if (i % 4 != 3) pixels += Byte(picture.rgba[i]);
    }
    return pixels;
}

std::string Size(int width, int height) {
    return std::to_string(width) + " " + std::to_string(height);
}

}  // namespace

std::string StoredPng(int width, int height, int bitDepth, int colourType,
                      const std::vector<std::string>& rows, const std::string& palette,
                      const std::string& transparency) {
    std::string pixels;
    for (const std::string& row : rows) pixels += "\0"s + row;
    const std::string header = Big32(width) + Big32(height) +
                               Byte(static_cast<std::uint32_t>(bitDepth)) +
                               Byte(static_cast<std::uint32_t>(colourType)) + "\0\0\0"s;
    std::string file = "\x89PNG\r\n\x1A\n"s + PngChunk("IHDR", header);
    if (!palette.empty()) file += PngChunk("PLTE", palette);
    if (!transparency.empty()) file += PngChunk("tRNS", transparency);
    return file + PngChunk("IDAT", StoredZlib(pixels)) + PngChunk("IEND", "");
}

std::string WithPngChunk(const std::string& png, const std::string& type,
                         const std::string& content) {
    constexpr std::size_t kBehindHeader = 8 + 12 + 13;
    return png.substr(0, kBehindHeader) + PngChunk(type, content) + png.substr(kBehindHeader);
}

std::string StoredGif(int width, int height, const std::string& indices,
                      const std::string& palette) {
    constexpr std::size_t kColours = 128;
    std::string colours = palette;
    colours.resize(3 * kColours);
    std::string file = "GIF89a"s + Little16(width) + Little16(height) + "\xF6\0\0"s + colours;
    file += ","s + Little16(0) + Little16(0) + Little16(width) + Little16(height) + "\0"s;

    // Codes have exactly 8 bits as long as the table is cleared in time: 128 clears, 129 ends.
    constexpr std::size_t kMost = 100;
    file += "\x07";
    for (std::size_t begin = 0; begin < indices.size(); begin += kMost) {
        const std::string block = "\x80"s + indices.substr(begin, kMost);
        file += Byte(static_cast<std::uint32_t>(block.size())) + block;
    }
    return file + "\x01\x81" + "\0;"s;
}

std::string StoredPsd(const PlainPicture& picture) {
    std::string file = "8BPS"s + Big16(1) + "\0\0\0\0\0\0"s + Big16(4) + Big32(picture.height) +
                       Big32(picture.width) + Big16(8) + Big16(3);
    file += Big32(0) + Big32(0) + Big32(0) + Big16(0);
    for (std::size_t channel = 0; channel < 4; ++channel) file += Plane(picture, channel);
    return file;
}

std::string StoredPic(const PlainPicture& picture) {
    std::string file = "\x53\x80\xF6\x34"s + std::string(84, '\0') + "PICT" + Big16(picture.width) +
                       Big16(picture.height) + Big32(0) + Big16(3) + Big16(0);
    constexpr std::uint32_t kRedGreenBlue = 0xE0;
    file += Byte(0) + Byte(8) + Byte(0) + Byte(kRedGreenBlue);
    return file + Rgb(picture);
}

std::string StoredPpm(const PlainPicture& picture) {
    return "P6\n"s + Size(picture.width, picture.height) + "\n255\n" + Rgb(picture);
}

std::string StoredPgm(const PlainPicture& picture) {
    return "P5\n"s + Size(picture.width, picture.height) + "\n255\n" + Plane(picture, 0);
}

std::string StoredHdr(int width, int height, const std::string& pixels) {
    return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y "s + std::to_string(height) + " +X " +
           std::to_string(width) + "\n" + pixels;
}

}  // namespace vistrel::test
