// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/icc_profiles.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace vistrel::test {
namespace {

using namespace std::string_literals;

std::string Big(std::uint32_t number, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>((number >> (8 * i)) & 0xFF);
    return text;
}

std::string Fixed(double number) {
    return Big(static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(number * 65536))),
               4);
}

std::string Xyz(double x, double y, double z) {
    return "XYZ \0\0\0\0"s + Fixed(x) + Fixed(y) + Fixed(z);
}

std::string White() {
    return Fixed(0.9642) + Fixed(1) + Fixed(0.8249);
}

using Tag = std::pair<std::string, std::string>;

std::string Profile(const std::string& kind, const std::string& space, const std::string& between,
                    const std::vector<Tag>& tags) {
    constexpr std::size_t kHead = 128;
    std::string table = Big(static_cast<std::uint32_t>(tags.size()), 4);
    std::string contents;
    const std::size_t begin = kHead + 4 + 12 * tags.size();
    for (const auto& [name, content] : tags) {
        table += name + Big(static_cast<std::uint32_t>(begin + contents.size()), 4) +
                 Big(static_cast<std::uint32_t>(content.size()), 4);
        contents += content;
        contents.resize((contents.size() + 3) / 4 * 4);
    }
    const std::size_t size = begin + contents.size();
    std::string head = Big(static_cast<std::uint32_t>(size), 4) + "\0\0\0\0"s + "\x02\x40\0\0"s +
                       kind + space + between;
    head += std::string(12, '\0') + "acsp";
    head.resize(68);
    head += White();
    head.resize(kHead);
    return head + table + contents;
}

}  // namespace

std::string IccPower(double gamma) {
    return "curv\0\0\0\0\0\0\0\1"s + Big(static_cast<std::uint32_t>(std::lround(gamma * 256)), 2);
}

std::string IccSrgbCurve() {
    return "para\0\0\0\0\0\3\0\0"s + Fixed(2.4) + Fixed(1 / 1.055) + Fixed(0.055 / 1.055) +
           Fixed(1 / 12.92) + Fixed(0.04045);
}

std::string IccOfDisplay(const PlainPrimaries& primaries, const std::string& curve) {
    const PlainMatrix m = PlainToD50(primaries);
    return Profile("mntr", "RGB ", "XYZ ",
                   {{"wtpt", Xyz(0.9642, 1, 0.8249)},
                    {"rXYZ", Xyz(m[0][0], m[1][0], m[2][0])},
                    {"gXYZ", Xyz(m[0][1], m[1][1], m[2][1])},
                    {"bXYZ", Xyz(m[0][2], m[1][2], m[2][2])},
                    {"rTRC", curve},
                    {"gTRC", curve},
                    {"bTRC", curve}});
}

std::string IccOfGrey(const std::string& curve) {
    return Profile("mntr", "GRAY", "XYZ ", {{"wtpt", Xyz(0.9642, 1, 0.8249)}, {"kTRC", curve}});
}

std::string IccTable(const std::string& space, const std::vector<IccLab>& corners) {
    const int inputs = corners.size() == 8 ? 3 : 4;
    std::string table = "mft1\0\0\0\0"s + Big(static_cast<std::uint32_t>(inputs), 1) +
                        "\3\2\0"s;  // outputs, points along each side
    for (int i = 0; i < 9; ++i) table += Fixed(i % 4 == 0 ? 1 : 0);
    const auto identity = [] {
        std::string bytes;
        for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
        return bytes;
    }();
    for (int i = 0; i < inputs; ++i) table += identity;
    for (const IccLab& corner : corners) table += corner;
    for (int i = 0; i < 3; ++i) table += identity;
    return Profile("prtr", space, "Lab ", {{"wtpt", Xyz(0.9642, 1, 0.8249)}, {"A2B0", table}});
}

std::vector<std::byte> ToBytes(const std::string& text) {
    std::vector<std::byte> bytes;
    bytes.reserve(text.size());
    for (const char character : text) bytes.push_back(static_cast<std::byte>(character));
    return bytes;
}

}  // namespace vistrel::test
