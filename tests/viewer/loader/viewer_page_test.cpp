// SPDX-License-Identifier: GPL-3.0-or-later
// The bridge, the loader library, the browser and the page together.
#include <gtest/gtest.h>
#include <signal.h>

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QPlatformSurfaceEvent>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/capture.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/helper_process.h"
#include "viewer/scene_link.h"
#include "viewer/web_view_bridge.h"

namespace vistrel::test {
namespace {

// Counts the windows that are taken off the screen.
class LostWindows : public QObject {
  public:
    int count = 0;

  protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() != QEvent::PlatformSurface) return false;
        const auto type = static_cast<QPlatformSurfaceEvent*>(event)->surfaceEventType();
        if (type == QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed) ++count;
        return false;
    }
};

class ViewerPage : public testing::Test {
  protected:
    static constexpr int kWidth = 200;
    static constexpr int kHeight = 100;

    ViewerPage() {
        setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
        window_.resize(kWidth, kHeight);
        bridge_.Prepare(&window_, window_.rect());
        window_.show();
    }

    // A white Gaussian at the place that the page looks at.
    std::filesystem::path Scene(std::string_view name) {
        SceneParts parts;
        parts.vertices = {WhiteVertex({0.0F, 0.0F, 0.0F}, 0.1F, 0.999F)};
        return folder_.Write(name, SceneBytes(parts));
    }

    // The same and another one, which both eyes see at different places.
    std::filesystem::path DeepScene(std::string_view name) {
        SceneParts parts;
        parts.vertices = {WhiteVertex({0.0F, 0.0F, 0.0F}, 0.1F, 0.999F),
                          WhiteVertex({0.3F, 0.0F, 1.0F}, 0.1F, 0.999F)};
        return folder_.Write(name, SceneBytes(parts));
    }

    bool Start(const std::wstring& web = FromUtf8(VISTREL_WEB)) {
        std::optional<bool> ready;
        bridge_.Initialize(web, [&ready](bool answer) { ready = answer; });
        return WaitUntil([&ready] { return ready.has_value(); }) && *ready;
    }

    // The script's value as JSON; "" when it fails.
    std::wstring Ask(const std::wstring& script) {
        std::optional<std::wstring> answer;
        bridge_.View()->ExecuteScript(script, [&](bool success, const std::wstring& result) {
            answer = success ? result : L"";
        });
        return WaitUntil([&answer] { return answer.has_value(); }) ? *answer : L"no answer";
    }

    bool Becomes(const std::wstring& script, const std::wstring& json) {
        return WaitUntil([&] { return Ask(script) == json; });
    }

    bool IsShown() {
        return Becomes(L"typeof SceneStateFromNative==='function'&&SceneStateFromNative()",
                       L"\"shown\"");
    }

    bool Show(const std::filesystem::path& scene, bool sharp = true) {
        bridge_.ShowScene(FromPath(scene), sharp);
        return Becomes(L"decodeURIComponent(location.search).includes('" +
                           FromPath(scene.filename()) + L"')&&SceneStateFromNative()",
                       L"\"shown\"");
    }

    // What the page tells of a scene that it cannot show.
    std::wstring RefusalOf(const std::filesystem::path& scene) {
        std::optional<std::wstring> told;
        bridge_.onSceneFailed = [&told](const std::wstring& reason) { told = reason; };
        (void)LogOf([&] {
            bridge_.ShowScene(FromPath(scene), true);
            (void)WaitUntil([&told] { return told.has_value(); });
        });
        bridge_.onSceneFailed = nullptr;
        return told.value_or(L"");
    }

    QImage Capture() {
        const std::filesystem::path path = folder_ / "capture.png";
        std::filesystem::remove(path);
        bridge_.CaptureImage(&window_, FromPath(path));
        EXPECT_FALSE(std::filesystem::exists(path));
        if (!WaitUntil([&path] { return std::filesystem::exists(path); })) return {};
        return QImage(QString::fromStdString(path.native()), "PNG");
    }

    // What the user sees, which is not always what the browser would draw into a picture.
    QImage OnScreen() { return window_.screen()->grabWindow(window_.winId()).toImage(); }

