// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/loader_fixture.h"
#include "viewer/page_path.h"

namespace vistrel::test {
namespace {

using LoaderNavigationTest = LoaderTest;

constexpr std::wstring_view kOpenFile = L"new URLSearchParams(location.search).get('openFile')";

TEST_F(LoaderNavigationTest, LocalPageIsShown) {
    EXPECT_TRUE(browser_.OpenFile(Page("a.html", "shown")));
    EXPECT_EQ(browser_.Run(L"document.body.textContent"), L"\"shown\"");
}

TEST_F(LoaderNavigationTest, CompletionComesAfterTheCall) {
    browser_.View().Navigate(L"file://" + FromPath(Page("a.html", "")));
    EXPECT_TRUE(browser_.navigations.empty());
    browser_.View().Navigate(L"https://localhost/");
    EXPECT_TRUE(browser_.navigations.empty());
    EXPECT_TRUE(WaitUntil([&] { return browser_.navigations.size() >= 2; }));
}

TEST_F(LoaderNavigationTest, MissingPageCompletesAsFailure) {
    EXPECT_FALSE(browser_.OpenFile(folder_ / "missing.html"));
    EXPECT_TRUE(browser_.OpenFile(Page("a.html", "")));
    EXPECT_EQ(browser_.navigations, (std::vector<bool>{false, true}));
}

TEST_F(LoaderNavigationTest, RemotePageCompletesAsFailure) {
    EXPECT_FALSE(browser_.Open(L"http://127.0.0.1:1/"));
    EXPECT_FALSE(browser_.Open(L"file://elsewhere/share/page.html"));
    EXPECT_FALSE(browser_.Open(L"no address"));
    EXPECT_FALSE(browser_.Open(L""));
}

TEST_F(LoaderNavigationTest, HistoryIsNotGoneBackTo) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "first")));
    ASSERT_TRUE(browser_.OpenFile(Page("b.html", "second")));
    browser_.Run(L"history.back()");
    EXPECT_TRUE(WaitUntil([&] { return browser_.navigations.size() >= 3; }));
    EXPECT_EQ(browser_.Run(L"document.body.textContent"), L"\"second\"");
}

TEST_F(LoaderNavigationTest, SamePageAgainIsLoadedAnew) {
    const auto page = Page("a.html", "");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=a"));
    browser_.Run(L"window.stays = true");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=a"));
    EXPECT_EQ(browser_.Run(L"window.stays"), L"null");
    EXPECT_EQ(browser_.navigations.size(), 2U);
}

TEST_F(LoaderNavigationTest, OtherQueryIsLoadedAnew) {
    const auto page = Page("a.html", "");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=a"));
    browser_.Run(L"window.stays = true");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=b"));
    EXPECT_EQ(browser_.Run(L"window.stays"), L"null");
}

TEST_F(LoaderNavigationTest, OtherFragmentCompletesToo) {
    const auto page = Page("a.html", "");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=/a#b.ply"));
    EXPECT_TRUE(browser_.OpenFile(page, L"?openFile=/a#c.ply"));
    EXPECT_EQ(browser_.Run(L"location.hash"), L"\"#c.ply\"");
}

TEST_F(LoaderNavigationTest, NavigationWhileAnotherLoadsWins) {
    const auto first = Page("a.html", "first");
    const auto second = Page("b.html", "second");
    browser_.View().Navigate(L"file://" + FromPath(first));
    browser_.View().Navigate(L"file://" + FromPath(second));
    EXPECT_TRUE(browser_.Becomes(L"document.body.textContent", L"\"second\""));
    EXPECT_TRUE(
        WaitUntil([&] { return !browser_.navigations.empty() && browser_.navigations.back(); }));
}

