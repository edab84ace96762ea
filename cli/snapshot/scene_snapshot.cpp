// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/scene_snapshot.h"

#include <QEventLoop>
#include <QImage>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <stdexcept>
#include <utility>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

constexpr std::chrono::milliseconds kBetweenQuestions{50};
// A failure's message may come after the failure itself.
constexpr int kFailuresToBelieve = 3;
constexpr std::size_t kMostMessages = 5;

// "waiting" before the scene's page; else how far the page or, as soon as it runs, its scene is.
const std::wstring kQuestion =
    L"location.protocol!=='file:'?'waiting'"
    L":typeof SceneStateFromNative!=='function'?document.readyState"
    L":location.search.includes('openFile=')?SceneStateFromNative():'waiting'";

class Snapshot {
  public:
    Snapshot(const SnapshotRequest& request, EnvironmentFactory factory)
        : request_(request), bridge_(L"", std::move(factory)) {
        window_.setWindowFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
        window_.setAttribute(Qt::WA_ShowWithoutActivating);
        window_.setFixedSize(request.size.width, request.size.height);
        timer_.setSingleShot(true);
        QObject::connect(&timer_, &QTimer::timeout, &window_, [this] { Ask(); });
        limit_.setSingleShot(true);
        QObject::connect(&limit_, &QTimer::timeout, &window_, [this] {
            Fail("it was not there after " +
                 std::to_string(
                     std::chrono::duration_cast<std::chrono::seconds>(request_.timeout).count()) +
                 " seconds");
        });
    }

    std::vector<std::byte> Take() {
        window_.show();
        limit_.start(request_.timeout);
        bridge_.onProcessFailed = [this](const std::wstring& reason) {
            Fail("the browser's process ended: " + ToUtf8(reason));
        };
        const bool started = bridge_.Initialize(&window_, window_.rect(), request_.pageFolder,
                                                [this](bool ready) { OnReady(ready); });
        if (!started) Fail("the browser could not be started");
        if (!done_) loop_.exec();
        if (!failure_.empty()) throw std::runtime_error(failure_);
        if (picture_.empty()) throw std::runtime_error("interrupted");
        return std::move(picture_);
    }

  private:
    void OnReady(bool ready) {
        if (!ready) {
            Fail("the browser could not be started");
            return;
        }
        bridge_.View()->SetConsoleMessageHandler([this](const std::wstring& text) {
            if (messages_.size() == kMostMessages) messages_.erase(messages_.begin());
            messages_.push_back(ToUtf8(text));
        });
        // The start page's navigation follows this call and would win.
        QTimer::singleShot(0, &window_, [this] {
            bridge_.ShowScene(request_.scene, request_.sharp);
            Ask();
        });
    }

    void Ask() {
        bridge_.View()->ExecuteScript(kQuestion, [this](bool success, const std::wstring& state) {
            OnState(success ? state : L"");
        });
    }

    void OnState(const std::wstring& state) {
        if (done_) return;
        if (state == L"\"failed\"" || state == L"\"complete\"") {
            if (++failures_ == kFailuresToBelieve) {
                Fail("the page cannot show it");
                return;
            }
        } else if (!isSet_ && (state == L"\"busy\"" || state == L"\"shown\"")) {
            isSet_ = true;
            bridge_.SetStereoMode(request_.mode);
            bridge_.SetSwapEyes(request_.swap);
            bridge_.SetFocusDepth(request_.focus, request_.depth);
        } else if (state == L"\"shown\"") {
            bridge_.View()->CapturePreview([this](bool success, const std::vector<std::byte>& png) {
                OnCapture(success, png);
            });
            return;
        }
        timer_.start(kBetweenQuestions);
    }

    void OnCapture(bool success, const std::vector<std::byte>& png) {
        const QImage image = QImage::fromData(reinterpret_cast<const uchar*>(png.data()),
                                              static_cast<int>(png.size()), "PNG");
        if (!success || image.isNull()) {
            Fail("the browser gave no picture of it");
        } else if (image.width() != request_.size.width || image.height() != request_.size.height) {
            Fail("the display made the picture " + std::to_string(image.width()) + "x" +
                 std::to_string(image.height()) + " pixels large");
        } else if (!done_) {
            picture_ = png;
            End();
        }
    }

    void Fail(const std::string& reason) {
        if (done_) return;
        failure_ = reason;
        for (const std::string& message : messages_) failure_ += "\n  " + message;
        End();
    }

    void End() {
        done_ = true;
        loop_.quit();
    }

    const SnapshotRequest& request_;
    QEventLoop loop_;
    QTimer timer_;
    QTimer limit_;
    QWidget window_;
    WebViewBridge bridge_;
    bool isSet_ = false;  // the page was told mode, eyes, focus and depth
    int failures_ = 0;
    std::vector<std::string> messages_;  // the page's last ones
    bool done_ = false;
    std::string failure_;
    std::vector<std::byte> picture_;
};

}  // namespace

std::vector<std::byte> TakeSnapshot(const SnapshotRequest& request, EnvironmentFactory factory) {
    return Snapshot(request, std::move(factory)).Take();
}

}  // namespace vistrel
