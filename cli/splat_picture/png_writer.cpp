// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/splat_picture/png_writer.h"

#include <cstddef>
#include <stdexcept>
#include <vector>

#include "base/new_file.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace vistrel {

void WritePng(const std::filesystem::path& path, std::span<const std::uint8_t> rgb, int width,
              int height) {
    std::vector<std::byte> png;
    const auto append = [](void* context, void* data, int size) {
        const auto* const bytes = static_cast<const std::byte*>(data);
        auto& all = *static_cast<std::vector<std::byte>*>(context);
        all.insert(all.end(), bytes, bytes + size);
    };
    const bool isEncoded =
        stbi_write_png_to_func(append, &png, width, height, 3, rgb.data(), width * 3) != 0;
    if (!isEncoded || !WriteNewFile(path, png)) {
        throw std::runtime_error("the picture cannot be written");
    }
}

}  // namespace vistrel
