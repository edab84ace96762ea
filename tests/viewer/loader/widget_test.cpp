// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/loader_fixture.h"

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

TEST_F(LoaderWidgetTest, FileDroppedOnTheViewReachesTheWindow) {
    class Dropped : public QObject {
      public:
        int count = 0;

      protected:
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            if (event->type() == QEvent::DragEnter) event->accept();
            if (event->type() == QEvent::Drop) ++count;
            return event->type() == QEvent::DragEnter || event->type() == QEvent::Drop;
        }
    } dropped;
    browser_.Window().setAcceptDrops(true);
    browser_.Window().installEventFilter(&dropped);
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "first")));

    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(Page("b.html", "second").native()))});
    const QPoint middle = browser_.Widget()->geometry().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QDropEvent drop(middle, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(browser_.Window().windowHandle(), &enter);
    QApplication::sendEvent(browser_.Window().windowHandle(), &drop);
    EXPECT_EQ(dropped.count, 1);
    EXPECT_EQ(browser_.Run(L"document.body.textContent"), L"\"first\"");
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

TEST_F(LoaderWidgetTest, ClickOpensNoWindow) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>addEventListener("click", () => {
        window.open("about:blank");
        window.over = true;
    });</script>)")));
    const qsizetype windows = QApplication::topLevelWidgets().size();
    Click(Qt::LeftButton);
    EXPECT_TRUE(browser_.Becomes(L"window.over", L"true"));
    DeliverPosted();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
}

TEST_F(LoaderWidgetTest, ClickOnAFileFieldAsksForNoFile) {
    bool asked = false;
    QTimer looking;
    looking.callOnTimeout([&] {
        if (QWidget* const dialog = QApplication::activeModalWidget()) {
            asked = true;
            dialog->close();
        }
    });
    looking.start(1);
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(
        <input type=file style="position:fixed;left:0;top:0;width:100%;height:100%"><script>
        addEventListener("click", () => setTimeout(() => { window.over = true; }));
        </script>)")));
    Click(Qt::LeftButton);
    EXPECT_TRUE(browser_.Becomes(L"window.over", L"true"));
    DeliverPosted();
    EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace vistrel::test
