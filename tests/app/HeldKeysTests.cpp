#include "app/HeldKeys.h"

#include "tests/app/Activate.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QWindow>

namespace corvane {

namespace {

/// Keys as a display delivers them, with their time in milliseconds.
class HeldKeysTest : public testing::Test {
protected:
    bool isKeptFrom(QObject &receiver, QEvent::Type type, int key, quint64 time,
                    Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool repeated = false) {
        QKeyEvent event(type, key, modifiers, QString(), repeated);
        event.setTimestamp(time);
        return keys.eventFilter(&receiver, &event);
    }
    /// Whether the window does not get it.
    bool press(int key, quint64 time, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        return isKeptFrom(window, QEvent::KeyPress, key, time, modifiers);
    }
    void release(int key, quint64 time) {
        EXPECT_FALSE(isKeptFrom(window, QEvent::KeyRelease, key, time)) << key;
    }

    HeldKeys keys;
    QWindow window;
};

TEST_F(HeldKeysTest, OfTheKeysThatPressOrAnswerAHeldOneCountsOnce) {
    struct Row {
        int key;
        Qt::KeyboardModifiers modifiers;
        bool decides;
    };
    for (const auto &[key, modifiers, decides] : {Row{Qt::Key_Return, Qt::NoModifier, true},
                                                  {Qt::Key_Enter, Qt::KeypadModifier, true},
                                                  {Qt::Key_Space, Qt::NoModifier, true},
                                                  {Qt::Key_Escape, Qt::NoModifier, true},
                                                  {Qt::Key_Select, Qt::NoModifier, true},
                                                  {Qt::Key_F4, Qt::NoModifier, true},
                                                  {Qt::Key_Up, Qt::AltModifier, true},
                                                  {Qt::Key_Down, Qt::AltModifier, true},
                                                  {Qt::Key_Up, Qt::NoModifier, false},
                                                  {Qt::Key_Down, Qt::ShiftModifier, false},
                                                  {Qt::Key_Left, Qt::AltModifier, false},
                                                  {Qt::Key_A, Qt::NoModifier, false},
                                                  {Qt::Key_Tab, Qt::NoModifier, false},
                                                  {Qt::Key_F5, Qt::NoModifier, false}}) {
        EXPECT_FALSE(press(key, 1000, modifiers)) << key;
        EXPECT_EQ(press(key, 1500, modifiers), decides) << key;
        release(key, 1600);
        EXPECT_FALSE(press(key, 1700, modifiers)) << key;
        release(key, 1800);
    }
}

TEST_F(HeldKeysTest, EachSignOfAHeldKeyIsEnough) {
    EXPECT_TRUE(isKeptFrom(window, QEvent::KeyPress, Qt::Key_Return, 10, Qt::NoModifier, true)) << "marked";
    release(Qt::Key_Return, 20);
    EXPECT_TRUE(press(Qt::Key_Return, 20)) << "a pair of one time";
    EXPECT_TRUE(press(Qt::Key_Return, 30)) << "not let go of";
    EXPECT_FALSE(isKeptFrom(window, QEvent::KeyRelease, Qt::Key_Return, 40, Qt::NoModifier, true));
    EXPECT_TRUE(press(Qt::Key_Return, 50)) << "a release that is marked as a repetition is none";
    release(Qt::Key_Return, 60);
    EXPECT_FALSE(press(Qt::Key_Return, 70));
}

TEST_F(HeldKeysTest, AKeyIsHeldByItself) {
    EXPECT_FALSE(press(Qt::Key_Return, 10));
    EXPECT_FALSE(press(Qt::Key_Space, 20));
    release(Qt::Key_Space, 30);
    EXPECT_TRUE(press(Qt::Key_Return, 40));
}

TEST_F(HeldKeysTest, WhereNoWindowHasTheKeyboardNoReleaseIsHeard) {
    EXPECT_FALSE(press(Qt::Key_Return, 10));
    emit qApp->focusWindowChanged(&window);
    EXPECT_TRUE(press(Qt::Key_Return, 20));
    emit qApp->focusWindowChanged(nullptr);
    EXPECT_FALSE(press(Qt::Key_Return, 30));
}

TEST_F(HeldKeysTest, WhatAWindowPassesOnIsTheSamePress) {
    QWidget button;
    EXPECT_FALSE(isKeptFrom(button, QEvent::KeyPress, Qt::Key_Return, 10));
    EXPECT_FALSE(press(Qt::Key_Return, 20));
    EXPECT_FALSE(isKeptFrom(button, QEvent::KeyRelease, Qt::Key_Return, 30));
    EXPECT_FALSE(isKeptFrom(button, QEvent::KeyPress, Qt::Key_Return, 40));
    EXPECT_TRUE(press(Qt::Key_Return, 50));
}

TEST_F(HeldKeysTest, InAFieldOnlyTheSpaceBarWrites) {
    QLineEdit field;
    field.show();
    activate(field);
    ASSERT_EQ(QApplication::focusWidget(), &field);
    for (const int key : {Qt::Key_Space, Qt::Key_Return}) {
        EXPECT_FALSE(press(key, 10));
        EXPECT_EQ(press(key, 20), key == Qt::Key_Return);
    }
}

} // namespace

} // namespace corvane
