// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_colours.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vistrel::test {
namespace {

PlainMatrix Inverse(const PlainMatrix& m) {
    const auto cofactor = [&](std::size_t row, std::size_t column) {
        const std::size_t r1 = (row + 1) % 3;
        const std::size_t r2 = (row + 2) % 3;
        const std::size_t c1 = (column + 1) % 3;
        const std::size_t c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant =
        m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    PlainMatrix inverse = {};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            inverse[row][column] = cofactor(column, row) / determinant;
        }
    }
    return inverse;
}

PlainMatrix Product(const PlainMatrix& a, const PlainMatrix& b) {
    PlainMatrix product = {};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i) product[row][column] += a[row][i] * b[i][column];
        }
    }
    return product;
}

PlainColour Xyz(double x, double y) {
    return {x / y, 1, (1 - x - y) / y};
}

PlainMatrix Diagonal(const PlainColour& values) {
    return {{{values[0], 0, 0}, {0, values[1], 0}, {0, 0, values[2]}}};
}

}  // namespace

PlainColour PlainProduct(const PlainMatrix& matrix, const PlainColour& colour) {
    PlainColour product = {};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) product[row] += matrix[row][i] * colour[i];
    }
    return product;
}

PlainMatrix PlainToXyz(const PlainPrimaries& primaries) {
    PlainMatrix columns = {};
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const PlainColour xyz = Xyz(primaries[2 + 2 * channel], primaries[3 + 2 * channel]);
        for (std::size_t row = 0; row < 3; ++row) columns[row][channel] = xyz[row];
    }
    const PlainColour parts = PlainProduct(Inverse(columns), Xyz(primaries[0], primaries[1]));
    return Product(columns, Diagonal(parts));
}

PlainMatrix PlainToD50(const PlainPrimaries& primaries) {
    constexpr PlainMatrix kBradford = {
        {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
    constexpr PlainColour kD50 = {0.9642, 1, 0.8249};
    const PlainColour from = PlainProduct(kBradford, Xyz(primaries[0], primaries[1]));
    const PlainColour to = PlainProduct(kBradford, kD50);
    const PlainMatrix scaled =
        Product(Diagonal({to[0] / from[0], to[1] / from[1], to[2] / from[2]}), kBradford);
    return Product(Product(Inverse(kBradford), scaled), PlainToXyz(primaries));
}

double PlainSrgbLight(double sample) {
    return sample <= 0.04045 ? sample / 12.92 : std::pow((sample + 0.055) / 1.055, 2.4);
}

double PlainSrgbSample(double light) {
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

PlainCurve PlainPower(double gamma) {
    return [gamma](double sample) { return std::pow(sample, gamma); };
}

std::array<std::uint8_t, 3> PlainToSrgb(const PlainPrimaries& primaries, const PlainCurve& curve,
                                        const PlainColour& samples) {
    const PlainColour light = {curve(samples[0]), curve(samples[1]), curve(samples[2])};
    const PlainColour srgb =
        PlainProduct(Product(Inverse(PlainToXyz(kPlainSrgb)), PlainToXyz(primaries)), light);
    std::array<std::uint8_t, 3> pixel = {};
    for (std::size_t i = 0; i < 3; ++i) {
        const double sample = PlainSrgbSample(std::clamp(srgb[i], 0.0, 1.0));
        pixel[i] = static_cast<std::uint8_t>(std::lround(sample * 255));
    }
    return pixel;
}

}  // namespace vistrel::test
