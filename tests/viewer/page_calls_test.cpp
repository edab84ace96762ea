// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/page_calls.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <locale>

namespace vistrel {
namespace {

TEST(PageCalls, StereoModes) {
    EXPECT_EQ(StereoModeCall(3), L"if(typeof ChgstFromNative==='function'){ChgstFromNative(3)}");
    EXPECT_EQ(StereoModeCall(0), L"if(typeof ChgstFromNative==='function'){ChgstFromNative(0)}");
    EXPECT_EQ(StereoModeCall(std::numeric_limits<int>::min()),
              L"if(typeof ChgstFromNative==='function'){ChgstFromNative(-2147483648)}");
}

TEST(PageCalls, FocusAndDepthAsStreamsWriteThem) {
    const struct {
        double focus;
        double depth;
        const wchar_t* arguments;
    } kCases[] = {
        {10.0, 30.0, L"10,30"},       {0.5, -3.0, L"0.5,-3"},
        {12.5, 0.0, L"12.5,0"},       {1234567.0, 999999.0, L"1.23457e+06,999999"},
        {-100.0, 200.0, L"-100,200"}, {0.1234567, 1e-5, L"0.123457,1e-05"},
        {-0.0, 1e100, L"-0,1e+100"},
    };
    for (const auto& [focus, depth, arguments] : kCases) {
        EXPECT_EQ(FocusDepthCall(focus, depth),
                  std::wstring(L"if(typeof SetFocusFromNative==='function'){SetFocusFromNative(") +
                      arguments + L")}");
    }
}

// Groups digits by threes and writes a comma for the decimal point.
class Commas : public std::numpunct<wchar_t> {
  protected:
    [[nodiscard]] wchar_t do_decimal_point() const override { return L','; }
    [[nodiscard]] wchar_t do_thousands_sep() const override { return L'.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST(PageCalls, LocaleOfTheProcessDoesNotShow) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Commas));
    EXPECT_EQ(StereoModeCall(12345),
              L"if(typeof ChgstFromNative==='function'){ChgstFromNative(12345)}");
    EXPECT_EQ(FocusDepthCall(12.5, 12345.0),
              L"if(typeof SetFocusFromNative==='function'){SetFocusFromNative(12.5,12345)}");
    std::locale::global(before);
}

TEST(PageCalls, SwappedEyes) {
    EXPECT_EQ(SwapEyesCall(true), L"if(typeof SwapFromNative==='function'){SwapFromNative(true)}");
    EXPECT_EQ(SwapEyesCall(false),
              L"if(typeof SwapFromNative==='function'){SwapFromNative(false)}");
}

TEST(PageCalls, FilesAsQuotedText) {
    const struct {
        const wchar_t* path;
        const wchar_t* quoted;
    } kCases[] = {
        {L"/a/b.ply", L"/a/b.ply"},
        {L"/it's/Bob's.ply", L"/it\\'s/Bob\\'s.ply"},
        {L"C:\\My Scans\\a.ply", L"C:/My Scans/a.ply"},
        {L"/\"#&%+\"/写真.ply", L"/\"#&%+\"/写真.ply"},
        {L"\\'", L"/\\'"},
    };
    for (const auto& [path, quoted] : kCases) {
        EXPECT_EQ(FileCall(path), std::wstring(L"if(typeof FileFromNative==='function'){"
                                               L"FileFromNative('") +
                                      quoted + L"')}");
    }
}

TEST(PageCalls, StartPage) {
    EXPECT_EQ(StartPageUrl(L"C:\\Users\\A\\AppData\\Local\\Temp\\X"),
              L"file:///C:/Users/A/AppData/Local/Temp/X/gaus3d.html?nreso=1&mode=0");
    EXPECT_EQ(StartPageUrl(L"/tmp/a b"), L"file:///tmp/a b/gaus3d.html?nreso=1&mode=0");
    EXPECT_EQ(StartPageUrl(L"/tmp/写#%"), L"file:///tmp/写#%/gaus3d.html?nreso=1&mode=0");
}

TEST(PageCalls, Scenes) {
    EXPECT_EQ(SceneUrl(L"C:\\T", L"C:\\My Scans\\a.ply", true),
              L"file:///C:/T/gaus3d.html?nreso=1&mode=0&nst=1&openFile=C:/My%20Scans/a.ply");
    EXPECT_EQ(SceneUrl(L"/t/a b", L"/s/a.splat", false),
              L"file:///t/a b/gaus3d.html?nreso=1&mode=1&nst=1&openFile=/s/a.splat");
    EXPECT_EQ(SceneUrl(L"/t", L"", true), L"file:///t/gaus3d.html?nreso=1&mode=0&nst=1");
    EXPECT_EQ(SceneUrl(L"/t", L"/it's #1 & 100%/写 .ply", true),
              L"file:///t/gaus3d.html?nreso=1&mode=0&nst=1"
              L"&openFile=/it's%20#1%20&%20100%/写%20.ply");
}

}  // namespace
}  // namespace vistrel
