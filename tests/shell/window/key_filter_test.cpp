// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/key_filter.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QCompleter>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QSpinBox>
#include <QTest>
#include <QTextEdit>
#include <QVBoxLayout>
#include <QWindow>
#include <string_view>
#include <utility>
#include <vector>

#include "shell/window/window_messages.h"
#include "ui/mailbox.h"

namespace vistrel {
namespace {

using Keys = std::vector<int>;

// What the window system calls the places of these keys.
constexpr quint32 kPlaceOfQ = 24;
constexpr quint32 kPlaceOfA = 38;
constexpr quint32 kPlaceOfS = 39;
constexpr quint32 kPlaceOfX = 53;
constexpr quint32 kPlaceOfC = 54;

class Target : public QObject {
  public:
    Keys keys;

  protected:
    void customEvent(QEvent* event) override {
        EXPECT_EQ(static_cast<int>(event->type()), kKeyDownMessage);
        keys.push_back(static_cast<int>(static_cast<WindowMessage*>(event)->Value()));
    }
};

// Keeps count of the presses that get to it.
class Control : public QWidget {
  public:
    Control() { setFocusPolicy(Qt::StrongFocus); }
    Keys pressed;
    Keys released;

  protected:
    void keyPressEvent(QKeyEvent* event) override { pressed.push_back(event->key()); }
    void keyReleaseEvent(QKeyEvent* event) override { released.push_back(event->key()); }
};

class KeyFilterTest : public testing::Test {
  protected:
    KeyFilterTest() : mailbox(Mailbox::Make(&target)), filter(mailbox) {
        window.setCentralWidget(new QWidget);
        layout = new QVBoxLayout(window.centralWidget());
    }
    ~KeyFilterTest() override { mailbox->Close(); }

    template <typename Widget>
    Widget* Focused() {
        auto* widget = new Widget;
        layout->addWidget(widget);
        Show(window);
        widget->setFocus();
        EXPECT_EQ(QApplication::focusWidget(), widget);
        return widget;
    }
    static void Show(QWidget& shown) {
        shown.show();
        shown.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&shown));
    }
    // As the window system does it.
    static void Press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        PressIn(QGuiApplication::focusWindow(), key, modifiers);
    }
    static void PressIn(QWindow* host, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        const QString text = key <= 0xFFFF ? QString(QChar(key)).toLower() : QString();
        QTest::sendKeyEvent(QTest::Press, host, static_cast<Qt::Key>(key), text, modifiers);
    }
    static void PressAt(quint32 place, char32_t letter) {
        QKeyEvent press(QEvent::KeyPress, static_cast<int>(letter), Qt::NoModifier, place, 0, 0);
        QCoreApplication::sendEvent(QGuiApplication::focusWindow(), &press);
    }
    Keys Posted() {
        QCoreApplication::processEvents();
        return std::exchange(target.keys, {});
    }

    Target target;
    std::shared_ptr<Mailbox> mailbox;
    KeyFilter filter;
    QMainWindow window;
    QVBoxLayout* layout = nullptr;
};

TEST_F(KeyFilterTest, CommandsGoToTheWindowAndNowhereElse) {
    const auto* control = Focused<Control>();
    for (const int key : {Qt::Key_C, Qt::Key_Q, Qt::Key_S, Qt::Key_X, Qt::Key_F11}) {
        Press(key);
        EXPECT_EQ(Posted(), Keys{key});
    }
    EXPECT_EQ(control->pressed, Keys{});
}

TEST_F(KeyFilterTest, PlacesCountOnLayoutsWithoutLatinLetters) {
    const auto* control = Focused<Control>();
    // The vowel signs of Hindi are no letters by themselves.
    for (const std::u32string_view letters :
         {U"ЙЫЧС", U"ضسءؤ", U"ๆหปแ", U"\u094C\u0947\u0902\u092E"}) {
        PressAt(kPlaceOfQ, letters[0]);
        PressAt(kPlaceOfS, letters[1]);
        PressAt(kPlaceOfX, letters[2]);
        PressAt(kPlaceOfC, letters[3]);
        EXPECT_EQ(Posted(), (Keys{Qt::Key_Q, Qt::Key_S, Qt::Key_X, Qt::Key_C}));
    }
    EXPECT_EQ(control->pressed, Keys{});
}

