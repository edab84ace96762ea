// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/json_generator.h"

#include <array>
#include <cstddef>
#include <random>
#include <string_view>

namespace vistrel::fuzz {
namespace {

constexpr std::array<std::string_view, 14> kNames = {
    "modelPath", "outputDir", "outputFilename", "stereoMode",        "isSwapped",
    "focus",     "depth",     "isSharpMode",    "executionProvider", "",
    "theme",     "\\u0000",   "\xC3\xA9",       "\\ud83d\\ude00"};

constexpr std::array<std::string_view, 36> kTexts = {"",
                                                     "0",
                                                     "30",
                                                     "-12.5",
                                                     " +7.25 mm",
                                                     "0x1p4",
                                                     "0X.8",
                                                     "1e5",
                                                     "1e",
                                                     "1e400",
                                                     "-1e-400",
                                                     "2.2250738585072014e-308",
                                                     "2.2250738585072011e-308",
                                                     "1.7976931348623157e308",
                                                     "1.7976931348623159e308",
                                                     "inf",
                                                     "nan",
                                                     "nan(1)",
                                                     "1,5",
                                                     "1_000",
                                                     "\\u00a05",
                                                     "\\uff11",
                                                     "\\t\\n\\u000b5",
                                                     "/m/model.onnx",
                                                     "a\\u0000b",
                                                     "\\udc80",
                                                     "\\udcc3\\udca9",
                                                     "\\ud800",
                                                     "\\ud800\\udcff",
                                                     "\\udbff\\udfff",
                                                     "\\uffff\\ufeff",
                                                     "\\ufeffa",
                                                     "\xEF\xBB\xBF",
                                                     "\\\\ \\\" \\/",
                                                     "\xE3\x83\xA2\xF0\x9F\x98\x80",
                                                     "0.1234567890123456789"};

constexpr std::array<std::string_view, 22> kNumbers = {
    "0",          "1",          "2",
    "5",          "-1",         "-0",
    "1.5",        "2.0",        "1e0",
    "2147483647", "2147483648", "4294967295",
    "4294967296", "1e300",      "9007199254740993",
    "1E400",      "5e-324",     "18446744073709551616",
    "01",         "1.",         "4294967294.9999999",
    "-2147483648"};

class Generator {
  public:
    explicit Generator(unsigned int seed) : random_(seed) {}

    std::string Object(int depth) {
        std::string text = "{";
        for (std::size_t i = Below(10); i > 0; --i) {
            text += Quoted(kNames[Below(kNames.size())]) + ':' + Value(depth);
            if (i > 1) text += ", ";
        }
        return text + '}';
    }

  private:
    std::size_t Below(std::size_t limit) { return random_() % limit; }

    static std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

    std::string Value(int depth) {
        constexpr int kDeepest = 4;
        switch (Below(depth < kDeepest ? 9 : 7)) {
            case 0:
                return "true";
            case 1:
                return "null";
            case 2:
            case 3:
                return std::string(kNumbers[Below(kNumbers.size())]);
            case 7:
                return Object(depth + 1);
            case 8:
                return '[' + Value(depth + 1) + ']';
            default:
                return Quoted(kTexts[Below(kTexts.size())]);
        }
    }

    std::minstd_rand random_;
};

}  // namespace

std::string AnySettingsText(unsigned int seed) {
    return Generator(seed).Object(0);
}

}  // namespace vistrel::fuzz
