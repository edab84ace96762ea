#include "cli/convert/whole_ply.h"

#include <charconv>
#include <cstdint>
#include <exception>
#include <fstream>
#include <string>
#include <string_view>

#include "engine/splat_ply_format.h"

namespace vistrel {
namespace {

// The number behind "element vertex " in the third line; -1 where there is none.
std::int32_t VertexCount(const std::filesystem::path& path) {
    constexpr std::string_view kKeyword = "element vertex ";
    std::ifstream file(path, std::ios::binary);
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(file, line);
    std::int32_t count = -1;
    if (line.starts_with(kKeyword)) {
        std::from_chars(line.data() + kKeyword.size(), line.data() + line.size(), count);
    }
    return count;
}

}  // namespace

bool IsWholeSplatPly(const std::filesystem::path& path) noexcept {
    try {
        if (!std::filesystem::is_regular_file(path)) return true;
        const std::int32_t count = VertexCount(path);
        return count >= 0 && std::filesystem::file_size(path) == SplatPlyFileSize(count);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace vistrel
