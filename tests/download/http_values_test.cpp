// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/http_values.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

namespace vistrel {
namespace {

using std::chrono::seconds;

// Sun, 06 Nov 1994 08:49:37 GMT
constexpr std::chrono::sys_seconds kNow{seconds(784'111'777)};

std::optional<seconds> RetryAfter(std::string_view text) {
    return ParseRetryAfter(text, kNow);
}

TEST(HttpValues, ByteCountsAreDigitsThatFit) {
    EXPECT_EQ(ParseByteCount("0"), 0);
    EXPECT_EQ(ParseByteCount("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    for (const char* text :
         {"", "-1", "+1", " 1", "1 ", "1.0", "0x1", "9223372036854775808", "x"}) {
        EXPECT_FALSE(ParseByteCount(text)) << text;
    }
}

TEST(HttpValues, RangesNameFirstAndLastByteAndAll) {
    EXPECT_EQ(ParseContentRange("bytes 5-9/10"), (ContentRange{5, 9, 10}));
    EXPECT_EQ(ParseContentRange("Bytes 0-0/1"), (ContentRange{0, 0, 1}));
    EXPECT_EQ(ParseContentRange("bytes 5-9/*"), (ContentRange{5, 9, std::nullopt}));
}

TEST(HttpValues, OtherRangesAreNone) {
    for (const char* text : {"", "bytes", "bytes ", "5-9/10", "bytes 9-5/10", "bytes 5-10/10",
                             "bytes 5-9/9", "bytes */10", "bytes 5-9", "bytes -9/10", "bytes 5-/10",
                             "bytes 5-9/", "bytes 5-9/x", "bytes  5-9/10", "items 5-9/10",
                             "bytes 5-9/10 ", "bytes -5--1/10", "bytes 5-9223372036854775808/*"}) {
        EXPECT_FALSE(ParseContentRange(text)) << text;
    }
}

TEST(HttpValues, PausesAreSecondsOrADate) {
    EXPECT_EQ(RetryAfter("0"), seconds(0));
    EXPECT_EQ(RetryAfter("120"), seconds(120));
    EXPECT_EQ(RetryAfter("Sun, 06 Nov 1994 08:50:37 GMT"), seconds(60));
    EXPECT_EQ(RetryAfter("Thu, 29 Feb 1996 00:00:00 GMT"), seconds(825'552'000 - 784'111'777));
    EXPECT_EQ(RetryAfter("Sun, 06 Nov 1994 08:49:36 GMT"), seconds(0));
    EXPECT_EQ(RetryAfter("Thu, 01 Jan 1970 00:00:00 GMT"), seconds(0));
}

TEST(HttpValues, OtherPausesAreNone) {
    for (const char* text :
         {"", "soon", "-5", "1.5", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 CET",
          "Sun, 31 Feb 1994 08:49:37 GMT", "Sun, 06 Nob 1994 08:49:37 GMT",
          "Sun, 06 Nov 1994 24:49:37 GMT", "Sun, 06 Nov 1994 08:60:37 GMT",
          "Sun, 06 Nov 1994 08:49:61 GMT", "Sun, x6 Nov 1994 08:49:37 GMT",
          "Sun, 06-Nov-1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT"}) {
        EXPECT_FALSE(RetryAfter(text)) << text;
    }
}

TEST(HttpValues, StrongTagsStayAsTheyAreAndOthersAreNone) {
    EXPECT_EQ(StrongEtag("\"a-b:1\""), "\"a-b:1\"");
    EXPECT_EQ(StrongEtag("\"\""), "\"\"");
    for (const char* text :
         {"", "\"", "a", "W/\"a\"", "\"a\"b\"", "\"a b\"", "\"a\n\"", "\"\xC3\""}) {
        EXPECT_EQ(StrongEtag(text), "") << text;
    }
}

TEST(HttpValues, ChecksumsAreSixtyFourDigits) {
    const std::string digits = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789ABCDEF";
    const std::string small = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
    EXPECT_EQ(Sha256InEtag('"' + digits + '"'), small);
    EXPECT_EQ(Sha256InEtag(digits), small);
    for (const std::string& text :
         {std::string(), '"' + digits, "W/\"" + digits + '"', digits + "0", digits.substr(1),
          "g" + digits.substr(1), std::string(40, 'a')}) {
        EXPECT_EQ(Sha256InEtag(text), "") << text;
    }
}

TEST(HttpValues, OriginsEndBeforeThePathAndAtNothingElse) {
    EXPECT_EQ(OriginOf("https://Hub.test/a"), "https://hub.test");
    EXPECT_EQ(OriginOf("HTTPS://hub.test:8443"), "https://hub.test:8443");
    EXPECT_EQ(OriginOf("hub.test/a"), "");
    for (const char* url :
         {"https://hub.test@other/", "https://hub.test?@other/", "https://hub.test#@other/",
          "https://hub.test\\@other/", "https://hub.test:443/", "http://hub.test/"}) {
        EXPECT_NE(OriginOf(url), "https://hub.test") << url;
    }
}

}  // namespace
}  // namespace vistrel
