// SPDX-License-Identifier: GPL-3.0-or-later
// A batch dialog over two folders of its own. The test decides how far the batch gets.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "base/text_encoding.h"
#include "batch/dialogs/batch_control_id.h"
#include "batch/dialogs/batch_dialog.h"
#include "batch/dialogs/conflict_dialog.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"
#include "ui/settings.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel::test {

// Lets files through one by one. Any thread.
class Gate {
  public:
    void Hold() { Set(0); }
    void LetThrough(int more) { Set(more); }
    void Open() { Set(std::numeric_limits<int>::max()); }

    // A file comes by.
    void Pass() {
        std::unique_lock lock(mutex_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return allowed_ > 0; });
        --waiting_;
        --allowed_;
    }

    void WaitForSomebody() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return waiting_ > 0; });
    }

  private:
    void Set(int allowed) {
        const std::lock_guard lock(mutex_);
        allowed_ = allowed;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int allowed_ = std::numeric_limits<int>::max();  // guarded by mutex_
    int waiting_ = 0;                                // guarded by mutex_
};

class DialogFixture : public testing::Test {
  protected:
    DialogFixture() {
        std::filesystem::create_directory(folder_ / "in");
        std::filesystem::create_directory(folder_ / "out");
        settings_.modelPath = FromPath(ModelFile("echo"));
        settings_.outputDir = FromPath(folder_ / "out");
        settings_.executionProvider = 0;
        ApplyTheme();  // letters and margins decide what fits
        gUiText = &kEnglishText;
        MakeDialog();
    }

    ~DialogFixture() override {
        gate_->Open();
        dialog_.reset();
        EXPECT_TRUE(WaitFor([] { return !BatchDialog::AnyRunning(); }));
    }

    void MakeDialog() {
        dialog_ = std::make_unique<BatchDialog>(nullptr, engine_, &settings_);
        dialog_->clock = [this] { return now_; };
        dialog_->show();
    }

    // "a0.png" and so on.
    void AddPictures(int count) const {
        for (int i = 0; i < count; ++i) {
            std::string name = "a";
            name += std::to_string(i);
            name += ".png";
            AddPicture(name);
        }
    }

    void AddPicture(std::string_view name) const {
        folder_.Write("in/" + std::string(name), EncodePng(NoisePicture(4, 3)));
    }

    // Chooses the input folder and starts the batch.
    void Start() {
        Edit(BatchControlId::Input)->setText(QString::fromStdWString(FromPath(folder_ / "in")));
        Button(BatchControlId::Start)->click();
    }

    // Starts a batch that waits in its first file, and shows what was reported about it.
    void StartAndHold(int pictures) {
        AddPictures(pictures);
        gate_->Hold();
        Start();
        gate_->WaitForSomebody();
        QCoreApplication::processEvents();
    }

    void LetTheBatchEnd() {
        gate_->Open();
        EXPECT_TRUE(WaitFor([this] { return !Button(BatchControlId::Close)->isHidden(); }));
    }

    // Does what the user does as soon as the question stands on the screen.
    void WhenAsked(std::function<void(ConflictDialog& question)> answer) {
        connection_ = QObject::connect(&looking_, &QTimer::timeout, [this, answer] {
            auto* question = dynamic_cast<ConflictDialog*>(QApplication::activeModalWidget());
            if (question == nullptr) return;
            looking_.stop();
            QObject::disconnect(connection_);
            answer(*question);
        });
        looking_.start(1);
    }

    static bool WaitFor(const std::function<bool()>& condition) {
        constexpr int kLongMs = 60'000;
        return QTest::qWaitFor(condition, kLongMs);
    }

    template <typename Control>
    [[nodiscard]] static Control* Find(const QWidget& dialog, BatchControlId id) {
        auto* control = dialog.findChild<Control*>(QString::number(static_cast<int>(id)));
        if (control == nullptr) throw std::runtime_error("no such control");
        return control;
    }
    [[nodiscard]] QPushButton* Button(BatchControlId id) const {
        return Find<QPushButton>(*dialog_, id);
    }
    [[nodiscard]] QLineEdit* Edit(BatchControlId id) const { return Find<QLineEdit>(*dialog_, id); }
    [[nodiscard]] std::wstring LabelText(BatchControlId id) const {
        return Find<QLabel>(*dialog_, id)->text().toStdWString();
    }
    [[nodiscard]] std::wstring Status() const { return LabelText(BatchControlId::Status); }
    [[nodiscard]] std::wstring Elapsed() const { return LabelText(BatchControlId::Elapsed); }
    [[nodiscard]] int Bar() const {
        return Find<QProgressBar>(*dialog_, BatchControlId::Progress)->value();
    }
    [[nodiscard]] std::size_t OutputCount() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder_ / "out"), {}));
    }

    static constexpr std::int64_t kSecond = 1'000'000'000;

    TemporaryFolder folder_;
    AppSettings settings_;
    std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
    // Asked for its providers in the middle of every file, on the batch's thread. That one shares
    // the gate, as it may outlive the test's end.
    std::shared_ptr<ConversionEngine> engine_ = std::make_shared<ConversionEngine>([gate = gate_] {
        gate->Pass();
        return AvailableExecutionProviders();
    });
    std::int64_t now_ = 100 * kSecond;
    std::unique_ptr<BatchDialog> dialog_;

  private:
    QTimer looking_;
    QMetaObject::Connection connection_;
};

}  // namespace vistrel::test
