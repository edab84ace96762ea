// SPDX-License-Identifier: GPL-3.0-or-later
// SPZ files for tests, put together by hand so that they do not depend on the writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel::test {

[[nodiscard]] std::string TextOf(const std::vector<std::byte>& bytes);
[[nodiscard]] std::string Gzipped(std::string_view content);

// The lowest `bytes` bytes of a number, the least significant first.
[[nodiscard]] std::string NumberText(std::uint64_t number, int bytes);

// The header of versions 1 to 3.
[[nodiscard]] std::string SpzStart(std::uint32_t version, std::uint32_t count, char degree = 0,
                                   char fractionalBits = 12, char flags = 0);

// What lies behind positions: a half opaque, grey one of e^-2 with a rotation.
[[nodiscard]] std::string SpzRest(const std::string& rotation);

// A rotation of version 3: w is largest, the others are 0.
inline const std::string kUnturned3 = {'\0', '\0', '\0', '\xC0'};

// The content of a file of version 3 with one Gaussian and its records of extensions, not packed.
[[nodiscard]] std::string Version3(const std::string& extensions = "");

[[nodiscard]] std::string ZstdFrame(const std::string& content);

struct StreamsFile {
    std::uint32_t version = 4;
    std::uint32_t count = 1;
    char degree = 0;
    std::string extensions = {};
    std::vector<std::string> contents = {std::string(9, '\0'), "\x80", "\x7F\x7F\x7F",
                                         "\x80\x80\x80", kUnturned3};
    std::uint64_t wrongBytes = 0;  // of the first stream, added to what the table says
    char wrongStreams = 0;
    std::uint32_t wrongTable = 0;
};

// A file of version 4.
[[nodiscard]] std::string Version4(const StreamsFile& file);

// The extension that says how a scene lies.
[[nodiscard]] std::string AxesRecord(std::uint32_t axes);

}  // namespace vistrel::test
