// SPDX-License-Identifier: GPL-3.0-or-later
#include <signal.h>

#include <QCoreApplication>
#include <QRect>
#include <optional>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/helper_process.h"
#include "tests/viewer/loader/loader_fixture.h"

namespace vistrel::test {
namespace {

class LoaderLifetimeTest : public testing::Test {
  protected:
    std::filesystem::path Page(std::string_view name, std::string_view body) {
        return folder_.Write(name, "<!doctype html><meta charset=utf-8><body>" + std::string(body));
    }

    // Kills the page's process and waits until the browser has noticed.
    static void KillHelper(Browser& browser) {
        const auto helpers = PageProcesses();
        ASSERT_FALSE(helpers.empty());
        for (const pid_t helper : helpers) kill(helper, SIGKILL);
        ASSERT_TRUE(WaitUntil([&] { return !browser.failures.empty(); }));
    }

    TemporaryFolder folder_;
};

TEST_F(LoaderLifetimeTest, InterfaceNumberIsTheHeaders) {
    EXPECT_EQ(Loader().interfaceNumber(), kWebViewInterfaceNumber);
}

TEST_F(LoaderLifetimeTest, EnvironmentAndControllerComeAfterTheCalls) {
    std::unique_ptr<WebViewEnvironment> environment;
    EXPECT_TRUE(Loader().createEnvironment(FromPath(folder_ / "profile"), ProgramsOptions(),
                                           [&](auto made) { environment = std::move(made); }));
    EXPECT_EQ(environment, nullptr);
    ASSERT_TRUE(WaitUntil([&] { return environment != nullptr; }));
    QWidget host;
    std::unique_ptr<WebViewController> controller;
    environment->CreateController(host, [&](auto made) { controller = std::move(made); });
    EXPECT_EQ(controller, nullptr);
    EXPECT_TRUE(WaitUntil([&] { return controller != nullptr; }));
}

TEST_F(LoaderLifetimeTest, EndedEnvironmentMakesNoController) {
    auto environment = MakeEnvironment(folder_ / "profile");
    ASSERT_NE(environment, nullptr);
    QWidget host;
    environment->CreateController(host, [](auto) { FAIL() << "the environment is gone"; });
    environment.reset();
    DeliverPosted();
}

TEST_F(LoaderLifetimeTest, EndedHostGetsNoController) {
    const auto environment = MakeEnvironment(folder_ / "profile");
    ASSERT_NE(environment, nullptr);
    auto host = std::make_unique<QWidget>();
    std::optional<bool> made;
    environment->CreateController(*host, [&](auto controller) { made = controller != nullptr; });
    host.reset();
    ASSERT_TRUE(WaitUntil([&] { return made.has_value(); }));
    EXPECT_FALSE(*made);
}

TEST_F(LoaderLifetimeTest, ControllerOutlivesItsEnvironment) {
    auto environment = MakeEnvironment(folder_ / "profile");
    ASSERT_NE(environment, nullptr);
    QWidget host;
    const auto controller = MakeController(*environment, host);
    environment.reset();
    std::optional<bool> loaded;
    controller->View().SetNavigationCompletedHandler([&](bool success) { loaded = success; });
    controller->View().Navigate(L"file://" + FromPath(Page("a.html", "")));
    ASSERT_TRUE(WaitUntil([&] { return loaded.has_value(); }));
    EXPECT_TRUE(*loaded);
}

TEST_F(LoaderLifetimeTest, NothingIsCalledOnceTheControllerIsGone) {
    const std::wstring page =
        L"file://" + FromPath(Page("a.html", "<script>console.log(1)</script>"));
    for (int turns = 0; turns < 40; ++turns) {
        Browser browser(folder_ / "profile");
        bool ended = false;
        const auto expectAlive = [&](auto&&...) { EXPECT_FALSE(ended); };
        browser.View().SetNavigationCompletedHandler(expectAlive);
        browser.View().SetConsoleMessageHandler(expectAlive);
        browser.View().SetProcessFailedHandler(expectAlive);
        browser.View().Navigate(page);
        browser.View().ExecuteScript(L"1", expectAlive);
        browser.View().CapturePreview(expectAlive);
        for (int i = 0; i < turns; ++i) DeliverPosted();
        browser.View().ExecuteScript(L"2", expectAlive);
        browser.View().CapturePreview(expectAlive);
        browser.End();
        ended = true;
        DeliverPosted();
    }
}

TEST_F(LoaderLifetimeTest, HandlerMayEndTheBrowser) {
    const std::wstring page =
        L"file://" + FromPath(Page("a.html", "<script>console.log(1)</script>"));
    for (int kind = 0; kind < 4; ++kind) {
        Browser browser(folder_ / "profile");
        bool ended = false;
        const auto end = [&](auto&&...) {
            browser.End();
            ended = true;
        };
        if (kind == 0) browser.View().SetNavigationCompletedHandler(end);
        if (kind == 1) browser.View().SetConsoleMessageHandler(end);
        browser.View().Navigate(page);
        if (kind == 2) browser.View().ExecuteScript(L"1", end);
        if (kind == 3) browser.View().CapturePreview(end);
        EXPECT_TRUE(WaitUntil([&] { return ended; })) << kind;
    }
}

TEST_F(LoaderLifetimeTest, HostMayEndBeforeTheController) {
    const auto environment = MakeEnvironment(folder_ / "profile");
    auto host = std::make_unique<QWidget>();
    host->show();
    auto controller = MakeController(*environment, *host);
    controller->View().Navigate(L"file://" + FromPath(Page("a.html", "")));
    controller->View().CapturePreview({});
    host.reset();
    controller->View().CapturePreview({});
    controller->SetBounds(QRect(0, 0, 1, 1));
    controller->SetVisible(true);
    DeliverPosted();
    controller.reset();
    DeliverPosted();
}

TEST_F(LoaderLifetimeTest, KilledHelperIsReportedAndTheNextPageIsShown) {
    Browser browser(folder_ / "profile");
    const auto page = Page("a.html", "here");
    ASSERT_TRUE(browser.OpenFile(page));
    KillHelper(browser);
    EXPECT_EQ(browser.failures,
              (std::vector<std::wstring>{L"The page's process was killed with exit code 9"}));
    EXPECT_TRUE(browser.OpenFile(page));
    EXPECT_EQ(browser.Run(L"document.body.textContent"), L"\"here\"");
    EXPECT_FALSE(browser.Capture().isNull());
}

TEST_F(LoaderLifetimeTest, WaitingCallsEndWithTheHelper) {
    Browser browser(folder_ / "profile");
    ASSERT_TRUE(browser.OpenFile(Page("a.html", "")));
    std::optional<bool> script;
    std::optional<bool> picture;
    browser.View().ExecuteScript(L"for (;;) {}",
                                 [&](bool success, const std::wstring&) { script = success; });
    browser.View().CapturePreview(
        [&](bool success, const std::vector<std::byte>&) { picture = success; });
    KillHelper(browser);
    EXPECT_TRUE(WaitUntil([&] { return script.has_value() && picture.has_value(); }));
    EXPECT_FALSE(script.value_or(true));
}

TEST_F(LoaderLifetimeTest, CallsWithoutAHelperAreAnswered) {
    Browser browser(folder_ / "profile");
    ASSERT_TRUE(browser.OpenFile(Page("a.html", "")));
    KillHelper(browser);
    bool answered = false;
    browser.View().ExecuteScript(L"1", [&](bool, const std::wstring&) { answered = true; });
    EXPECT_TRUE(WaitUntil([&] { return answered; }));
    browser.Capture();
}

TEST_F(LoaderLifetimeTest, HelperKilledWhileLoadingCompletesTheNavigation) {
    Browser browser(folder_ / "profile");
    browser.View().Navigate(
        L"file://" + FromPath(Page("a.html", "<script>console.log(1); for (;;) {}</script>")));
    ASSERT_TRUE(WaitUntil([&] { return !browser.console.empty(); }));
    KillHelper(browser);
    EXPECT_TRUE(WaitUntil([&] { return !browser.navigations.empty(); }));
    EXPECT_EQ(browser.navigations, (std::vector<bool>{false}));
}

TEST_F(LoaderLifetimeTest, StorageWithoutAFolderLiesWhereTheDesktopKeepsData) {
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", folder_.Path().c_str());
    const auto environment = MakeEnvironment({});
    qputenv("XDG_DATA_HOME", before);
    ASSERT_NE(environment, nullptr);
    const QString name = QCoreApplication::applicationName();
    EXPECT_TRUE(
        std::filesystem::exists(folder_ / name.toStdString() / "QtWebEngine/Vistrel/vistrel.lock"));
}

TEST_F(LoaderLifetimeTest, FolderNameThatIsNoUtf8CostsOnlyTheStorage) {
    const auto page = Page("a.html", "here");
    {
        Browser browser(folder_ / "b\xFF");
        ASSERT_TRUE(browser.OpenFile(page));
        EXPECT_EQ(browser.Run(L"localStorage.setItem('a', 'b'); localStorage.getItem('a')"),
                  L"\"b\"");
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
        EXPECT_EQ(entry.path(), page);
    }
}

}  // namespace
}  // namespace vistrel::test
