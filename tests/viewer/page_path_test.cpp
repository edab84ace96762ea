// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/page_path.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

TEST(PagePath, AddressOfAFileHasThreeSlashes) {
    EXPECT_EQ(FileAddress(L"/tmp/a b"), L"file:///tmp/a b");
    EXPECT_EQ(FileAddress(L"C:\\T"), L"file:///C:/T");
}

TEST(PagePath, FolderIsWholeInAnAddress) {
    EXPECT_EQ(FolderInAddress(L"/C# 100%/why?/\\写"), L"/C%23 100%25/why%3F/\\写");
}

TEST(PagePath, OnlyBlanksAreEncodedInAQuery) {
    EXPECT_EQ(QueryPath(L"C:\\My Scans\\100% 写.ply"), L"C:/My%20Scans/100%%20写.ply");
}

TEST(PagePath, OnlyQuotesAreEscapedInAScript) {
    EXPECT_EQ(ScriptPath(L"\\it's \"100%\""), L"/it\\'s \"100%\"");
}

TEST(PagePath, PageIsToldWhatSurvivesAnAddress) {
    for (const wchar_t* path : {L"/a b/it's (1).ply", L"/写真.spz", L"/a"}) {
        EXPECT_TRUE(PageCanBeTold(path)) << ToUtf8(path);
    }
}

TEST(PagePath, PageIsNotToldWhatMeansSomethingElseThere) {
    for (const wchar_t* path :
         {L"/C#/a.ply", L"/a&b.ply", L"/50%.ply", L"/why?.ply", L"/C++.ply", L"/a\\b.ply",
          L"/a\nb.ply", L"/a\x7f.ply", L"/\xdcff.ply", L"/a.PLY"}) {
        EXPECT_FALSE(PageCanBeTold(path)) << ToUtf8(path);
    }
}

TEST(PagePath, AddressOfPlainTextGoesToTheBrowserAsItIs) {
    const std::wstring address = L"file:///a b/写.html?x=100%&y=%20'#\"";
    EXPECT_EQ(BrowserAddress(address), address);
}

TEST(PagePath, BytesThatAreNoTextAreEncodedTwiceInAQuery) {
    EXPECT_EQ(BrowserAddress(L"file:///\xdc80\n/a.html?x=\xdcff\x7f"),
              L"file:///%80%0A/a.html?x=%25FF%257F");
}

TEST(PagePath, BytesThatAreNoTextAreEncodedOnceInAScript) {
    EXPECT_EQ(BrowserScript(L"f('/写\xdcff\n')"), L"f('/写%FF\n')");
}

}  // namespace
}  // namespace vistrel
