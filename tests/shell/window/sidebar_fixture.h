// SPDX-License-Identifier: GPL-3.0-or-later
// A sidebar on its own, as high as in the window at its first size, and what it was told to do.
#pragma once

#include <gtest/gtest.h>

#include <QRect>
#include <QString>
#include <QWidget>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "shell/window/sidebar.h"
#include "tests/shell/window/find_control.h"
#include "ui/settings.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel::test {

class SidebarTest : public testing::Test {
  protected:
    SidebarTest() { ApplyTheme(); }
    ~SidebarTest() override { gUiText = nullptr; }

    void Make() {
        sidebar = std::make_unique<Sidebar>(nullptr, settings);
        sidebar->onCommand = [this](ControlId id, int value) {
            commands.emplace_back(static_cast<int>(id), value);
        };
        sidebar->resize(Sidebar::kWidth, 676);
    }
    void ShowDownload(bool button, bool progress) const {
        sidebar->ShowModel(L"", L"", button);
        if (progress) sidebar->ShowDownload(0, L"");
    }
    // Null where there is none.
    [[nodiscard]] QWidget* Find(int id) const {
        return sidebar->findChild<QWidget*>(QString::number(id));
    }
    template <typename Control = QWidget>
    [[nodiscard]] Control* Find(ControlId id) const {
        return FindControl<Control>(*sidebar, id);
    }
    [[nodiscard]] std::map<int, QRect> Geometries() const {
        std::map<int, QRect> all;
        for (int id = 1001; id <= 1051; ++id) {
            if (const QWidget* control = Find(id)) all[id] = control->geometry();
        }
        return all;
    }

    AppSettings settings;
    std::unique_ptr<Sidebar> sidebar;
    std::vector<std::pair<int, int>> commands;
};

}  // namespace vistrel::test