TEST_F(LoaderNavigationTest, FolderNameIsTakenAsItStands) {
    for (const std::string name : {"with blank", "\xC3\xA9\xE6\x97\xA5 & ' [1] {2} ; = ~ ^ | `",
                                   "a\"<b>", "100% b", "\xFF\xFE"}) {
        std::filesystem::create_directory(folder_ / name);
        EXPECT_TRUE(browser_.OpenFile(Page(name + "/a.html", ""), L"?mode=0")) << name;
        EXPECT_EQ(browser_.Run(L"location.search"), L"\"?mode=0\"") << name;
    }
}

TEST_F(LoaderNavigationTest, FileNameArrivesInTheQueryAsItStands) {
    const auto page = Page("a.html", "");
    for (const std::wstring_view name :
         {L"/plain.ply", L"/It's (1) [2] {3};=~^|`$!*,.ply", L"/\u00E9\u65E5\U0001F600.ply",
          L"/100%.ply", L"/5% off.ply", L"C:/a.ply", L"/a\"<b>.ply"}) {
        ASSERT_TRUE(
            browser_.OpenFile(page, L"?nreso=1&mode=1&nst=1&openFile=" + std::wstring(name)));
        browser_.Run(L"window.name = JSON.stringify(" + std::wstring(kOpenFile) + L")");
        std::wstring quoted;
        for (const wchar_t character : name) {
            if (character == L'"') quoted += L'\\';
            quoted += character;
        }
        EXPECT_EQ(browser_.Run(std::wstring(kOpenFile)), L'"' + quoted + L'"');
    }
}

TEST_F(LoaderNavigationTest, EncodedBlankArrivesAsBlankAndPlusToo) {
    const auto page = Page("a.html", "");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=/a%20b.ply"));
    EXPECT_EQ(browser_.Run(std::wstring(kOpenFile)), L"\"/a b.ply\"");
}

TEST_F(LoaderNavigationTest, NumberSignAndAmpersandCutTheFileName) {
    const auto page = Page("a.html", "");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=/a#b.ply"));
    EXPECT_EQ(browser_.Run(std::wstring(kOpenFile)), L"\"/a\"");
    ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=/a&b.ply"));
    EXPECT_EQ(browser_.Run(std::wstring(kOpenFile)), L"\"/a\"");
}

// What the page does with the value: an XMLHttpRequest to it.
TEST_F(LoaderNavigationTest, FileWithAnyNameCanBeReadByItsQueryValue) {
    const auto page = Page("a.html", R"(<script>
        const request = new XMLHttpRequest();
        request.open("GET", new URLSearchParams(location.search).get("openFile"));
        request.onload = () => { window.found = request.responseText; };
        request.onerror = () => { window.found = "error"; };
        request.send();</script>)");
    for (const std::string name : {"plain", "b\xFF\xC3.ply", "line\nend", "tab\t.ply", "100%.ply",
                                   "\xE6\x97\xA5\xE6\x9C\xAC.ply", "it's.ply", "q\"q.ply"}) {
        const std::wstring path = FromPath(folder_.Write(name, "content"));
        ASSERT_TRUE(browser_.OpenFile(page, L"?openFile=" + path));
        EXPECT_TRUE(WaitUntil([&] { return browser_.Run(L"window.found") != L"null"; })) << name;
        EXPECT_EQ(browser_.Run(L"window.found"), L"\"content\"") << name;
    }
}

TEST_F(LoaderNavigationTest, FileWithAnyNameCanBeReadByTheTextOfAScript) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>
        function read(file) {
            const request = new XMLHttpRequest();
            request.open("GET", file);
            request.onload = () => { window.found = request.responseText; };
            request.onerror = () => { window.found = "error"; };
            request.send();
        }</script>)")));
    const std::wstring path = FromPath(folder_.Write("b\xFF.ply", "content"));
    browser_.Run(BrowserScript(L"read('" + path + L"')"));
    EXPECT_TRUE(browser_.Becomes(L"window.found", L"\"content\""));
}

}  // namespace
}  // namespace vistrel::test