    static bool IsWhite(const QImage& image, int fromX, int toX) {
        for (int x = fromX; x < toX; ++x) {
            if (image.pixelColor(x, kHeight / 2).lightness() > 200) return true;
        }
        return false;
    }

    const TemporaryFolder folder_;
    QWidget window_;
    WebViewBridge bridge_{L"No loader."};
};

TEST_F(ViewerPage, WindowIsMadeOnceAlthoughTheBrowserJoinsItLater) {
    LostWindows lost;
    window_.windowHandle()->installEventFilter(&lost);
    ASSERT_TRUE(Start());
    DeliverPosted();
    EXPECT_EQ(lost.count, 0);
}

TEST_F(ViewerPage, StartPageIsBlack) {
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Becomes(L"location.search", L"\"?nreso=1&mode=0\""));
    const QImage image = Capture();
    EXPECT_EQ(image.size(), QSize(kWidth, kHeight));
    EXPECT_EQ(image.pixelColor(kWidth / 2, kHeight / 2), QColor(Qt::black));
}

TEST_F(ViewerPage, SceneIsShownInBothHalvesAndCaptured) {
    ASSERT_TRUE(Start());
    ASSERT_TRUE(Show(Scene("a b.ply")));
    const QImage image = Capture();
    EXPECT_EQ(image.size(), QSize(kWidth, kHeight));
    EXPECT_TRUE(IsWhite(image, 0, kWidth / 2));
    EXPECT_TRUE(IsWhite(image, kWidth / 2, kWidth));
    EXPECT_EQ(image.pixelColor(2, 2), QColor(Qt::black));
}

TEST_F(ViewerPage, CallsReachThePage) {
    ASSERT_TRUE(Start());
    ASSERT_TRUE(Show(Scene("a.ply")));
    bridge_.SetStereoMode(4);
    bridge_.SetFocusDepth(20, 36);
    bridge_.SetSwapEyes(true);
    const std::wstring view =
        L"window.dispatchEvent(new Event('pagehide'));"
        L"(({stType,dltx,dpt,swap})=>[stType,dltx,Math.round(dpt),swap].join())"
        L"(JSON.parse(localStorage.cameraState))";
    EXPECT_TRUE(Becomes(view, L"\"4,92,120,true\""));
    ASSERT_TRUE(IsShown());
    const QColor grey = Capture().pixelColor(kWidth / 2, kHeight / 2);
    EXPECT_EQ(grey.green(), grey.blue());
    EXPECT_GT(grey.lightness(), 0);
}

TEST_F(ViewerPage, ExchangedEyesExchangeTheHalves) {
    ASSERT_TRUE(Start());
    ASSERT_TRUE(Show(DeepScene("a.ply")));
    const QImage plain = Capture();
    bridge_.SetSwapEyes(true);
    ASSERT_TRUE(IsShown());
    const QImage exchanged = Capture();
    const QRect left(0, 0, kWidth / 2, kHeight);
    const QRect right(kWidth / 2, 0, kWidth / 2, kHeight);
    EXPECT_NE(plain.copy(left), plain.copy(right));
    EXPECT_EQ(plain.copy(left), exchanged.copy(right));
    EXPECT_EQ(plain.copy(right), exchanged.copy(left));
}

TEST_F(ViewerPage, FocusDepthAndKindOfSceneChangeThePicture) {
    ASSERT_TRUE(Start());
    std::vector<QImage> pictures;
    const auto take = [&] {
        EXPECT_TRUE(IsShown());
        pictures.push_back(Capture());
    };
    ASSERT_TRUE(Show(DeepScene("a.ply")));
    take();
    bridge_.SetFocusDepth(40, 30);
    take();
    bridge_.SetFocusDepth(0, 60);
    take();
    ASSERT_TRUE(Show(DeepScene("b.ply"), false));
    take();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        for (std::size_t other = 0; other < i; ++other) {
            EXPECT_NE(pictures[i], pictures[other]) << i << ' ' << other;
        }
    }
}

