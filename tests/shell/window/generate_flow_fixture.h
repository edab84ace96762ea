// SPDX-License-Identifier: GPL-3.0-or-later
// A flow from button to scene with a real engine; user, clock and home folder are the test's own.
#pragma once

#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shell/window/generate_flow.h"
#include "tests/shell/window/flow_fixture.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"
#include "tests/support/wait_until.h"
#include "ui/wide_text.h"

namespace vistrel::test {

inline constexpr std::int64_t kSecond = 1'000'000'000;

class GenerateFlowTest : public FlowTest {
  protected:
    GenerateFlowTest() {
        flow->clock = [this] { return now; };
        flow->providers = [this] { return listed; };
        flow->onScene = [this](const std::wstring& path) { scenes.push_back(path); };
        window.then = [this](const WindowMessage& message) {
            if (message.type() == kGenerateProgressMessage) flow->OnProgress(message);
            if (message.type() == kGenerateDoneMessage) flow->OnDone(message);
        };
        user.scene = In("out/scene.ply");
    }
    ~GenerateFlowTest() override {
        EXPECT_TRUE(WaitUntil([this] { return !engine->busy; }));
    }

    [[nodiscard]] std::wstring In(std::string_view name) const { return FromPath(folder / name); }
    // A photograph and a network that go together well.
    void ChooseBoth() {
        const auto picture = EncodePng(FilledPicture(32, 24, 200, 30, 60));
        flow->inputImagePath = FromPath(folder.Write("photo.png", picture));
        settings.modelPath = FromPath(test::ModelFile("echo"));
    }
    // Until the end of the conversion was reported.
    void WaitForEnd() {
        ASSERT_TRUE(WaitUntil([this] {
            return !window.received.empty() &&
                   window.received.back().number == kGenerateDoneMessage && !engine->busy;
        }));
    }
    [[nodiscard]] std::wstring Status() const { return TextOf(ControlId::GenerateStatus); }
    void Progress(const std::wstring& stage) {
        flow->OnProgress(WindowMessage(kGenerateProgressMessage, 0, stage));
    }
    void Done(quintptr value, std::optional<std::wstring> text) {
        flow->OnDone(WindowMessage(kGenerateDoneMessage, value, std::move(text)));
    }

    TemporaryFolder folder;
    std::vector<std::string> listed = {"CPUExecutionProvider"};
    std::function<void()> whileListing;  // on the converting thread
    std::shared_ptr<ConversionEngine> engine = std::make_shared<ConversionEngine>([this] {
        if (whileListing) whileListing();
        return listed;
    });
    std::int64_t now = 5 * kSecond;
    std::vector<std::wstring> scenes;
    std::unique_ptr<GenerateFlow> flow =
        std::make_unique<GenerateFlow>(engine, settings, sidebar, user, window.mailbox);
};

}  // namespace vistrel::test
