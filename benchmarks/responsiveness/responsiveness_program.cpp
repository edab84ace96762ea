// SPDX-License-Identifier: GPL-3.0-or-later
// The program itself, which downloads, converts and tells how long events waited meanwhile.
//
// Usage: responsiveness_program URL MODEL PHOTOGRAPH SCENE
#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "benchmarks/responsiveness/delays.h"
#include "shell/start/program.h"
#include "shell/window/window_dialogs.h"

namespace vistrel {
namespace {

struct Files {
    std::wstring model;
    std::wstring photograph;
    std::wstring scene;
};

class Answers : public WindowDialogs {
  public:
    explicit Answers(const Files& files) : files_(files) {}

    std::optional<std::wstring> AskPhotographOrScene() override { return files_.photograph; }
    std::optional<std::wstring> AskModel(const std::wstring&) override { return files_.model; }
    std::optional<std::wstring> AskPictureToSave() override { return std::nullopt; }
    std::optional<std::wstring> AskSceneToSave(const std::wstring&, const std::wstring&) override {
        return files_.scene;
    }
    bool AskWhetherToDownload() override { return true; }
    void TellProviderFallback() override {}
    void TellAbout() override {}
    void OpenHelp(const std::wstring&) override {}

  private:
    const Files& files_;
};

// What a user does, one thing after the other; each goes on until the workers rest.
class Session : public QObject {
  public:
    explicit Session(MainWindow& window) : window_(window) {
        connect(&timer_, &QTimer::timeout, this, [this] {
            if (!window_.HasRunningWorker()) Next();
        });
        const auto press = [this](ControlId id) { return [this, id] { window_.OnCommand(id); }; };
        constexpr int kWatched = 5000;
        phases_ = {{"", kWatched, [] {}},  // the start
                   {"idle", kWatched, [] {}},
                   {"download", 0, press(ControlId::DownloadModel)},
                   {"", kWatched, press(ControlId::SelectModel)},
                   {"preview", 0, press(ControlId::SelectFile)},
                   {"conversion", 0, press(ControlId::Generate)},
                   {"scene", kWatched, [] {}}};
        Begin();
    }

  private:
    struct Phase {
        const char* name;  // empty: not measured
        int milliseconds;  // at least
        std::function<void()> start;
    };

    void Begin() {
        delays_.Begin(phases_[phase_].name);
        phases_[phase_].start();
        timer_.start(std::max(phases_[phase_].milliseconds, 5));
    }

    void Next() {
        if (*phases_[phase_].name != '\0') delays_.End();
        if (++phase_ < phases_.size()) return Begin();
        timer_.stop();
        QCoreApplication::quit();
    }

    MainWindow& window_;
    std::vector<Phase> phases_;
    std::size_t phase_ = 0;
    Delays delays_;
    QTimer timer_;
};

int Run(int& argc, char** argv) {
    const std::string url = argv[1];
    const Files files = {FromPath(argv[2]), FromPath(argv[3]), FromPath(argv[4])};
    std::unique_ptr<Session> session;
    MainWindowServices services;
    services.modelUrl = url;
    services.makeDialogs = [&](QWidget* owner) {
        // The window is made by now, but not complete.
        QTimer::singleShot(0, owner, [owner, &session] {
            session = std::make_unique<Session>(static_cast<MainWindow&>(*owner));
            QObject::connect(owner, &QObject::destroyed, [&session] { session.reset(); });
        });
        return std::make_unique<Answers>(files);
    };
    return RunVistrel(argc, argv, services);
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    return vistrel::Run(argc, argv);
}
