// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QTimer>

#include "tests/support/wait_until.h"
#include "tests/viewer/loader/loader_fixture.h"

namespace vistrel::test {
namespace {

class LoaderScriptTest : public LoaderTest {
  protected:
    void SetUp() override { ASSERT_TRUE(browser_.OpenFile(Page("a.html", ""))); }
};

TEST_F(LoaderScriptTest, ResultIsJson) {
    EXPECT_EQ(browser_.Run(L"1 + 1"), L"2");
    EXPECT_EQ(browser_.Run(L"0.1"), L"0.1");
    EXPECT_EQ(browser_.Run(L"'\\u00e9\"'"), L"\"\u00E9\\\"\"");
    EXPECT_EQ(browser_.Run(L"[1, true, null]"), L"[1,true,null]");
    EXPECT_EQ(browser_.Run(L"({a: {b: 'c'}})"), L"{\"a\":{\"b\":\"c\"}}");
}

TEST_F(LoaderScriptTest, ScriptWithoutValueGivesNull) {
    EXPECT_EQ(browser_.Run(L""), L"null");
    EXPECT_EQ(browser_.Run(L"undefined"), L"null");
    EXPECT_EQ(browser_.Run(L"throw new Error('thrown')"), L"null");
    EXPECT_EQ(browser_.Run(L"not a script"), L"null");
}

TEST_F(LoaderScriptTest, ResultComesAfterTheCall) {
    bool called = false;
    browser_.View().ExecuteScript(L"1", [&](bool, const std::wstring&) { called = true; });
    EXPECT_FALSE(called);
    EXPECT_TRUE(WaitUntil([&] { return called; }));
}

TEST_F(LoaderScriptTest, ResultMayBeIgnored) {
    browser_.View().ExecuteScript(L"window.ran = 1", {});
    EXPECT_EQ(browser_.Run(L"window.ran"), L"1");
}

TEST_F(LoaderScriptTest, ScriptsRunInTheirOrder) {
    for (int i = 0; i < 50; ++i) {
        browser_.View().ExecuteScript(L"window.list = (window.list ?? '') + 'x'", {});
    }
    EXPECT_EQ(browser_.Run(L"window.list.length"), L"50");
}

TEST_F(LoaderScriptTest, ScriptBeforeTheFirstPageIsAnswered) {
    Browser other(folder_ / "other");
    EXPECT_EQ(other.Run(L"1"), L"1");
}

TEST_F(LoaderScriptTest, ScriptOverlappedByANavigationIsAnswered) {
    for (int i = 0; i < 10; ++i) {
        bool answered = false;
        browser_.View().ExecuteScript(L"location.href",
                                      [&](bool, const std::wstring&) { answered = true; });
        ASSERT_TRUE(browser_.OpenFile(folder_ / "a.html"));
        EXPECT_TRUE(WaitUntil([&] { return answered; }));
    }
}

TEST_F(LoaderScriptTest, AlertConfirmAndPromptLeaveNoDialogAndThePageGoesOn) {
    EXPECT_EQ(browser_.Run(L"alert('a'); [confirm('b'), prompt('c', 'd')]"), L"[false,null]");
}

TEST_F(LoaderScriptTest, EnabledAlertShowsADialog) {
    browser_.View().Settings().SetDefaultScriptDialogsEnabled(true);
    bool shown = false;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        QWidget* const dialog = QApplication::activeModalWidget();
        if (dialog == nullptr) return;
        shown = true;
        dialog->close();
    });
    closer.start(10);
    EXPECT_EQ(browser_.Run(L"alert('a'); 1"), L"1");
    EXPECT_TRUE(shown);
}

TEST_F(LoaderScriptTest, ConsoleLinesAndUncaughtErrorsAreHeard) {
    ASSERT_TRUE(
        browser_.OpenFile(Page("b.html",
                               "<script>console.log('one', 2); console.error('three');</script>"
                               "<script>missing();</script>"
                               "<script>Promise.reject(new Error('four'));</script>")));
    EXPECT_TRUE(WaitUntil([&] { return browser_.console.size() >= 4; }));
    EXPECT_EQ(browser_.console,
              (std::vector<std::wstring>{L"one 2", L"three",
                                         L"Uncaught ReferenceError: missing is not defined",
                                         L"Uncaught (in promise) Error: four"}));
}

TEST_F(LoaderScriptTest, DisabledScriptsDoNotRun) {
    browser_.View().Settings().SetScriptEnabled(false);
    ASSERT_TRUE(
        browser_.OpenFile(Page("b.html", "<p id=p>still</p><script>console.log('ran')</script>")));
    browser_.View().Settings().SetScriptEnabled(true);
    ASSERT_TRUE(browser_.OpenFile(Page("c.html", "<script>console.log('again')</script>")));
    EXPECT_TRUE(WaitUntil([&] { return !browser_.console.empty(); }));
    EXPECT_EQ(browser_.console, (std::vector<std::wstring>{L"again"}));
}

TEST_F(LoaderScriptTest, SettingsWithoutAMeaningHereAreAccepted) {
    browser_.View().Settings().SetStatusBarEnabled(false);
    browser_.View().Settings().SetWebMessageEnabled(true);
    EXPECT_EQ(browser_.Run(L"1"), L"1");
}

TEST_F(LoaderScriptTest, RemovedHandlersHearNothing) {
    browser_.View().SetConsoleMessageHandler({});
    browser_.View().SetNavigationCompletedHandler({});
    browser_.View().SetProcessFailedHandler({});
    browser_.Run(L"console.log('unheard')");
    browser_.View().Navigate(L"https://localhost/");
    EXPECT_EQ(browser_.Run(L"1"), L"1");
    EXPECT_TRUE(browser_.console.empty());
    EXPECT_EQ(browser_.navigations.size(), 1U);
}

// The sort of text that the program sends while the page may not be there.
TEST_F(LoaderScriptTest, GuardedCallOfAMissingFunctionIsSilent) {
    browser_.Run(L"if(typeof ChgstFromNative==='function'){ChgstFromNative(3)}");
    EXPECT_TRUE(browser_.console.empty());
}

}  // namespace
}  // namespace vistrel::test
