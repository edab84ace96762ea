// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/stereo_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <random>
#include <stdexcept>

namespace vistrel {
namespace {

Picture Noise(int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    Picture picture(width, height);
    for (std::uint8_t& value : picture.pixels) value = static_cast<std::uint8_t>(random());
    return picture;
}

using Colour = std::array<double, 3>;  // 0..1, as in a shader

// A texture of a graphics card, row 0 at the bottom.
class Texture {
  public:
    explicit Texture(const Picture& picture) : picture_(picture) {}

    [[nodiscard]] Colour Nearest(double u, double v) const {
        return Texel(static_cast<int>(std::floor(u * picture_.width)),
                     static_cast<int>(std::floor(v * picture_.height)));
    }
    [[nodiscard]] Colour Linear(double u, double v) const {
        const double x = u * picture_.width - 0.5;
        const double y = v * picture_.height - 0.5;
        const int column = static_cast<int>(std::floor(x));
        const int row = static_cast<int>(std::floor(y));
        Colour colour{};
        for (std::size_t i = 0; i < 3; ++i) {
            const auto across = [&](int of) {
                return std::lerp(Texel(column, of)[i], Texel(column + 1, of)[i], x - column);
            };
            colour[i] = std::lerp(across(row), across(row + 1), y - row);
        }
        return colour;
    }

  private:
    [[nodiscard]] Colour Texel(int column, int row) const {
        const int x = std::clamp(column, 0, picture_.width - 1);
        const int y = picture_.height - 1 - std::clamp(row, 0, picture_.height - 1);
        const std::size_t start =
            4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture_.width) +
                 static_cast<std::size_t>(x));
        return {picture_.pixels[start] / 255.0, picture_.pixels[start + 1] / 255.0,
                picture_.pixels[start + 2] / 255.0};
    }
    const Picture& picture_;
};

struct Size {
    int width;
    int height;
};
constexpr std::array<Size, 5> kSizes = {{{64, 48}, {63, 47}, {201, 33}, {2, 2}, {3, 200}}};

// The colour at u, v, both 0..1 from the lower left.
using Shader = std::function<Colour(const Texture& left, const Texture& right, double u, double v)>;

// The largest difference between the layout and what the page's shader makes of the same eyes, in
// grey levels, over some sizes.
double DifferenceFromPage(StereoLayout layout, const Shader& shader) {
    double largest = 0.0;
    for (const Size& size : kSizes) {
        const EyeShape shape = EyeShapeOf(layout, size.width, size.height);
        const Picture left = Noise(shape.width, shape.height, 1);
        const Picture right = Noise(shape.width, shape.height, 2);
        const Picture whole = Combined(layout, left, right, size.width, size.height);
        for (int row = 0; row < size.height; ++row) {
            for (int column = 0; column < size.width; ++column) {
                const Colour colour =
                    shader(Texture(left), Texture(right), (column + 0.5) / size.width,
                           (size.height - row - 0.5) / size.height);
                for (std::size_t i = 0; i < 3; ++i) {
                    const std::size_t start = static_cast<std::size_t>(row) * whole.RowBytes() +
                                              4 * static_cast<std::size_t>(column);
                    largest = std::max(largest, std::abs(255 * std::clamp(colour[i], 0.0, 1.0) -
                                                         whole.pixels[start + i]));
                }
            }
        }
    }
    return largest;
}

TEST(StereoLayout, SideBySideIsThePages) {
    const auto shader = [](const Texture& left, const Texture& right, double u, double v) {
        return u < 0.5 ? left.Nearest(2 * u, v) : right.Nearest(2 * (u - 0.5), v);
    };
    EXPECT_EQ(DifferenceFromPage(StereoLayout::SideBySide, shader), 0.0);
}

TEST(StereoLayout, GridIsThePages) {
    const auto shader = [](const Texture& left, const Texture& right, double u, double v) {
        const auto between = [](double low, double value, double high) {
            return value > low && value < high;
        };
        const bool onTop = between(0.505, v, 0.995);
        const bool onBottom = between(0.005, v, 0.495);
        const bool onLeft = between(0.005, u, 0.495);
        const bool onRight = between(0.505, u, 0.995);
        const double x = onLeft ? 2 * u : 2 * (u - 0.5);
        const double y = onTop ? 2 * (v - 0.5) : 2 * v;
        if ((onTop && onLeft) || (onBottom && onRight)) return left.Linear(x, y);
        if ((onTop && onRight) || (onBottom && onLeft)) return right.Linear(x, y);
        return Colour{};
    };
    EXPECT_LE(DifferenceFromPage(StereoLayout::Grid, shader), 0.51);
}

TEST(StereoLayout, RowsAreThePages) {
    // The number of the row from below is not known from v alone; every size is its own case.
    for (const Size& size : kSizes) {
        const Picture left = Noise(size.width, size.height, 1);
        const Picture right = Noise(size.width, size.height, 2);
        const Picture whole = Combined(StereoLayout::Rows, left, right, size.width, size.height);
        for (int fromBelow = 0; fromBelow < size.height; ++fromBelow) {
            const double fragment = fromBelow + 0.5;
            const Picture& eye = std::fmod(fragment, 2.0) > 1.0 ? left : right;
            const auto start = static_cast<std::ptrdiff_t>(
                static_cast<std::size_t>(size.height - 1 - fromBelow) * whole.RowBytes());
            const auto bytes = static_cast<std::ptrdiff_t>(whole.RowBytes());
            EXPECT_TRUE(std::equal(whole.pixels.begin() + start,
                                   whole.pixels.begin() + start + bytes,
                                   eye.pixels.begin() + start))
                << fromBelow << " of " << size.height;
        }
    }
}

