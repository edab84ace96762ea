// SPDX-License-Identifier: GPL-3.0-or-later
// The viewer page itself in the browser.
#include <array>
#include <cstdint>
#include <cstring>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/loader_fixture.h"

namespace vistrel::test {
namespace {

// One red Gaussian in the middle, as a .splat file.
std::string RedSplat() {
    const std::array<float, 6> centreAndScale = {0, 0, 0, 0.2F, 0.2F, 0.2F};
    const std::array<std::uint8_t, 8> colourAndRotation = {255, 0, 0, 255, 255, 128, 128, 128};
    std::string bytes(32, '\0');
    std::memcpy(bytes.data(), centreAndScale.data(), 24);
    std::memcpy(bytes.data() + 24, colourAndRotation.data(), 8);
    return bytes;
}

class LoaderPageTest : public LoaderTest {
  protected:
    bool ShowsTheSplat() {
        return WaitUntil([&] {
            const QImage picture = browser_.Capture();
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixelColor(x, picture.height() / 2).red() > 150) return true;
            }
            return false;
        });
    }
};

TEST_F(LoaderPageTest, FileWithAnyNameIsShown) {
    for (const std::string name :
         {"a.splat", "b\xFF.splat", "it's 100%.splat", "\xE6\x97\xA5\xE6\x9C\xAC\n.splat"}) {
        std::wstring path;
        for (const wchar_t character : FromPath(folder_.Write(name, RedSplat()))) {
            path += character == L' ' ? L"%20" : std::wstring(1, character);
        }
        ASSERT_TRUE(browser_.OpenFile(VISTREL_WEB "/gaus3d.html",
                                      L"?nreso=1&mode=1&nst=1&openFile=" + path));
        EXPECT_TRUE(ShowsTheSplat()) << name;
    }
    EXPECT_TRUE(browser_.console.empty());
}

TEST_F(LoaderPageTest, FileThatIsMissingIsReportedInThePageAlone) {
    ASSERT_TRUE(browser_.OpenFile(VISTREL_WEB "/gaus3d.html",
                                  L"?nreso=1&mode=1&nst=1&openFile=/missing.splat"));
    EXPECT_TRUE(WaitUntil([&] { return !browser_.console.empty(); }));
    EXPECT_EQ(browser_.navigations, (std::vector<bool>{true}));
}

}  // namespace
}  // namespace vistrel::test
