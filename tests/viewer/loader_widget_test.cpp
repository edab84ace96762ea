#include <QApplication>
#include <QLineEdit>
#include <QTest>

#include "tests/support/wait_until.h"
#include "tests/viewer/loader_fixture.h"

namespace vistrel::test {
namespace {

class LoaderWidgetTest : public LoaderTest {
  protected:
    void Click(Qt::MouseButton button) {
        QTest::mouseClick(browser_.Window().windowHandle(), button, Qt::NoModifier,
                          browser_.Widget()->geometry().center());
    }
};

TEST_F(LoaderWidgetTest, DraggedFilesPassThroughToTheWindow) {
    const auto expectNoDrops = [&] {
        EXPECT_FALSE(browser_.Widget()->acceptDrops());
        const auto inner = browser_.Widget()->findChildren<QWidget*>();
        EXPECT_FALSE(inner.isEmpty());
        for (const QWidget* widget : inner) EXPECT_FALSE(widget->acceptDrops());
    };
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "")));
    expectNoDrops();
    browser_.Controller().SetVisible(false);
    browser_.Controller().SetVisible(true);
    ASSERT_TRUE(browser_.OpenFile(Page("b.html", "")));
    expectNoDrops();
}

TEST_F(LoaderWidgetTest, BoundsAreThoseOfTheWidget) {
    browser_.Controller().SetBounds(QRect(5, 6, 70, 80));
    EXPECT_EQ(browser_.Widget()->geometry(), QRect(5, 6, 70, 80));
}

TEST_F(LoaderWidgetTest, VisibilityReachesThePage) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "")));
    EXPECT_TRUE(browser_.Becomes(L"document.visibilityState", L"\"visible\""));
    browser_.Controller().SetVisible(false);
    EXPECT_FALSE(browser_.Widget()->isVisible());
    EXPECT_TRUE(browser_.Becomes(L"document.visibilityState", L"\"hidden\""));
    browser_.Controller().SetVisible(true);
    EXPECT_TRUE(browser_.Becomes(L"document.visibilityState", L"\"visible\""));
}

TEST_F(LoaderWidgetTest, ClickTakesTheKeyboardFocus) {
    QLineEdit edit(&browser_.Window());
    edit.show();
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>
        addEventListener("keydown", (event) => { window.pressed = event.keyCode; });</script>)")));
    edit.setFocus();
    ASSERT_EQ(browser_.Window().focusWidget(), &edit);
    Click(Qt::LeftButton);
    QWidget* const focused = browser_.Window().focusWidget();
    ASSERT_NE(focused, nullptr);
    ASSERT_TRUE(browser_.Widget()->isAncestorOf(focused) || focused == browser_.Widget());
    QTest::keyClick(focused, Qt::Key_S);
    EXPECT_TRUE(browser_.Becomes(L"window.pressed", L"83"));
}

TEST_F(LoaderWidgetTest, LoadingLeavesTheKeyboardFocusAlone) {
    QLineEdit edit(&browser_.Window());
    edit.show();
    edit.setFocus();
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "")));
    EXPECT_EQ(browser_.Window().focusWidget(), &edit);
}

TEST_F(LoaderWidgetTest, RightClickReachesThePageAndOpensNoMenu) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>
        addEventListener("contextmenu", () => { window.asked = true; });</script>)")));
    Click(Qt::RightButton);
    EXPECT_TRUE(browser_.Becomes(L"window.asked", L"true"));
    DeliverPosted();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(LoaderWidgetTest, PageThatAsksBeforeItIsLeftIsLeft) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>
        addEventListener("mousedown", () => { window.pressed = true; });
        addEventListener("beforeunload", (event) => {
            event.preventDefault();
            event.returnValue = "stay";
        });</script>)")));
    Click(Qt::LeftButton);
    ASSERT_TRUE(browser_.Becomes(L"window.pressed", L"true"));
    EXPECT_TRUE(browser_.OpenFile(Page("b.html", "other")));
    EXPECT_EQ(browser_.Run(L"document.body.textContent"), L"\"other\"");
}

}  // namespace
}  // namespace vistrel::test
