// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/socket.h>

#include <QApplication>
#include <QWidget>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/listener.h"
#include "tests/viewer/loader/loader_fixture.h"

namespace vistrel::test {
namespace {

// Each case names one way in which a page could reach a server.
class LoaderIsolationTest : public LoaderTest {
  protected:
    // Runs a script in which "SERVER" is a server's address, and gives it time to do harm: until
    // the page has heard `window.over`, or a second of its own clock.
    void ExpectNoConnection(std::string script) {
        for (std::size_t at = 0; (at = script.find("SERVER", at)) != std::string::npos;) {
            script.replace(at, 6, server_.Address());
        }
        const qsizetype windows = QApplication::topLevelWidgets().size();
        ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<a id=link></a><script>
            window.over = false;
            setTimeout(() => { window.over = true; }, 700);</script>)")));
        browser_.View().ExecuteScript(FromUtf8(script), {});
        EXPECT_TRUE(browser_.Becomes(L"window.over", L"true"));
        EXPECT_FALSE(server_.IsReached());
        EXPECT_EQ(browser_.Run(L"document.getElementById('link') !== null"), L"true")
            << "the page was left";
        EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
    }

    Listener server_{SOCK_STREAM};
};

TEST_F(LoaderIsolationTest, PicturesStylesAndScriptsAreNotLoaded) {
    ExpectNoConnection(R"(
        document.body.append(Object.assign(new Image(), {src: "http://SERVER/a.png"}));
        document.body.append(Object.assign(document.createElement("script"),
                                           {src: "http://SERVER/a.js"}));
        document.body.append(Object.assign(document.createElement("link"),
                                           {rel: "stylesheet", href: "https://SERVER/a.css"}));
        document.body.append(Object.assign(document.createElement("link"),
                                           {rel: "preconnect", href: "http://SERVER/"}));
        document.body.append(Object.assign(document.createElement("link"),
                                           {rel: "prefetch", href: "http://SERVER/"}));
        document.body.append(Object.assign(document.createElement("video"),
                                           {src: "http://SERVER/a.mp4", autoplay: true}));
        import("http://SERVER/a.mjs");)");
}

TEST_F(LoaderIsolationTest, RequestsOfScriptsAreNotSent) {
    ExpectNoConnection(R"(
        fetch("http://SERVER/").catch(() => {});
        const request = new XMLHttpRequest();
        request.open("GET", "https://SERVER/");
        request.send();
        navigator.sendBeacon("http://SERVER/", "a");
        new EventSource("http://SERVER/");
        new Worker(URL.createObjectURL(new Blob(['fetch("http://SERVER/")'])));)");
}

TEST_F(LoaderIsolationTest, WebSocketIsNotOpened) {
    ExpectNoConnection(R"(new WebSocket("ws://SERVER/"); new WebSocket("wss://SERVER/");)");
}

TEST_F(LoaderIsolationTest, PeerConnectionReachesNobody) {
    const Listener datagrams(SOCK_DGRAM);
    ExpectNoConnection(R"(
        const peer = new RTCPeerConnection({iceServers: [
            {urls: "stun:)" +
                       datagrams.Address() + R"("},
            {urls: "turn:SERVER?transport=tcp", username: "a", credential: "b"}]});
        peer.createDataChannel("a");
        peer.createOffer().then((offer) => peer.setLocalDescription(offer));)");
    EXPECT_FALSE(datagrams.IsReached());
}

TEST_F(LoaderIsolationTest, FrameIsNotLoaded) {
    ExpectNoConnection(R"(document.body.append(Object.assign(
        document.createElement("iframe"), {src: "http://SERVER/"}));)");
}

TEST_F(LoaderIsolationTest, PageCannotGoElsewhere) {
    ExpectNoConnection(R"(location.href = "http://SERVER/";)");
    ExpectNoConnection(R"(
        const link = document.getElementById("link");
        link.href = "http://SERVER/";
        link.ping = "http://SERVER/";
        link.click();)");
    ExpectNoConnection(R"(
        const meta = document.createElement("meta");
        meta.httpEquiv = "refresh";
        meta.content = "0; url=http://SERVER/";
        document.head.append(meta);)");
}

TEST_F(LoaderIsolationTest, FormIsNotSent) {
    ExpectNoConnection(R"(
        const form = document.createElement("form");
        form.action = "http://SERVER/";
        form.method = "post";
        document.body.append(form);
        form.submit();)");
}

TEST_F(LoaderIsolationTest, WindowIsNotOpened) {
    ExpectNoConnection(R"(window.open("http://SERVER/"); window.open("about:blank");
        const link = document.getElementById("link");
        link.target = "_blank";
        link.href = "a.html";
        link.click();)");
}

TEST_F(LoaderIsolationTest, ServerWouldSeeAConnection) {
    Listener datagrams(SOCK_DGRAM);
    for (const auto& [listener, program] :
         {std::pair(&server_, "exec 3<>/dev/tcp/"), std::pair(&datagrams, "echo >/dev/udp/")}) {
        std::string address = listener->Address();
        address[address.find(':')] = '/';
        ASSERT_EQ(std::system(("bash -c '" + (program + address) + "'").c_str()), 0);
        EXPECT_TRUE(listener->IsReached());
    }
}

TEST_F(LoaderIsolationTest, DownloadLeavesNoFile) {
    const auto before = folder_.Write("a.bin", "content");
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", "<a id=link href=a.bin download=b.bin>")));
    browser_.Run(L"document.getElementById('link').click()");
    browser_.Run(L"setTimeout(() => { window.over = true; }, 300)");
    EXPECT_TRUE(browser_.Becomes(L"window.over", L"true"));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
        EXPECT_NE(entry.path().filename(), "b.bin");
    }
}

TEST_F(LoaderIsolationTest, PermissionsAreDenied) {
    ASSERT_TRUE(browser_.OpenFile(Page("a.html", R"(<script>
        window.answers = {};
        const note = (name, promise) => promise.then(
            () => { window.answers[name] = "granted"; },
            () => { window.answers[name] = "denied"; });
        note("camera", navigator.mediaDevices?.getUserMedia({video: true}) ?? Promise.reject());
        note("place", new Promise((yes, no) => navigator.geolocation.getCurrentPosition(yes, no)));
        note("notice", Notification.requestPermission().then((answer) => {
            if (answer !== "granted") throw new Error();
        }));
        note("screen", document.documentElement.requestFullscreen());
    </script>)")));
    EXPECT_TRUE(browser_.Becomes(
        L"JSON.stringify(Object.entries(window.answers).sort().flat())",
        LR"("[\"camera\",\"denied\",\"notice\",\"denied\",\"place\",\"denied\",\"screen\",\"denied\"]")"));
}

}  // namespace
}  // namespace vistrel::test
