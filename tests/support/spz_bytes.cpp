// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/spz_bytes.h"

#include <span>
#include <utility>

#include "formats/byte_sink.h"
#include "formats/deflate.h"
#include "formats/zstd_frames.h"

namespace vistrel::test {

std::string TextOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string Gzipped(std::string_view content) {
    MemorySink sink;
    PackGzip(std::as_bytes(std::span(content)), 1, sink);
    return std::move(sink.content);
}

std::string NumberText(std::uint64_t number, int bytes) {
    std::string text;
    for (int k = 0; k < bytes; ++k) text += static_cast<char>(number >> 8 * k & 0xFF);
    return text;
}

std::string SpzStart(std::uint32_t version, std::uint32_t count, char degree, char fractionalBits,
                     char flags) {
    return "NGSP" + NumberText(version, 4) + NumberText(count, 4) + degree + fractionalBits +
           flags + '\0';
}

std::string SpzRest(const std::string& rotation) {
    return "\x80" + std::string(3, '\x7F') + std::string(3, '\x80') + rotation;
}

std::string Version3(const std::string& extensions) {
    const char flags = extensions.empty() ? 0 : 2;
    const std::string position = NumberText(4096, 3) + NumberText(8192, 3) + NumberText(12288, 3);
    return SpzStart(3, 1, 0, 12, flags) + position + SpzRest(kUnturned3) + extensions;
}

std::string ZstdFrame(const std::string& content) {
    return TextOf(PackZstd(std::as_bytes(std::span(content))));
}

std::string Version4(const StreamsFile& file) {
    const char flags = file.extensions.empty() ? 0 : 2;
    const auto streams = static_cast<char>(file.contents.size());
    std::string text = SpzStart(file.version, file.count, file.degree, 12, flags);
    text.back() = static_cast<char>(streams + file.wrongStreams);
    text += NumberText(32 + file.extensions.size() + file.wrongTable, 4) + std::string(12, '\0');
    text += file.extensions;
    std::string frames;
    for (const std::string& content : file.contents) {
        const std::string frame = ZstdFrame(content);
        const bool isFirst = frames.empty();
        frames += frame;
        text += NumberText(frame.size(), 8);
        text += NumberText(content.size() + (isFirst ? file.wrongBytes : 0), 8);
    }
    return text + frames;
}

std::string AxesRecord(std::uint32_t axes) {
    return NumberText(0xADBE0003, 4) + NumberText(4, 4) + NumberText(axes, 4);
}

}  // namespace vistrel::test
