#include "tools/png_writer.h"

#include <fstream>
#include <stdexcept>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace vistrel {

void WritePng(const std::filesystem::path& path, std::span<const std::uint8_t> rgb, int width,
              int height) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    const auto write = [](void* context, void* data, int size) {
        static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
    };
    const int written =
        stbi_write_png_to_func(write, &stream, width, height, 3, rgb.data(), width * 3);
    stream.close();
    if (written == 0 || !stream) throw std::runtime_error("the picture cannot be written");
}

}  // namespace vistrel
