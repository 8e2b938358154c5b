#include "app/Look.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace corvane::look {

namespace {

constexpr int textPoints = 13;

} // namespace

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, grey(windowGrey));
    palette.setColor(QPalette::WindowText, grey(0.90));
    palette.setColor(QPalette::Base, grey(0.075));
    palette.setColor(QPalette::AlternateBase, grey(0.135));
    palette.setColor(QPalette::Text, grey(0.90));
    palette.setColor(QPalette::PlaceholderText, grey(0.45));
    palette.setColor(QPalette::Button, grey(0.21));
    palette.setColor(QPalette::ButtonText, grey(0.92));
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, grey(0.18));
    palette.setColor(QPalette::ToolTipText, grey(0.92));
    palette.setColor(QPalette::Highlight, accent().darker(150));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, accent());
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, grey(0.42));
    return palette;
}

QColor accent() {
    return {74, 144, 226};
}

QColor grey(double white) {
    return QColor::fromRgbF(float(white), float(white), float(white));
}

QColor color(const ButtonLook &button) {
    return QColor::fromRgbF(float(button.red), float(button.green), float(button.blue), float(button.alpha));
}

QFont font(int points, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPixelSize(points);
    font.setWeight(weight);
    return font;
}

void apply(QApplication &application) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(darkPalette());
    application.setFont(font(textPoints));
    application.setStyleSheet(QStringLiteral(R"(
QToolTip { color: #ebebeb; background: #2e2e2e; border: 1px solid #555555; padding: 4px; }
QMessageBox, QDialog#about, QDialog#lines { background: #282828; }
QMessageBox QLabel#qt_msgbox_label { font-weight: 600; }
QMenu { background: #262626; border: 1px solid #4a4a4a; padding: 4px 0; }
QMenu::item { padding: 5px 28px 5px 18px; color: #e6e6e6; background: transparent; }
QMenu::item:selected { background: #2f6db5; }
QMenu::item:disabled { color: #777777; background: transparent; }
QMenu::separator { height: 1px; background: #404040; margin: 4px 10px; }
QComboBox { combobox-popup: 0; }
QComboBox QAbstractItemView { background: #262626; border: 1px solid #5a5a5a; outline: none; }
QComboBox QAbstractItemView::item { padding: 5px 10px; color: #e6e6e6; }
QComboBox QAbstractItemView::item:selected { background: #2f6db5; }
QDialog QPushButton {
    color: #ebebeb; background: #3d3d3d; border: 1px solid #4a4a4a; border-radius: 6px;
    padding: 5px 18px; min-width: 58px;
}
QDialog QPushButton:hover { background: #484848; }
QDialog QPushButton:pressed { background: #303030; }
QDialog QPushButton:default { background: #2f6db5; border-color: #4a90e2; }
QDialog QPushButton:default:hover { background: #387cc9; }
QDialog QPushButton:focus { border: 1px solid #a9cdf6; }
QDialog QPushButton:disabled { color: #6b6b6b; background: #2a2a2a; }
)"));
}

QString styleSheet() {
    return QStringLiteral(R"(
QLineEdit {
    background: #131313; border: 1px solid #404040; border-radius: 5px; padding: 2px 7px;
    selection-background-color: #2f5f9a;
}
QLineEdit:focus { border-color: #4a90e2; }
QPushButton#patchButton {
    background: #262626; border: 1px solid #333333; border-radius: 5px; padding: 3px 10px;
    text-align: left; color: #d9d9d9;
}
QPushButton#patchButton:hover { background: #2f2f2f; }
QPushButton#patchButton:pressed { background: #1d1d1d; }
QPushButton#patchButton:focus { border-color: #4a90e2; }
QTableView#table { border: 1px solid #404040; border-radius: 3px; background: #131313; outline: none; }
QTableView#table:focus { border-color: #4a90e2; }
QHeaderView { background: #242424; }
QHeaderView::section {
    background: #242424; color: #b8b8b8; border: none; border-bottom: 1px solid #404040;
    border-right: 1px solid #353535; padding: 4px 3px;
}
QFrame#noticeRow { background: #2b2413; border: 1px solid #7a5b12; border-radius: 5px; }
QFrame#noticeRow QLabel { color: #f0dfb4; }
QFrame#noticeRow QPushButton {
    background: #4a3d1a; border: 1px solid #7a5b12; border-radius: 4px; padding: 2px 10px; color: #ffefc8;
}
QFrame#noticeRow QPushButton:hover { background: #5d4d21; }
QFrame#noticeRow QPushButton:pressed { background: #372d13; }
QFrame#noticeRow QPushButton:focus { border-color: #4a90e2; }
QFrame#noticeRow QPushButton#noticeDismiss { background: transparent; border-color: transparent; padding: 2px 6px; }
QFrame#noticeRow QPushButton#noticeDismiss:hover { background: #4a3d1a; }
QFrame#noticeRow QPushButton#noticeDismiss:focus { border-color: #4a90e2; }
QFrame#separator { background: #393939; border: none; }
QMenuBar { background: #161616; color: #c8c8c8; }
QMenuBar::item { padding: 4px 10px; background: transparent; }
QMenuBar::item:selected { background: #333333; }
QScrollBar:vertical { background: #1a1a1a; width: 11px; margin: 0; }
QScrollBar::handle:vertical { background: #5a5a5a; border-radius: 4px; min-height: 24px; margin: 1px 2px; }
QScrollBar::handle:vertical:hover { background: #757575; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
)");
}

} // namespace corvane::look
