// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/relief_demo.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

// As its maker names itself in the file, which begins with a version and that name.
constexpr std::string_view kProducer = "Vistrel relief demo";
constexpr std::size_t kHead = 64;

}  // namespace

bool IsReliefDemo(const std::wstring& modelPath) {
    const std::filesystem::path path = ToPath(modelPath);
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(path, unknown)) return false;  // a pipe might never open
    std::ifstream file(path, std::ios::binary);
    std::array<char, kHead> head{};
    file.read(head.data(), head.size());
    const std::string_view bytes(head.data(), static_cast<std::size_t>(file.gcount()));
    return bytes.find(kProducer) != bytes.npos;
}

}  // namespace vistrel
