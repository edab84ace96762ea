// SPDX-License-Identifier: GPL-3.0-or-later
// Answers in the user's place to dialogs that a call shows and waits for.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <utility>

namespace vistrel::test {

// Once the event loop runs, `answer` gets the dialog that is open by then; where that is none of
// this kind, the test fails and whatever is open is closed. Dialogs that `answer` leaves open are
// cancelled.
template <typename Dialog>
void OnNextDialog(std::function<void(Dialog& dialog)> answer) {
    QTimer::singleShot(0, [answer = std::move(answer)] {
        QWidget* open = QApplication::activeModalWidget();
        const QPointer<QDialog> any(dynamic_cast<QDialog*>(open));
        if (auto* dialog = dynamic_cast<Dialog*>(open)) {
            answer(*dialog);
        } else {
            ADD_FAILURE() << "another dialog is open, or none";
        }
        if (any && any->isVisible()) any->reject();
    });
}

}  // namespace vistrel::test
