#include <gtest/gtest.h>

#include <QColor>

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/browser.h"

namespace vistrel::test {
namespace {

class LoaderTest : public testing::Test {
  protected:
    std::filesystem::path Page(std::string_view name, std::string_view body) {
        return folder_.Write(
            name,
            "<!doctype html><meta charset=utf-8><style>body{margin:0}</style>" + std::string(body));
    }

    TemporaryFolder folder_;
    Browser browser_{folder_ / "profile"};
};

TEST_F(LoaderTest, InterfaceNumberIsTheHeaders) {
    EXPECT_EQ(Loader().interfaceNumber(), kWebViewInterfaceNumber);
}

TEST_F(LoaderTest, LocalPageIsShown) {
    EXPECT_TRUE(browser_.OpenFile(Page("a.html", "<body>ok")));
    EXPECT_EQ(browser_.Run(L"document.body.textContent"), L"\"ok\"");
}

TEST_F(LoaderTest, MissingPageCompletesAsFailure) {
    EXPECT_FALSE(browser_.OpenFile(folder_ / "missing.html"));
    EXPECT_TRUE(browser_.OpenFile(Page("a.html", "<body>ok")));
    EXPECT_EQ(browser_.navigations, (std::vector<bool>{false, true}));
}

TEST_F(LoaderTest, PictureHoldsWhatWasDrawnLast) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "<body style='background:#f00'>")));
    QImage p = browser_.Capture();
    EXPECT_EQ(p.size(), browser_.Window().size() * browser_.Window().devicePixelRatio());
    EXPECT_EQ(p.pixelColor(0, 0), QColor(255, 0, 0));
    browser_.Run(L"document.body.style.background='#00f'");
    EXPECT_EQ(browser_.Capture().pixelColor(100, 100), QColor(0, 0, 255));
}

}  // namespace
}  // namespace vistrel::test
