// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_loading.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

#include "base/log.h"
#include "base/text_encoding.h"
#include "engine/image_decoding.h"
#include "engine/image_resizing.h"
#include "engine/picture.h"
#include "engine/upright_rows.h"

namespace vistrel {
namespace {

constexpr std::size_t kSide = kNetworkSide;
constexpr std::size_t kPlane = kSide * kSide;

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

Picture DecodeFile(const std::wstring& path) {
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(ToPath(path).c_str(), "rb"));
    if (!file) throw std::runtime_error("Failed to open file for stb_image");
    return DecodePicture(file.get());
}

// Alpha is dropped. A division, since multiplying by 1/255 would be off in the last bit.
void WriteTensorRow(void* tensor, int y, const std::uint8_t* pixels) noexcept {
    float* const red = static_cast<float*>(tensor) + (static_cast<std::size_t>(y) * kSide);
    float* const green = red + kPlane;
    float* const blue = green + kPlane;
    for (std::size_t x = 0; x < kSide; ++x) {
        red[x] = static_cast<float>(pixels[(kPixelBytes * x) + 0]) / 255.0F;
        green[x] = static_cast<float>(pixels[(kPixelBytes * x) + 1]) / 255.0F;
        blue[x] = static_cast<float>(pixels[(kPixelBytes * x) + 2]) / 255.0F;
    }
}

const std::uint8_t* ReadUprightRow(void* rows, int y) noexcept {
    return static_cast<UprightRows*>(rows)->Row(y);
}

RowSource SourceOf(UprightRows& rows, bool opaque) {
    return {ReadUprightRow, &rows, rows.Width(), rows.Height(), opaque};
}

AlignedVector<float> MakeTensor(UprightRows& rows, const Photograph& photograph) {
    AlignedVector<float> tensor(3 * kPlane);
    if (rows.Width() == kNetworkSide && rows.Height() == kNetworkSide) {
        for (int y = 0; y < kNetworkSide; ++y) WriteTensorRow(tensor.data(), y, rows.Row(y));
        return tensor;
    }
    // A second thread sees the picture through rows of its own, unless memory makes them differ.
    const bool opaque = photograph.picture.opaque;
    UprightRows others(photograph.picture, photograph.orientation);
    const std::array sources = {SourceOf(rows, opaque), SourceOf(others, opaque)};
    const bool agree = rows.IsUnturned() == others.IsUnturned();
    ResizeToSquare(std::span(sources).first(agree ? 2 : 1), kNetworkSide,
                   {WriteTensorRow, tensor.data()});
    return tensor;
}

void LogLoadedImage(const std::wstring& path, const PreprocessedImage& image) {
    const std::wstring side = std::to_wstring(kNetworkSide);
    LogInfoWide(L"  Loaded image: " + path + L"  orig=" + std::to_wstring(image.width) + L"x" +
                std::to_wstring(image.height) + L"  input=" + side + L"x" + side);
}

}  // namespace

PreprocessedImage Preprocess(const Photograph& photograph, const std::wstring& path) {
    const Picture& picture = photograph.picture;
    UprightRows rows(picture, photograph.orientation);

    PreprocessedImage image;
    image.tensor = MakeTensor(rows, photograph);
    image.width = rows.Width();
    image.height = rows.Height();
    image.focalPx = photograph.focalPx.value_or(static_cast<float>(image.width));
    LogLoadedImage(path, image);
    return image;
}

PreprocessedImage LoadAndPreprocess(const std::wstring& path, int orientation) {
    return Preprocess({DecodeFile(path), orientation, std::nullopt}, path);
}

}  // namespace vistrel
