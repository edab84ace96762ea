// SPDX-License-Identifier: GPL-3.0-or-later
// A bridge to a fake browser, and the window that it belongs to.
#pragma once

#include <gtest/gtest.h>

#include <QRect>
#include <QWidget>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/viewer/fake_web_view.h"
#include "viewer/web_view_bridge.h"

namespace vistrel::test {

using Calls = std::vector<std::wstring>;

class WebViewBridgeTest : public testing::Test {
  protected:
    WebViewBridgeTest() { setenv("XDG_DATA_HOME", folder_.Path().c_str(), 1); }

    bool Initialize(const std::wstring& tempFolder = L"/t") {
        bridge_->Prepare(&window_, QRect(290, 0, 640, 480));
        return bridge_->Initialize(tempFolder, [this](bool ready) { answers_.push_back(ready); });
    }

    void MakeReady() {
        Initialize();
        browser_.AnswerEnvironment();
        browser_.AnswerController();
        browser_.calls.clear();
    }

    QWidget* Host() { return window_.findChild<QWidget*>("WebViewHost"); }

    const TemporaryFolder folder_;
    FakeBrowser browser_;
    QWidget window_;
    std::optional<WebViewBridge> bridge_{std::in_place, L"No loader.\nSorry.", browser_.Factory()};
    std::vector<bool> answers_;
};

}  // namespace vistrel::test
