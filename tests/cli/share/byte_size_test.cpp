// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/byte_size.h"

#include <gtest/gtest.h>

namespace vistrel {
namespace {

TEST(ByteSize, UnitsAreThousandsOrGoBy1024) {
    EXPECT_EQ(ParseByteSize("7B"), 7U);
    EXPECT_EQ(ParseByteSize("900kB"), 900'000U);
    EXPECT_EQ(ParseByteSize("10MB"), 10'000'000U);
    EXPECT_EQ(ParseByteSize("2GB"), 2'000'000'000U);
    EXPECT_EQ(ParseByteSize("3KiB"), 3072U);
    EXPECT_EQ(ParseByteSize("1MiB"), 1'048'576U);
    EXPECT_EQ(ParseByteSize("1000GiB"), 1'073'741'824'000U);
}

TEST(ByteSize, LettersMayBeSmallOrLargeAndTheNumberBroken) {
    EXPECT_EQ(ParseByteSize("1.5 mb"), 1'500'000U);
    EXPECT_EQ(ParseByteSize("0.5KIB"), 512U);
    EXPECT_EQ(ParseByteSize("1.9999B"), 1U);
}

TEST(ByteSize, AnythingElseIsNone) {
    for (const char* const text :
         {"", "10", "MB", "10M", "-1MB", "+1MB", "0MB", "0.9B", "1e6B", "1,5MB", "10  MB", " 10MB",
          "10MB ", "nanMB", "infMB", "0x10B", "1001GiB", "99999999999999999999999999GB"}) {
        EXPECT_EQ(ParseByteSize(text), std::nullopt) << text;
    }
}

TEST(ByteSize, IsToldWithThreeDigitsAndNeverTooHigh) {
    EXPECT_EQ(ByteSizeText(0), "0 B");
    EXPECT_EQ(ByteSizeText(999), "999 B");
    EXPECT_EQ(ByteSizeText(1000), "1.00 kB");
    EXPECT_EQ(ByteSizeText(9'999), "9.99 kB");
    EXPECT_EQ(ByteSizeText(10'060), "10.0 kB");
    EXPECT_EQ(ByteSizeText(99'999), "99.9 kB");
    EXPECT_EQ(ByteSizeText(999'999), "999 kB");
    EXPECT_EQ(ByteSizeText(9'989'000), "9.98 MB");
    EXPECT_EQ(ByteSizeText(1'234'567'890'123'456), "1234 TB");
}

}  // namespace
}  // namespace vistrel
