#pragma once

#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

namespace corvane {

/// Gives a shown window the keyboard, and waits until it has it.
inline void activate(QWidget &window) {
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
}

} // namespace corvane
