#include "cli/splat_picture/png_writer.h"

#include <fstream>
#include <stdexcept>
#include <system_error>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace vistrel {
namespace {

void Require(bool succeeded) {
    if (!succeeded) throw std::runtime_error("the picture cannot be written");
}

}  // namespace

void WritePng(const std::filesystem::path& path, std::span<const std::uint8_t> rgb, int width,
              int height) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    Require(stream.is_open());
    const auto write = [](void* context, void* data, int size) {
        static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
    };
    const int written =
        stbi_write_png_to_func(write, &stream, width, height, 3, rgb.data(), width * 3);
    stream.close();
    const bool isWhole = written != 0 && stream;
    std::error_code ignored;
    if (!isWhole && std::filesystem::is_regular_file(path, ignored)) {
        std::filesystem::remove(path, ignored);
    }
    Require(isWhole);
}

}  // namespace vistrel
