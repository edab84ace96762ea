// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/key_filter.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QChar>
#include <QComboBox>
#include <QEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWidget>
#include <QWindow>
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "shell/window/window_messages.h"
#include "ui/mailbox.h"

namespace vistrel {
namespace {

// Where Latin keyboards have these letters: codes of X11 and Wayland, which are Linux's plus 8.
enum : quint32 { kPlaceOfQ = 24, kPlaceOfS = 39, kPlaceOfX = 53, kPlaceOfC = 54 };

// Keyboards for these scripts may have a mere sign in the place of Q, which alone does not tell
// them from a Latin one; those for other scripts have letters everywhere, or the Latin ones.
bool UserTypesOtherLetters() {
    constexpr std::array kScripts = {QLocale::CyrillicScript, QLocale::GreekScript,
                                     QLocale::HebrewScript};
    return std::ranges::find(kScripts, QLocale().script()) != kScripts.end();
}

bool IsOfAnotherLayout(int key) {
    const auto character = static_cast<char32_t>(key);
    if (character > QChar::LastValidCodePoint) return false;
    switch (QChar::script(character)) {
        case QChar::Script_Latin:
        case QChar::Script_Unknown:
            return false;
        case QChar::Script_Common:
        case QChar::Script_Inherited:
            return QChar::isPunct(character) && UserTypesOtherLetters();
        default:
            return true;
    }
}

// On a layout whose letters are not Latin, the place on the keyboard tells the command, as other
// platforms' virtual keys do: the Cyrillic letter in the place of C is C.
int KeyOf(const QKeyEvent& event) {
    if (!IsOfAnotherLayout(event.key())) return event.key();
    switch (event.nativeScanCode()) {
        case kPlaceOfQ:
            return Qt::Key_Q;
        case kPlaceOfS:
            return Qt::Key_S;
        case kPlaceOfX:
            return Qt::Key_X;
        case kPlaceOfC:
            return Qt::Key_C;
        default:
            return event.key();
    }
}

// The key that the window is told; nothing for a key that is none of ours.
std::optional<int> CommandKey(const QKeyEvent& event) {
    switch (const int key = KeyOf(event)) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return Qt::Key_F11;
        case Qt::Key_C:
        case Qt::Key_Q:
        case Qt::Key_S:
        case Qt::Key_X:
        case Qt::Key_F11:
            return key;
        default:
            return std::nullopt;
    }
}

template <typename... Kinds>
bool IsA(const QWidget* widget) {
    return ((qobject_cast<const Kinds*>(widget) != nullptr) || ...);
}

bool TakesKeys(const QWidget* widget) {
    if (IsA<QLineEdit, QTextEdit, QPlainTextEdit, QAbstractSpinBox>(widget)) return true;
    // The list of an open combo box has the focus itself, in a window that belongs to the box.
    for (; widget != nullptr; widget = widget->parentWidget())
        if (IsA<QComboBox>(widget)) return true;
    return false;
}

// Where a key ends that comes to a window. This need not be the application's focus widget: while
// the completions of a line edit come and go, keys come to their window and no widget has the
// focus.
const QWidget* Receiver(const QObject* window) {
    for (const QWidget* top : QApplication::topLevelWidgets()) {
        if (top->windowHandle() != window) continue;
        const QWidget* widget = top->focusWidget() != nullptr ? top->focusWidget() : top;
        while (widget->focusProxy() != nullptr) widget = widget->focusProxy();
        return widget;
    }
    return nullptr;
}

}  // namespace

bool FocusTakesKeys() {
    return TakesKeys(QApplication::focusWidget());
}

KeyFilter::KeyFilter(std::shared_ptr<Mailbox> window) : window_(std::move(window)) {
    QCoreApplication::instance()->installEventFilter(this);
}

// A press comes first as a question whether it is a shortcut, then to the window, then to the
// control with the focus and those around it. The window is the place to catch it: a control that
// has taken it may have moved the focus.
bool KeyFilter::eventFilter(QObject* watched, QEvent* event) {
    const bool question = event->type() == QEvent::ShortcutOverride;
    const bool press = event->type() == QEvent::KeyPress && watched->isWindowType();
    if (!question && !press) return false;
    const auto key = CommandKey(*static_cast<QKeyEvent*>(event));
    if (!key || FocusTakesKeys() || TakesKeys(Receiver(watched))) return false;
    event->accept();
    if (press)
        window_->Post(
            std::make_unique<WindowMessage>(kKeyDownMessage, static_cast<quintptr>(*key)));
    return true;
}

}  // namespace vistrel
