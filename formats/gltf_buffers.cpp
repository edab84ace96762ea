// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/gltf_buffers.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "formats/base64.h"

namespace vistrel {
namespace {

constexpr int kHexadecimal = 16;

// "%41" is "A".
std::string WithoutEscapes(std::string_view uri) {
    std::string text;
    while (!uri.empty()) {
        unsigned char character = static_cast<unsigned char>(uri.front());
        std::size_t length = 1;
        if (uri.front() == '%' && uri.size() >= 3) {
            const char* const end = uri.data() + 3;
            const auto parsed = std::from_chars(uri.data() + 1, end, character, kHexadecimal);
            if (parsed.ptr == end) length = 3;
        }
        text += static_cast<char>(length == 1 ? uri.front() : static_cast<char>(character));
        uri.remove_prefix(length);
    }
    return text;
}

}  // namespace

GltfBuffer GltfBufferFiles::Open(const std::string& uri, const std::filesystem::path& folder) {
    if (uri.starts_with("data:")) {
        const std::size_t comma = std::min(uri.find(','), uri.size() - 1);
        const std::string_view text = uri;
        std::optional<std::vector<std::byte>> content = BytesOfBase64(text.substr(comma + 1));
        if (!text.substr(0, comma).ends_with(";base64") || !content) {
            throw std::runtime_error("a buffer is not written in base64");
        }
        contents_.push_back(std::move(*content));
        const std::span<const std::byte> bytes = contents_.back();
        files_.push_back(std::make_unique<InputFile>(bytes));
    } else {
        const std::string name = WithoutEscapes(uri);
        const std::filesystem::path path = name;
        const bool isBeside = uri.find(':') == uri.npos && name.find('\0') == name.npos &&
                              path.is_relative() && std::ranges::find(path, "..") == path.end();
        if (!isBeside) throw std::runtime_error("a buffer is not in the file's folder");
        try {
            files_.push_back(std::make_unique<InputFile>(folder / path));
        } catch (const std::runtime_error&) {
            throw std::runtime_error("a buffer's file cannot be opened");
        }
    }
    return {files_.back().get(), 0, files_.back()->Size()};
}

}  // namespace vistrel
