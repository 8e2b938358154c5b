// What the controller asks of the window.

#include "app/BezelButton.h"
#include "app/BridgeController.h"
#include "app/BusyMark.h"
#include "app/ChannelTable.h"
#include "app/Desktop.h"
#include "app/Dialogs.h"
#include "app/ElidedLabel.h"
#include "app/HostMenu.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "app/NoticeRow.h"
#include "app/ShownText.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QLineEdit>
#include <QStyle>

#include <algorithm>
#include <iostream>
#include <utility>

namespace corvane {

namespace {

constexpr auto searchHint =
    "No LV1 console has been heard so far. Check that it is on, that this computer is in its "
    "SoundGrid network, and that no firewall blocks UDP port 13337.";

} // namespace

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

void MainWindow::setSceneDetail(const std::string &text) {
    scene->setDetail(QString::fromStdString(text));
}

void MainWindow::setDevicePopup(const std::vector<std::string> &titles) {
    devicePopup->refill(titles);
    if (titles.empty())
        return;
    searchTimer.stop();
    searchLasts = false;
    showMostImportant();
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
    channelScroll->setVisible(shown);
}

void MainWindow::setPatchButton(const std::string &title) {
    patchButton->setText(QString::fromStdString(title));
}

void MainWindow::setSyncButtonEnabled(bool enabled) {
    syncButton->setEnabled(enabled);
}

void MainWindow::setCreateMeaning(const std::string &meaning) {
    syncButton->setLook(createLook, QString::fromStdString(meaning));
}

void MainWindow::showNotice(const std::optional<Notice> &newNotice) {
    notice = newNotice;
    showMostImportant();
}

/// What the controller has to say; else, while no console is heard, what to check.
void MainWindow::showMostImportant() {
    if (notice)
        noticeRow->setNotice(QString::fromStdString(notice->text), QString::fromStdString(notice->action),
                             QString::fromStdString(notice->detail));
    else
        noticeRow->setNotice(searchLasts ? QString::fromUtf8(searchHint) : QString(), {});
}

void MainWindow::dismissNotice() {
    searchLasts = searchLasts && notice;
    if (notice)
        tell([](BridgeController &c) { c.dismissNotice(); });
    else
        showMostImportant();
}

void MainWindow::setUpdateUnderWay(bool underWay) {
    busyMark->setVisible(underWay);
}

void MainWindow::requestAttention() {
    QApplication::alert(this);
}

void MainWindow::setBadge(bool shown) {
    showApplicationBadge(shown);
}

std::chrono::milliseconds MainWindow::doubleClickTime() const {
    return std::chrono::milliseconds(QApplication::doubleClickInterval());
}

void MainWindow::writeError(const std::string &text) {
    std::cerr << text << std::endl;
}

void MainWindow::growWindow(int points) {
    const bool atRest = isAtRest();
    const bool grows = points > 0;
    const int reached = std::clamp(targetHeight, minimumHeight(), maximumHeight());
    // A window manager may have given the window another height since. Where it had less room than was asked
    // for, shrinking takes back what was asked for.
    if (atRest && (grows || height() > reached))
        targetHeight = height();
    if (atRest && grows)
        heightWithoutTable = std::min(height() - menuHeight(), contentHeight);
    targetHeight += points;
    heightAnimation.stop();
    // One that takes no time would say nothing of where it ends.
    heightAnimation.setDuration(
        std::max(1, style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this)));
    heightAnimation.setStartValue(height());
    heightAnimation.setEndValue(targetHeight);
    heightAnimation.start();
}

bool MainWindow::isAtRest() const {
    return heightAnimation.state() != QAbstractAnimation::Running;
}

/// While the window grows or shrinks, the table has the room that there is so far.
void MainWindow::resizeEvent(QResizeEvent *) {
    if (isAtRest() && channelScroll->isVisible()) // a window manager's doing: then the table comes first
        heightWithoutTable = minimumContentHeight;
    const int room = height() - menuHeight() - heightWithoutTable - rowSpacing;
    channelScroll->setFixedHeight(std::clamp(room, 0, tableHeight));
}

/// There is nothing to gain from a larger window: a double click on its title bar, or a window manager's
/// wish, does not change its size.
void MainWindow::changeEvent(QEvent *event) {
    setWindowState(windowState() & ~(Qt::WindowMaximized | Qt::WindowFullScreen));
    QMainWindow::changeEvent(event);
}

/// The controller may have something to finish; then it says when.
void MainWindow::closeEvent(QCloseEvent *event) {
    bool mayEnd = true;
    tell([&mayEnd](BridgeController &c) { mayEnd = c.requestQuit([] { QCoreApplication::exit(); }); });
    event->setAccepted(mayEnd);
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
    openLines(this, title, lines);
}

void MainWindow::chooseFolder(const std::filesystem::path &from,
                              std::function<void(std::optional<std::filesystem::path>)> chosen) {
    openFolderChooser(this, from, std::move(chosen));
}

void MainWindow::showAbout() {
    QFile notices;
    if (const auto path = resources("ThirdPartyNotices", "txt"))
        notices.setFileName(QString::fromStdString(path->string()));
    openAbout(this, applicationIcon(),
              notices.open(QIODevice::ReadOnly) ? QString::fromUtf8(notices.readAll()) : QString());
}

} // namespace corvane