TEST_F(KeyFilterTest, OtherPlacesOfSuchLayoutsAreNoCommands) {
    const auto* control = Focused<Control>();
    PressAt(kPlaceOfA, U'Ф');
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->pressed, Keys{0x0424});
}

TEST_F(KeyFilterTest, SignInAPlaceCountsForUsersOfOtherLetters) {
    const auto* control = Focused<Control>();
    for (const auto& [language, sign] :
         {std::pair("el_GR", U';'), {"he_IL", U'/'}, {"bg_BG", U','}}) {
        QLocale::setDefault(QLocale(language));
        PressAt(kPlaceOfQ, sign);
        EXPECT_EQ(Posted(), Keys{Qt::Key_Q});
    }
    QLocale::setDefault(QLocale("fr_FR"));
    PressAt(kPlaceOfQ, U':');  // Dvorak
    QLocale::setDefault(QLocale::system());
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->pressed, Keys{':'});
}

TEST_F(KeyFilterTest, LettersCountOnLatinLayoutsWhateverTheirPlace) {
    const auto* control = Focused<Control>();
    PressAt(kPlaceOfQ, U'A');  // French
    PressAt(kPlaceOfX, U'Ö');  // Turkish F
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->pressed, (Keys{'A', 0xD6}));
    PressAt(kPlaceOfA, U'Q');
    EXPECT_EQ(Posted(), Keys{Qt::Key_Q});
}

TEST_F(KeyFilterTest, BothEnterKeysAreF11) {
    const auto* control = Focused<Control>();
    Press(Qt::Key_Return);
    Press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(Posted(), (Keys{Qt::Key_F11, Qt::Key_F11}));
    EXPECT_EQ(control->pressed, Keys{});
}

TEST_F(KeyFilterTest, OtherKeysReachTheControl) {
    const auto* control = Focused<Control>();
    Keys others = {Qt::Key_Escape, Qt::Key_Space, Qt::Key_F10, Qt::Key_F12, Qt::Key_Left, 0x0421};
    for (int key = Qt::Key_A; key <= Qt::Key_Z; ++key)
        if (key != Qt::Key_C && key != Qt::Key_Q && key != Qt::Key_S && key != Qt::Key_X)
            others.push_back(key);
    for (const int key : others) Press(key);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->pressed, others);
}

TEST_F(KeyFilterTest, ModifiersDoNotMatter) {
    Focused<Control>();
    for (const auto modifier :
         {Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier}) {
        Press(Qt::Key_C, modifier);
        EXPECT_EQ(Posted(), Keys{Qt::Key_C});
    }
}

TEST_F(KeyFilterTest, HeldKeyRepeats) {
    Focused<Control>();
    for (const bool repeated : {false, true, true}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_C, Qt::NoModifier, QStringLiteral("c"), repeated);
        QCoreApplication::sendEvent(QGuiApplication::focusWindow(), &press);
    }
    EXPECT_EQ(Posted(), (Keys{Qt::Key_C, Qt::Key_C, Qt::Key_C}));
}

TEST_F(KeyFilterTest, ReleaseIsNobodysCommand) {
    const auto* control = Focused<Control>();
    QTest::keyRelease(QGuiApplication::focusWindow(), Qt::Key_C);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->released, Keys{Qt::Key_C});
}

TEST_F(KeyFilterTest, ButtonIsNotPushed) {
    auto* button = Focused<QPushButton>();
    button->setDefault(true);
    int pushed = 0;
    QObject::connect(button, &QPushButton::clicked, [&pushed] { ++pushed; });
    Press(Qt::Key_Return);
    EXPECT_EQ(Posted(), Keys{Qt::Key_F11});
    EXPECT_EQ(pushed, 0);
}

TEST_F(KeyFilterTest, DialogsDefaultButtonIsNotPushed) {
    Show(window);
    QDialog dialog(&window);
    auto* button = new QPushButton(&dialog);
    button->setDefault(true);
    Show(dialog);
    button->setFocus();
    Press(Qt::Key_Return);
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), (Keys{Qt::Key_F11, Qt::Key_Q}));
    EXPECT_TRUE(dialog.isVisible());
}

TEST_F(KeyFilterTest, ShortcutsOfTheSameKeysDoNotFire) {
    Focused<Control>();
    int fired = 0;
    const QShortcut shortcut(QKeySequence(Qt::Key_S), &window, [&fired] { ++fired; });
    Press(Qt::Key_S);
    EXPECT_EQ(Posted(), Keys{Qt::Key_S});
    EXPECT_EQ(fired, 0);
}

