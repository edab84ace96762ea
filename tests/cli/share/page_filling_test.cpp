// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/page_filling.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/share/base64.h"
#include "cli/share/viewer_page.h"

namespace vistrel {
namespace {

constexpr std::string_view kPage =
    "<(the scene's title)|(the scene's poster)|(the scene's facts)|(the scene's bytes)>";

std::string FilledPage(const PageContent& content, std::string_view scene = {}) {
    MemorySink sink;
    PageFilling(kPage, content).Write(std::as_bytes(std::span(scene)), sink);
    return sink.content;
}

std::string TitleIn(std::string_view title) {
    const std::string page = FilledPage({.title = std::string(title)});
    return page.substr(1, page.find('|') - 1);
}

std::string Base64Of(std::string_view bytes) {
    std::string text;
    AppendBase64(std::as_bytes(std::span(bytes)), text);
    return text;
}

TEST(Base64, IsThatOfTheStandard) {
    EXPECT_EQ(Base64Of(""), "");
    EXPECT_EQ(Base64Of("f"), "Zg==");
    EXPECT_EQ(Base64Of("fo"), "Zm8=");
    EXPECT_EQ(Base64Of("foobar"), "Zm9vYmFy");
    EXPECT_EQ(Base64Of("\xFB\xFF\xFE"), "+//+");
}

TEST(PageFilling, EverythingComesToItsPlace) {
    const PageContent content = {.title = "Lake",
                                 .poster = {std::byte{'f'}, std::byte{'o'}},
                                 .camera = PhotographCamera{1000.5F, 1000.25F, 320, 240, 640, 480},
                                 .depths = DepthRange{1.0F, 3.0F},
                                 .isFree = true};
    EXPECT_EQ(FilledPage(content, "foob"),
              "<Lake|data:image/webp;base64,Zm8=|{\"camera\":{\"focalX\":1000.5,\"focalY\":1000.25,"
              "\"centreX\":320,\"centreY\":240,\"width\":640,\"height\":480},\"depths\":{"
              "\"nearest\":1,\"middle\":1.5,\"farthest\":3},\"free\":true,\"length\":8}|Zm9vYg==>");
}

TEST(PageFilling, WhatIsUnknownIsNull) {
    EXPECT_EQ(FilledPage({.title = "a"}),
              "<a||{\"camera\":null,\"depths\":null,\"free\":false,\"length\":0}|>");
}

TEST(PageFilling, TitleCannotEndItsElement) {
    EXPECT_EQ(TitleIn("</title><script>a && b</script>\"'"),
              "&lt;/title&gt;&lt;script&gt;a &amp;&amp; b&lt;/script&gt;\"'");
}

TEST(PageFilling, TitleIsUtf8WithoutControlCharacters) {
    EXPECT_EQ(TitleIn("\xE5\x86\x99\xF0\x9F\x8F\x9E"), "\xE5\x86\x99\xF0\x9F\x8F\x9E");
    EXPECT_EQ(TitleIn("a\xFFz\xC3"), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
    EXPECT_EQ(TitleIn(std::string_view("a\nb\0c\x7F"
                                       "d\xC2\x85",
                                       9)),
              "a b c d ");
}

TEST(PageFilling, PlacesInTheTitleAreNotFilled) {
    EXPECT_EQ(TitleIn("(the scene's bytes)"), "(the scene's bytes)");
}

TEST(PageFilling, LongScenesAreOneText) {
    std::string scene;
    for (int i = 0; i < 200'000; ++i) scene += static_cast<char>(i * 31 % 251);
    const std::string page = FilledPage({}, scene);
    const std::size_t from = page.rfind('|') + 1;
    EXPECT_EQ(page.substr(from, page.size() - 1 - from), Base64Of(scene));
}

TEST(PageFilling, SizeIsToldBeforeAndRoomIsTheMostThatFits) {
    const PageContent content = {.title = "a & b"};
    const PageFilling filling(kPage, content);
    for (const std::size_t bytes : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 75U, 76U, 749U, 750U, 751U}) {
        EXPECT_EQ(filling.Size(bytes), FilledPage(content, std::string(bytes, 'x')).size());
    }
    for (std::uint64_t page = 0; page < filling.Size(0) + 1500; ++page) {
        const std::uint64_t room = filling.Room(page);
        EXPECT_GT(filling.Size(room + 1), page);
        if (room > 0) {
            EXPECT_LE(filling.Size(room), page);
        }
    }
}

TEST(PageFilling, PageWithoutItsPlacesIsRefused) {
    EXPECT_THROW(PageFilling("(the scene's title)", {}), std::logic_error);
}

TEST(ViewerPage, HasThePlaces) {
    const PageFilling filling(ViewerPage(), {});
    EXPECT_TRUE(ViewerPage().starts_with("<!doctype html>"));
    EXPECT_TRUE(ViewerPage().ends_with("</html>\n"));
    EXPECT_LT(filling.Size(0), ViewerPage().size() + 100);
}

}  // namespace
}  // namespace vistrel
