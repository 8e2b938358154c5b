#include "app/MainMenu.h"

#include <QApplication>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <utility>

namespace corvane {

namespace {

QAction *addItem(QMenu *menu, const char *title, const QKeySequence &shortcut, QMainWindow &window,
                 std::function<void()> action) {
    QAction *item = menu->addAction(QString::fromUtf8(title));
    // No guessing of roles from titles: this is the whole menu, in this order.
    item->setMenuRole(QAction::NoRole);
    item->setShortcut(shortcut);
    item->setAutoRepeat(false);
    QObject::connect(item, &QAction::triggered, &window, std::move(action));
    return item;
}

} // namespace

void buildApplicationMenu(QMainWindow &window, std::function<void()> showAbout) {
    QMenuBar *bar = window.menuBar();
    bar->setNativeMenuBar(false);
    auto *menu = new QMenu(QStringLiteral("Corvane"), bar);
    bar->insertMenu(bar->actions().isEmpty() ? nullptr : bar->actions().front(), menu);
    menu->setToolTipsVisible(true);
    addItem(menu, "About Corvane…", {}, window, std::move(showAbout));
    menu->addSeparator();
    addItem(menu, "Hide Corvane", Qt::CTRL | Qt::Key_H, window, [&window] { window.showMinimized(); });
    QAction *hideOthers = addItem(menu, "Hide Others", Qt::CTRL | Qt::ALT | Qt::Key_H, window, [] {});
    hideOthers->setEnabled(false);
    hideOthers->setToolTip(QStringLiteral("A program cannot hide others on this desktop."));
    addItem(menu, "Show All", {}, window, [&window] {
        window.showNormal();
        window.raise();
        window.activateWindow();
    });
    menu->addSeparator();
    addItem(menu, "Quit Corvane", Qt::CTRL | Qt::Key_Q, window, [] { QApplication::quit(); });
}

} // namespace corvane
