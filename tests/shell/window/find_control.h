// SPDX-License-Identifier: GPL-3.0-or-later
// Controls and menu items, found by their numbers: what a user sees of them, not what holds them.
#pragma once

#include <QObject>
#include <QString>
#include <QWidget>
#include <stdexcept>

#include "shell/window/control_id.h"

namespace vistrel::test {

inline QString NameOf(ControlId id) {
    return QString::number(static_cast<int>(id));
}

// Throws std::runtime_error when there is none of this kind.
template <typename Control = QWidget>
[[nodiscard]] Control* FindControl(const QObject& window, ControlId id) {
    auto* const found = window.findChild<Control*>(NameOf(id));
    if (found == nullptr) throw std::runtime_error("no such control");
    return found;
}

}  // namespace vistrel::test
