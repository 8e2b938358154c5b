// What the controller asks of the window.

#include "app/BezelButton.h"
#include "app/BridgeController.h"
#include "app/ChannelTable.h"
#include "app/Desktop.h"
#include "app/Dialogs.h"
#include "app/ElidedLabel.h"
#include "app/HostMenu.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "app/ShownText.h"

#include <QApplication>
#include <QLineEdit>
#include <QResizeEvent>
#include <QStyle>

#include <algorithm>
#include <iostream>
#include <utility>

namespace corvane {

void MainWindow::useBrandIcon() {
    if (const QIcon &icon = brandIcon(); !icon.isNull())
        QApplication::setWindowIcon(icon);
}

void MainWindow::buildMainMenu() {
    buildApplicationMenu(*this, [this] { tell([](BridgeController &c) { c.showAbout(); }); });
}

void MainWindow::setStatusLabel(const std::string &text) {
    status->setText(QString::fromStdString(text));
}

void MainWindow::setStatusDetail(const std::string &text) {
    status->setDetail(QString::fromStdString(text));
}

void MainWindow::setSceneLabel(const std::string &text) {
    scene->setText(QString::fromStdString(text));
}

void MainWindow::setDevicePopup(const std::vector<std::string> &titles) {
    devicePopup->refill(titles);
}

int MainWindow::selectedDevice() const {
    return devicePopup->currentIndex();
}

void MainWindow::setConnectButton(const ButtonLook &look, const std::string &meaning) {
    connectButton->setLook(look, QString::fromStdString(meaning));
}

std::string MainWindow::sessionName() const {
    return sessionNameField->text().toStdString();
}

std::string MainWindow::outputPath() const {
    return outputPathField->text().toStdString();
}

void MainWindow::setOutputPath(const std::string &path) {
    outputPathField->setText(QString::fromStdString(path));
}

void MainWindow::reloadTable(const std::vector<LV1Channel> &channels) {
    table->reload(channels);
}

void MainWindow::setChannelScrollShown(bool shown) {
    fitChannelScroll();
    channelScroll->setVisible(shown);
}

void MainWindow::setPatchButton(const std::string &title) {
    patchButton->setText(QString::fromStdString(title));
}

void MainWindow::setSyncButtonEnabled(bool enabled) {
    syncButton->setEnabled(enabled);
}

void MainWindow::setCreateMeaning(const std::string &meaning) {
    syncButton->setLook(redLook, QString::fromStdString(meaning));
}

void MainWindow::showNotice(const std::optional<Notice> &) {}

void MainWindow::setUpdateUnderWay(bool) {}

void MainWindow::requestAttention() {
    QApplication::alert(this);
}

std::chrono::milliseconds MainWindow::doubleClickTime() const {
    return std::chrono::milliseconds(QApplication::doubleClickInterval());
}

void MainWindow::writeError(const std::string &text) {
    std::cerr << text << std::endl;
}

void MainWindow::growWindow(int points) {
    const bool atRest = isAtRest();
    const int reached = std::clamp(targetHeight, minimumHeight(), maximumHeight());
    // A window manager may have given the window another height since. Where it had less room than was asked
    // for, shrinking takes back what was asked for.
    if (atRest && (points > 0 || height() > reached))
        targetHeight = height();
    if (atRest && points > 0)
        heightWithoutTable = std::min(height() - menuHeight(), contentHeight);
    targetHeight += points;
    heightAnimation.stop();
    heightAnimation.setDuration(style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this));
    heightAnimation.setEasingCurve(QEasingCurve::InOutQuad);
    heightAnimation.setStartValue(height());
    heightAnimation.setEndValue(targetHeight);
    heightAnimation.start();
}

bool MainWindow::isAtRest() const {
    return heightAnimation.state() != QAbstractAnimation::Running;
}

/// While the window grows or shrinks, the table has the room that there is so far.
void MainWindow::fitChannelScroll() {
    const int room = height() - menuHeight() - heightWithoutTable - rowSpacing;
    channelScroll->setFixedHeight(std::clamp(room, 0, tableHeight));
}

void MainWindow::resizeEvent(QResizeEvent *event) {
    if (isAtRest() && channelScroll->isVisible()) // a window manager's doing: then the table comes first
        heightWithoutTable = minimumContentHeight;
    fitChannelScroll();
    QMainWindow::resizeEvent(event);
}

/// There is nothing to gain from a larger window: a double click on its title bar, or a window manager's
/// wish, does not change its size.
void MainWindow::changeEvent(QEvent *event) {
    if (event->type() == QEvent::WindowStateChange && (isMaximized() || isFullScreen()))
        setWindowState(windowState() & ~(Qt::WindowMaximized | Qt::WindowFullScreen));
    QMainWindow::changeEvent(event);
}

void MainWindow::bringToFront() {
    if (isMinimized())
        showNormal();
    raise();
    activateWindow();
    bringApplicationToFront();
}

void MainWindow::showAlert(const Alert &alert, std::function<void(std::size_t)> answered) {
    openAlert(this, alert, std::move(answered));
}

void MainWindow::showLines(const std::string &title, const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines)
        text += (text.empty() ? "" : "\n") + line;
    openAlert(this, {title, text}, [](std::size_t) {});
}

void MainWindow::chooseFolder(std::function<void(std::optional<std::filesystem::path>)> chosen) {
    openFolderChooser(this, outputPath(), std::move(chosen));
}

void MainWindow::showAbout() {
    openAbout(this, applicationIcon());
}

} // namespace corvane