TEST_F(KeyFilterTest, OpenMenuDoesNotSeeThem) {
    Focused<Control>();
    QMenu menu(&window);
    int chosen = 0;
    QObject::connect(menu.addAction("Quick"), &QAction::triggered, [&chosen] { ++chosen; });
    menu.popup(window.mapToGlobal(QPoint(0, 0)));
    PressIn(menu.windowHandle(), Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{Qt::Key_Q});
    EXPECT_EQ(chosen, 0);
}

TEST_F(KeyFilterTest, NothingNeedsTheFocus) {
    Show(window);
    Press(Qt::Key_X);
    EXPECT_EQ(Posted(), Keys{Qt::Key_X});
}

TEST_F(KeyFilterTest, LineEditTakesText) {
    auto* edit = Focused<QLineEdit>();
    for (const char key : {'c', 'q', 's', 'x'})
        QTest::keyClick(QGuiApplication::focusWindow(), key);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(edit->text(), "cqsx");
}

TEST_F(KeyFilterTest, EditThatIsOnlyReadTakesKeysToo) {
    Focused<QLineEdit>()->setReadOnly(true);
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, TextEditTakesKeys) {
    Focused<QTextEdit>();
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, PlainTextEditTakesKeys) {
    Focused<QPlainTextEdit>();
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, EditOfNumbersTakesKeys) {
    Focused<QSpinBox>();
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, EnterThatMovesTheFocusIsNoCommand) {
    auto* edit = Focused<QLineEdit>();
    auto* control = new Control;
    layout->addWidget(control);
    control->show();
    QObject::connect(edit, &QLineEdit::returnPressed, [control] { control->setFocus(); });
    Press(Qt::Key_Return);
    EXPECT_EQ(QApplication::focusWidget(), control);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, CompletionsOfALineEditTakeText) {
    auto* edit = Focused<QLineEdit>();
    QCompleter completer({"cqsx.ply"});
    edit->setCompleter(&completer);
    QTest::keyClick(QGuiApplication::focusWindow(), 'c');
    QWidget* list = completer.popup();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(list));
    PressIn(list->windowHandle(), Qt::Key_Q);
    // Keys may still be on their way to the list after it was closed.
    list->hide();
    edit->clearFocus();
    ASSERT_EQ(QApplication::focusWidget(), nullptr);
    PressIn(list->windowHandle(), Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
}

TEST_F(KeyFilterTest, ComboBoxTakesKeys) {
    auto* box = Focused<QComboBox>();
    box->addItems({"CPU", "SBS"});
    box->setCurrentIndex(0);
    Press(Qt::Key_S);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(box->currentIndex(), 1);
}

TEST_F(KeyFilterTest, OpenListOfAComboBoxTakesKeys) {
    auto* box = Focused<QComboBox>();
    box->addItems({"CPU", "SBS"});
    box->showPopup();
    QWidget* list = box->view()->window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(list));
    PressIn(list->windowHandle(), Qt::Key_S);
    PressIn(list->windowHandle(), Qt::Key_Return);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(box->currentIndex(), 1);
}

TEST_F(KeyFilterTest, EditableComboBoxTakesText) {
    auto* box = new QComboBox;
    box->setEditable(true);
    layout->addWidget(box);
    Show(window);
    box->setFocus();
    QTest::keyClick(QGuiApplication::focusWindow(), 'q');
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(box->currentText(), "q");
}

TEST_F(KeyFilterTest, WindowThatIsGoneLosesThem) {
    auto* control = Focused<Control>();
    mailbox->Close();
    Press(Qt::Key_Q);
    EXPECT_EQ(Posted(), Keys{});
    EXPECT_EQ(control->pressed, Keys{});
}

TEST(KeyFilter, EndsWithItself) {
    Target target;
    const auto mailbox = Mailbox::Make(&target);
    {
        const KeyFilter filter(mailbox);
    }
    Control control;
    control.show();
    control.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&control));
    QTest::keyPress(control.windowHandle(), Qt::Key_Q);
    QCoreApplication::processEvents();
    EXPECT_EQ(target.keys, Keys{});
    EXPECT_EQ(control.pressed, Keys{Qt::Key_Q});
    mailbox->Close();
}

}  // namespace
}  // namespace vistrel
