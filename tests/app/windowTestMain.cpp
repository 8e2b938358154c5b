#include "app/Look.h"

#include <QApplication>

#include <gtest/gtest.h>

/// The window's tests drive real widgets, on a display of their own in memory.
int main(int argumentCount, char **arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argumentCount, arguments);
    QApplication::setApplicationVersion(QStringLiteral("1.2.3"));
    corvane::look::apply(application);
    return RUN_ALL_TESTS();
}