using Matrix = std::array<Colour, 3>;

Shader Anaglyph(const Matrix& ofLeft, const Matrix& ofRight) {
    return [=](const Texture& left, const Texture& right, double u, double v) {
        const Colour l = left.Nearest(u, v);
        const Colour r = right.Nearest(u, v);
        Colour colour{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                colour[i] += ofLeft[i][k] * l[k] + ofRight[i][k] * r[k];
            }
        }
        return colour;
    };
}

TEST(StereoLayout, DuboisIsThePages) {
    const Shader shader = Anaglyph({{{0.4561, 0.500484, 0.176381},
                                     {-0.0400822, -0.0378246, -0.0157589},
                                     {-0.0152161, -0.0205971, -0.00546856}}},
                                   {{{-0.0434706, -0.0879388, -0.00155529},
                                     {0.378476, 0.73364, -0.0184503},
                                     {-0.0721527, -0.112961, 1.2264}}});
    EXPECT_LE(DifferenceFromPage(StereoLayout::Dubois, shader), 0.51);
}

TEST(StereoLayout, ColorAnaglyphIsThePages) {
    const Shader shader =
        Anaglyph({{{1, 0, 0}, {0, 0, 0}, {0, 0, 0}}}, {{{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}});
    EXPECT_EQ(DifferenceFromPage(StereoLayout::Color, shader), 0.0);
}

TEST(StereoLayout, GrayAnaglyphIsThePages) {
    const Colour gray = {0.299, 0.587, 0.114};
    const Colour none = {};
    const Shader shader = Anaglyph({{gray, none, none}}, {{none, gray, gray}});
    EXPECT_LE(DifferenceFromPage(StereoLayout::Gray, shader), 0.51);
}

TEST(StereoLayout, HalfLayoutsTakeTheMeanOfTwoPixels) {
    Picture left(4, 2);
    for (std::size_t i = 0; i < left.pixels.size(); ++i) {
        left.pixels[i] = static_cast<std::uint8_t>(10 * i);
    }
    const Picture right(4, 2);
    const Picture beside = Combined(StereoLayout::HalfSideBySide, left, right, 4, 2);
    EXPECT_EQ(beside.pixels[0], 20);                  // 0 and 40
    EXPECT_EQ(beside.pixels[4 + 1], (90 + 130) / 2);  // of the next two pixels
    EXPECT_EQ(beside.pixels[8], 0);                   // the right eye
    const Picture above = Combined(StereoLayout::HalfOverUnder, left, right, 4, 2);
    EXPECT_EQ(above.pixels[0], 80);  // 0 and 160
    EXPECT_EQ(above.pixels[16], 0);
}

TEST(StereoLayout, ColumnsAndPixelsBeginWithTheLeftEye) {
    Picture left(3, 2);
    std::ranges::fill(left.pixels, std::uint8_t{9});
    const Picture right(3, 2);
    const auto firsts = [](const Picture& picture) {
        std::array<int, 6> all{};
        for (std::size_t i = 0; i < 6; ++i) all[i] = picture.pixels[4 * i];
        return all;
    };
    EXPECT_EQ(firsts(Combined(StereoLayout::Columns, left, right, 3, 2)),
              (std::array{9, 0, 9, 9, 0, 9}));
    EXPECT_EQ(firsts(Combined(StereoLayout::Checkerboard, left, right, 3, 2)),
              (std::array{9, 0, 9, 0, 9, 0}));
}

TEST(StereoLayout, HalfColorTakesTheLeftEyesBrightnessForRed) {
    Picture left(1, 1);
    left.pixels = {0, 200, 0, 255};
    Picture right(1, 1);
    right.pixels = {10, 20, 30, 255};
    const Picture whole = Combined(StereoLayout::HalfColor, left, right, 1, 1);
    EXPECT_EQ(whole.pixels, (std::vector<std::uint8_t>{117, 20, 30, 255}));  // 0.587 * 200
}

TEST(StereoLayout, EveryLayoutMakesEverySize) {
    for (std::size_t i = 0; i < kStereoLayouts.size(); ++i) {
        const auto layout = static_cast<StereoLayout>(i);
        for (int width = 1; width < 6; ++width) {
            for (int height = 1; height < 6; ++height) {
                const EyeShape shape = EyeShapeOf(layout, width, height);
                const Picture eye = Noise(shape.width, shape.height, 3);
                const Picture whole = Combined(layout, eye, eye, width, height);
                EXPECT_EQ(whole.width, width) << kStereoLayouts[i].name;
                EXPECT_EQ(whole.pixels.size(), whole.RowBytes() * static_cast<std::size_t>(height));
            }
        }
    }
}

TEST(StereoLayout, WholeSizeGivesEachEyeItsOwn) {
    for (const StereoLayout layout : {StereoLayout::SideBySide, StereoLayout::Crossed,
                                      StereoLayout::OverUnder, StereoLayout::Dubois}) {
        const WholeSize whole = WholeSizeOf(layout, 30, 20);
        const EyeShape shape = EyeShapeOf(layout, whole.width, whole.height);
        EXPECT_EQ(shape.width, 30) << NameOf(layout).name;
        EXPECT_EQ(shape.height, 20) << NameOf(layout).name;
    }
}

TEST(StereoLayout, EyesOfAnotherSizeAreRefused) {
    EXPECT_THROW(
        static_cast<void>(Combined(StereoLayout::Dubois, Picture(4, 4), Picture(4, 3), 4, 4)),
        std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(Combined(StereoLayout::SideBySide, Picture(4, 4), Picture(4, 4), 4, 4)),
        std::invalid_argument);
}

}  // namespace
}  // namespace vistrel
