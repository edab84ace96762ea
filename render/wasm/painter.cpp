// SPDX-License-Identifier: GPL-3.0-or-later
// What the module offers: one scene, painted as one eye sees it.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/aligned_array.h"
#include "base/failures.h"
#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/spark_packing.h"
#include "render/splat_renderer.h"

// Puts a function into the module's interface.
#define VISTREL_EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace vistrel {
namespace {

constexpr std::size_t kDegrees = kMostHarmonicsDegree;

// Addresses have 32 bits. Of larger scenes the harmonics alone would take all of them, and of
// larger pictures the pixels a quarter.
constexpr std::size_t kMostAddressable = std::size_t{1} << 25U;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28U;

// Words of the next Gaussians, as many as a share is taken of.
using GaussianWords = std::array<std::uint32_t, kSparkWords * kShareBlock>;
using HarmonicsWords = std::array<std::uint32_t, 4 * kShareBlock>;

// From where the scene is seen, and what of it. The picture's first row is the lowest.
struct View {
    // Rows of the rotation from the world to x right, y up, z forward.
    std::array<std::array<float, 3>, 3> rows;
    std::array<float, 3> position;
    float focalX;  // pixels
    float focalY;
    float centreX;
    float centreY;
    float nearest;
    float share;
};

// Random numbers by xorshift (Marsaglia, "Xorshift RNGs", Journal of Statistical Software 8(14),
// 2003).
class Random {
  public:
    std::uint32_t Next() {
        state_ ^= state_ << 13U;
        state_ ^= state_ >> 17U;
        state_ ^= state_ << 5U;
        return state_;
    }

  private:
    std::uint32_t state_ = 0x9E3779B9;
};

// What the page fills in before it calls.
SparkEncoding encoding;
GaussianWords gaussianWords;
std::array<HarmonicsWords, kDegrees> harmonicsWords;
View view;

class Painter {
  public:
    Painter(std::size_t count, int degree) : unpacker_(encoding), scene_(count, degree) {
        // What never comes is not drawn.
        std::fill_n(scene_.Planes().Of(Plane::BlueOpacity), scene_.Planes().stride, 0.0F);
    }

    void Append(std::size_t count) {
        SparkWords words = {gaussianWords.data(), {}};
        for (std::size_t i = 0; i < kDegrees; ++i) words.harmonics[i] = harmonicsWords[i].data();
        const std::span<const std::uint16_t> order =
            Spread(std::min(count, scene_.Count() - filled_));
        unpacker_.Unpack(words, order, scene_.Planes(), filled_);
        filled_ += order.size();
    }

    const std::uint8_t* Paint(int width, int height) {
        const PinholeCamera camera = {view.position, view.rows,    view.focalX, view.focalY,
                                      view.centreX,  view.centreY, width,       height};
        if (std::int64_t{width} * height > kMostPixels) FailForMemory();
        const std::size_t rowBytes = 4 * static_cast<std::size_t>(width);
        pixels_.Reserve(rowBytes * static_cast<std::size_t>(height));
        SplatStyle style;
        style.nearest = view.nearest;
        style.byDistance = true;
        style.keepsArea = true;
        style.brightest = 1.0F;
        constexpr float kLeastShare = 0.01F;
        style.share = view.share < 1.0F ? std::max(view.share, kLeastShare) : 1.0F;
        style.enlargement = 1.0F / std::sqrt(style.share);  // the same area as that of all
        renderer_.Draw(scene_, camera, {pixels_.data(), rowBytes}, style);
        return pixels_.data();
    }

  private:
    // An order in which the first ones of `count` are spread evenly, whatever their number, since
    // neighbours in a file are mostly neighbours in space: counting with the bits in reverse order.
    // Where it begins is random, lest the gaps in neighbouring parts line up.
    std::span<const std::uint16_t> Spread(std::size_t count) {
        constexpr unsigned kBits = 10;
        static_assert(kShareBlock == 1U << kBits);
        const std::uint32_t begin = random_.Next();
        std::size_t filled = 0;
        for (std::uint32_t i = 0; i < kShareBlock; ++i) {
            const std::uint32_t reversed = __builtin_bitreverse32(i) >> (32U - kBits);
            const std::uint32_t place = (begin + reversed) % kShareBlock;
            if (place < count) order_[filled++] = static_cast<std::uint16_t>(place);
        }
        return {order_.data(), filled};
    }

    SparkUnpacker unpacker_;
    GaussianScene scene_;
    std::size_t filled_ = 0;
    Random random_;
    std::array<std::uint16_t, kShareBlock> order_{};
    SplatRenderer renderer_{1};
    AlignedArray<std::uint8_t> pixels_;
};

Painter* painter = nullptr;

}  // namespace

VISTREL_EXPORT(encoding) SparkEncoding* EncodingPlace() {
    return &encoding;
}

// Of Gaussians, or of their harmonics of a degree.
VISTREL_EXPORT(words) std::uint32_t* WordsPlace(std::uint32_t degree) {
    return degree == 0 ? gaussianWords.data() : harmonicsWords[degree - 1].data();
}

VISTREL_EXPORT(view) View* ViewPlace() {
    return &view;
}

// Makes room for a scene, once for each instance of the module.
VISTREL_EXPORT(begin) void Begin(std::size_t count, int degree) {
    if (count > kMostAddressable) FailForMemory();
    painter = new Painter(count, degree);
}

// Takes over the next Gaussians: kShareBlock of them, or the last ones.
VISTREL_EXPORT(append) void Append(std::size_t count) {
    painter->Append(count);
}

// Red, green, blue and how much is covered; valid until the next call.
VISTREL_EXPORT(paint) const std::uint8_t* Paint(int width, int height) {
    return painter->Paint(width, height);
}

}  // namespace vistrel
