// SPDX-License-Identifier: GPL-3.0-or-later
// decode_photo MODULE PHOTO SAMPLES: lets one decoder's module read a file, writes the samples as
// they lie in memory and prints what else it tells as JSON. Exit status 3: the file is of another
// kind; 1: it cannot be read, standard error says why.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <span>
#include <string>

#include "photos/module.h"

namespace {

using Bytes = std::span<const std::byte>;

void PrintHex(const char* name, Bytes bytes) {
    std::printf("\"%s\": \"", name);
    for (const std::byte byte : bytes) std::printf("%02x", static_cast<unsigned int>(byte));
    std::printf("\", ");
}

void Print(const vistrel::DecodedPhoto& photo) {
    std::printf("{");
    PrintHex("icc", photo.colours.iccProfile);
    PrintHex("exif", photo.exif);
    std::printf("\"primaries\": %d, \"transfer\": %d, \"format\": %d, \"model\": %d, ",
                photo.colours.coded.primaries, photo.colours.coded.transfer,
                static_cast<int>(photo.format), static_cast<int>(photo.model));
    std::printf(
        "\"width\": %d, \"height\": %d, \"opaque\": %s, \"orientation\": %d, "
        "\"exifTurns\": %s, \"reduction\": %d}\n",
        photo.width, photo.height, photo.opaque ? "true" : "false", photo.orientation,
        photo.exifTurns ? "true" : "false", photo.reduction);
}

int Decode(const char* modulePath, const char* photoPath, const char* samplesPath) {
    void* const module = dlopen(modulePath, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return EXIT_FAILURE;
    }
    const auto load =
        reinterpret_cast<decltype(&VistrelLoadPhoto)>(dlsym(module, vistrel::kPhotoModuleFunction));
    std::ifstream input(photoPath, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(input), {}};
    vistrel::DecodedPhoto photo;
    if (!load(std::as_bytes(std::span(bytes)), photo)) return 3;
    Print(photo);
    const std::size_t size = static_cast<std::size_t>(photo.width) *
                             static_cast<std::size_t>(photo.height) * vistrel::kPixelBytes *
                             vistrel::BytesPerSample(photo.format);
    std::ofstream(samplesPath, std::ios::binary)
        .write(reinterpret_cast<const char*>(photo.samples.get()),
               static_cast<std::streamsize>(size));
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    try {
        return Decode(argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