TEST_F(ViewerPage, SameSceneGivesTheSamePicture) {
    ASSERT_TRUE(Start());
    ASSERT_TRUE(Show(DeepScene("a.ply")));
    const QImage first = Capture();
    ASSERT_TRUE(Show(DeepScene("b.ply")));
    EXPECT_EQ(Capture(), first);
}

TEST_F(ViewerPage, SceneThatCannotBeShownIsToldInThePagesWords) {
    ASSERT_TRUE(Start());
    EXPECT_NE(RefusalOf(folder_.Write("cut.ply", "ply, but no more than that")), L"");
    EXPECT_NE(RefusalOf(folder_.Write("empty.ply", SceneBytes({}))).find(L"Gaussians"),
              std::wstring::npos);
}

TEST_F(ViewerPage, EarlyFileArrivesIntactAndIsDrawnWithTheNextMode) {
    bridge_.ShowScene(FromPath(Scene("it's 1 & \"\xe5\x86\x99\".ply")), true);
    ASSERT_TRUE(Start());
    EXPECT_TRUE(
        Becomes(L"typeof SceneStateFromNative==='function'&&SceneStateFromNative()", L"\"busy\""));
    bridge_.SetStereoMode(0);
    ASSERT_TRUE(IsShown());
    EXPECT_TRUE(IsWhite(Capture(), 0, kWidth / 2));
}

TEST_F(ViewerPage, FoldersOfPageAndSceneMayHaveAnyName) {
    const std::filesystem::path odd = folder_ / "C# & 50%41 why? \xe5\x86\x99";
    std::filesystem::create_directory(odd);
    std::filesystem::copy(VISTREL_WEB, odd);
    SceneLink link(FromPath(odd));
    ASSERT_TRUE(Start(FromPath(odd)));
    const auto scene = odd / "who?.ply";
    std::filesystem::rename(Scene("a.ply"), scene);
    bridge_.ShowScene(link.PathFor(FromPath(scene)), true);
    ASSERT_TRUE(IsShown());
    EXPECT_TRUE(IsWhite(Capture(), 0, kWidth / 2));
}

TEST_F(ViewerPage, AlertShowsNothing) {
    ASSERT_TRUE(Start());
    bridge_.ExecJS(L"alert('seen')");
    EXPECT_EQ(Ask(L"alert('seen again'),1"), L"1");
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    QWidgetList visible = QApplication::topLevelWidgets();
    visible.removeIf([](const QWidget* widget) { return !widget->isVisible(); });
    EXPECT_EQ(visible, QWidgetList{&window_});
}

TEST_F(ViewerPage, NextSceneOpensAfterThePagesProcessWasKilled) {
    ASSERT_TRUE(Start());
    ASSERT_TRUE(Show(Scene("a.ply")));
    bool failed = false;
    bridge_.onProcessFailed = [&failed](const std::wstring&) { failed = true; };
    const std::string log = LogOf([&] {
        for (const pid_t process : PageProcesses()) kill(process, SIGKILL);
        EXPECT_TRUE(WaitUntil([&failed] { return failed; }));
    });
    EXPECT_NE(log.find("  The browser view failed: "), log.npos) << log;
    EXPECT_TRUE(WaitUntil([this] { return !IsWhite(OnScreen(), 0, kWidth); }));
    ASSERT_TRUE(Show(Scene("b.ply")));
    EXPECT_TRUE(WaitUntil([this] { return IsWhite(OnScreen(), 0, kWidth / 2); }));
}

TEST_F(ViewerPage, BridgeMayEndAtAnyMoment) {
    QWidget window;
    window.show();
    for (const int steps : {0, 1, 2, 5, 20}) {
        WebViewBridge bridge(L"No loader.");
        bridge.Prepare(&window, window.rect());
        bridge.Initialize(FromUtf8(VISTREL_WEB), [](bool) {});
        for (int i = 0; i < steps; ++i) DeliverPosted();
    }
    DeliverPosted();
    EXPECT_TRUE(window.findChildren<QWidget*>().isEmpty());
}

}  // namespace
}  // namespace vistrel::test
