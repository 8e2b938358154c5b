#include "tests/app/WindowFixture.h"

#include "app/Look.h"
#include "tests/app/Activate.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <QVariantAnimation>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;

class MainWindowTest : public WindowFixture {
protected:
    int menuHeight() const { return window.menuBar()->height(); }
    void waitForHeight(int content) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return window.height() == content + menuHeight(); }, 3000))
            << window.height();
    }
    /// As it is once the animation is over, which need not be waited for.
    void expectRestAt(int content) {
        auto *animation = window.findChild<QVariantAnimation *>();
        EXPECT_EQ(animation->state(), QAbstractAnimation::Running);
        animation->setCurrentTime(animation->duration());
        EXPECT_EQ(animation->state(), QAbstractAnimation::Stopped);
        EXPECT_EQ(window.height(), content + menuHeight());
    }
    /// Runs the event loop and the action in it; the exit status, 1 when the action does not end the loop.
    int exitStatusAfter(const std::function<void()> &action) {
        QTimer deadline;
        QObject::connect(&deadline, &QTimer::timeout, [] { QApplication::exit(1); });
        deadline.start(5000);
        QMetaObject::invokeMethod(&window, action, Qt::QueuedConnection);
        return QApplication::exec();
    }
    /// The colour of a button's bezel as it is painted, beside its text.
    QColor bezel(const char *button) const {
        QWidget *widget = control(button);
        return widget->grab().toImage().pixelColor(widget->width() / 2, 4);
    }
    static QColor color(double red, double green, double blue) {
        return QColor(QColor::fromRgbF(float(red), float(green), float(blue)).rgb());
    }
};

// Layout

TEST_F(MainWindowTest, HasItsTitleAndSize) {
    launch();
    EXPECT_EQ(window.windowTitle(), "Corvane");
    EXPECT_EQ(window.centralWidget()->size(), QSize(760, 370));
    EXPECT_EQ(menuHeight(), 24);
    EXPECT_EQ(window.menuBar()->minimumHeight(), 24);
    EXPECT_EQ(window.minimumSize(), QSize(760, 350 + menuHeight()));
    EXPECT_EQ(window.maximumSize(), QSize(760, 650 + menuHeight()));
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_EQ(window.windowFlags() & Qt::WindowMinimizeButtonHint, Qt::WindowMinimizeButtonHint);
    EXPECT_EQ(window.windowFlags() & Qt::WindowCloseButtonHint, Qt::WindowCloseButtonHint);
}

TEST_F(MainWindowTest, IsCentredOnTheScreen) {
    launch();
    const QPoint centre = window.screen()->availableGeometry().center();
    EXPECT_LE((window.geometry().center() - centre).manhattanLength(), 2);
}

TEST_F(MainWindowTest, TheControlsStartAsTheyShould) {
    launch();
    EXPECT_EQ(control<QLabel>("sceneLabel")->text(), "Scene: —");
    EXPECT_EQ(control<QComboBox>("devicePopup")->currentText(), "Buscando en la red SoundGrid…");
    EXPECT_GE(control("devicePopup")->width(), 340);
    EXPECT_EQ(text("connectButton"), "SYNC LV1");
    EXPECT_EQ(control<QLineEdit>("sessionName")->text(), "LV1 Session");
    EXPECT_EQ(control<QLineEdit>("outputPath")->text().toStdString(), fakes.musicFolder->string());
    EXPECT_EQ(text("patchButton"), "PATCH LV1 · waiting for sync  ▸");
    EXPECT_EQ(text("syncButton"), "Create LiveTrax Session");
    EXPECT_FALSE(control("syncButton")->isEnabled());
    EXPECT_FALSE(control("channelScroll")->isVisible());
    EXPECT_EQ(control("sessionFields")->height(), 58);
    EXPECT_EQ(control("sessionName")->width(), 500);
    EXPECT_EQ(control<QLabel>("subtitle")->text(), "ONLINE INTEGRATION · PATCH / NAMES / COLORS");
}

TEST_F(MainWindowTest, TheStatusIsStartingBeforeAnythingIsSaid) {
    EXPECT_EQ(control<QLabel>("statusLabel")->text(), "Starting…");
}

TEST_F(MainWindowTest, KeepsTheStatedMargins) {
    launch();
    EXPECT_EQ(control("connectButton")->mapTo(window.centralWidget(), QPoint(0, 0)).x() +
                  control("connectButton")->width(),
              740);
    EXPECT_EQ(control("statusLabel")->x(), 20);
    EXPECT_EQ(control("icon")->mapTo(window.centralWidget(), QPoint(0, 0)), QPoint(20, 18));
    EXPECT_EQ(control("syncButton")->mapTo(window.centralWidget(), QPoint(0, 0)).y() +
                  control("syncButton")->height(),
              370 - 18);
}

TEST_F(MainWindowTest, ARehearsalSaysSoUnderTheTitleAlone) {
    MainWindow rehearsing(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    const auto its = BridgeController::make(fakes.platform, rehearsing);
    rehearsing.setController(its);
    its->applicationDidFinishLaunching();
    EXPECT_EQ(rehearsing.windowTitle(), "Corvane");
    const auto *subtitle = rehearsing.findChild<QLabel *>("subtitle");
    EXPECT_EQ(subtitle->text(), "REHEARSAL · NO REAL CONSOLE, NO REAL LIVETRAX · /tmp/rehearsal");
    EXPECT_EQ(subtitle->font().pixelSize(), 10);
    EXPECT_EQ(subtitle->font().weight(), QFont::DemiBold);
    EXPECT_EQ(subtitle->palette().color(QPalette::WindowText), look::color(amberLook));
}

// Colours

TEST_F(MainWindowTest, TheButtonsAreRedUntilTheLinkSaysOtherwise) {
    launch();
    EXPECT_EQ(bezel("connectButton"), color(0.88, 0.04, 0.04));
    consoleSendsPatch(channels(1));
    EXPECT_EQ(bezel("connectButton"), color(0.1, 0.68, 0.25));
    EXPECT_EQ(bezel("syncButton"), color(0.88, 0.04, 0.04));
    consoleSendsPatch(channels(2));
    EXPECT_EQ(bezel("connectButton"), color(0.95, 0.65, 0.05));
    controller->client->onConnectionState(false);
    EXPECT_EQ(bezel("connectButton"), color(0.88, 0.04, 0.04));
}

TEST_F(MainWindowTest, TheBackgroundIsNearBlack) {
    launch();
    EXPECT_EQ(window.grab().toImage().pixelColor(5, window.height() - 5), color(0.105, 0.105, 0.105));
}

TEST_F(MainWindowTest, NoWindowManagerMakesItLarger) {
    launch();
    const QSize size = window.size();
    window.setWindowState(Qt::WindowMaximized);
    QTest::qWait(1);
    EXPECT_FALSE(window.isMaximized());
    EXPECT_EQ(window.size(), size);
}

TEST_F(MainWindowTest, TheTableShowsThatItHasTheKeyboard) {
    launch();
    click("patchButton");
    expectRestAt(610);
    const auto edge = [this] { return control("table")->grab().toImage().pixelColor(0, 100); };
    const QColor without = edge();
    control("table")->setFocus();
    activate(window);
    ASSERT_TRUE(QTest::qWaitFor([&] { return control("table")->hasFocus(); }, 3000));
    EXPECT_NE(edge(), without);
    EXPECT_GT(edge().blue(), 150);
}

// Patch view

TEST_F(MainWindowTest, OpeningThePatchViewGrowsTheWindowAndShowsTheTable) {
    launch();
    const QPoint corner = window.pos();
    click("patchButton");
    EXPECT_TRUE(control("channelScroll")->isVisible());
    EXPECT_EQ(text("patchButton"), "PATCH LV1 · 0 tracks ▾");
    waitForHeight(610);
    EXPECT_EQ(window.pos(), corner);
    EXPECT_EQ(control("channelScroll")->height(), 230);
}

TEST_F(MainWindowTest, OpeningAndClosingReturnsTheFrameItHad) {
    launch();
    const QRect before = window.frameGeometry();
    click("patchButton");
    waitForHeight(610);
    click("patchButton");
    EXPECT_FALSE(control("channelScroll")->isVisible());
    waitForHeight(370);
    EXPECT_EQ(window.frameGeometry(), before);
}

TEST_F(MainWindowTest, TwoClicksDuringTheAnimationReturnTheFrameItHad) {
    launch();
    const QRect before = window.frameGeometry();
    click("patchButton");
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.height() > before.height() + 10; }, 3000));
    click("patchButton");
    waitForHeight(370);
    EXPECT_EQ(window.frameGeometry(), before);
    click("patchButton");
    click("patchButton");
    click("patchButton");
    waitForHeight(610);
}

TEST_F(MainWindowTest, AWindowOfAnotherHeightGrowsAndShrinksFromThatOne) {
    launch();
    window.resize(760, 400 + menuHeight());
    click("patchButton");
    expectRestAt(640);
    click("patchButton");
    expectRestAt(400);
    window.resize(760, 500 + menuHeight());
    click("patchButton");
    expectRestAt(650); // as high as it may be
    click("patchButton");
    expectRestAt(500);
    click("patchButton");
    expectRestAt(650);
    window.resize(760, 600 + menuHeight()); // the screen has no more room
    click("patchButton");
    expectRestAt(500);
}

TEST_F(MainWindowTest, TheTableHasItsWholeHeightWhereverTheWindowGrewFrom) {
    launch();
    for (const int content : {350, 360, 370, 400, 500}) {
        window.resize(760, content + menuHeight());
        click("patchButton");
        expectRestAt(std::min(content + 240, 650));
        EXPECT_EQ(control("channelScroll")->height(), 230) << content;
        QWidget *last = control("syncButton");
        EXPECT_EQ(last->mapTo(window.centralWidget(), QPoint(0, last->height())).y(),
                  window.centralWidget()->height() - 18)
            << content;
        click("patchButton");
        expectRestAt(content);
    }
    click("patchButton");
    expectRestAt(650);
    window.resize(760, 590 + menuHeight()); // less, but all that it needs
    EXPECT_EQ(control("channelScroll")->height(), 230);
}

// Hosts

TEST_F(MainWindowTest, TheHostMenuIsRefilledAndKeepsTheChosenHost) {
    launch();
    auto *menu = control<QComboBox>("devicePopup");
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 1, "aa"}, {"MON", "10.0.0.2", 1, "bb"}});
    EXPECT_EQ(menu->count(), 2);
    EXPECT_EQ(menu->currentIndex(), 0);
    menu->setCurrentIndex(1);
    controller->client->onEndpoints(
        {{"FOH", "10.0.0.1", 1, "aa"}, {"MON", "10.0.0.2", 1, "bb"}, {"BC", "10.0.0.3", 1, "cc"}});
    EXPECT_EQ(menu->currentText(), "MON  ·  BB");
}

TEST_F(MainWindowTest, OfTwoAddressesOfOneConsoleTheChosenOneStaysChosen) {
    launch();
    const std::vector<LV1Endpoint> twice{{"FOH", "10.0.0.1", 1, "aa"}, {"FOH", "10.0.0.7", 1, "aa"}};
    controller->client->onEndpoints(twice);
    control<QComboBox>("devicePopup")->setCurrentIndex(1);
    controller->client->onEndpoints({twice[0], twice[1], {"MON", "10.0.0.2", 1, "bb"}});
    EXPECT_EQ(window.selectedDevice(), 1);
}

TEST_F(MainWindowTest, AnOpenHostListShowsHostsThatArriveAndKeepsItsMark) {
    launch();
    auto *menu = control<QComboBox>("devicePopup");
    window.setDevicePopup({"FOH", "MON"});
    menu->showPopup();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(menu->view()->window()));
    const int height = menu->view()->window()->height();
    menu->view()->setCurrentIndex(menu->model()->index(1, 0));
    window.setDevicePopup({"FOH", "MON", "BC"});
    EXPECT_TRUE(menu->view()->isVisible());
    EXPECT_EQ(menu->view()->currentIndex().row(), 1);
    EXPECT_EQ(menu->view()->window()->height(), height + menu->view()->sizeHintForRow(0));
    EXPECT_TRUE(menu->view()->viewport()->rect().contains(
        menu->view()->visualRect(menu->model()->index(2, 0)).center()));
    menu->hidePopup();
}

TEST_F(MainWindowTest, TheOpenHostListHasAnEdge) {
    launch();
    auto *menu = control<QComboBox>("devicePopup");
    menu->showPopup();
    const QImage list = menu->view()->grab().toImage();
    EXPECT_GT(list.pixelColor(0, list.height() / 2).lightness(),
              look::grey(look::windowGrey).lightness() + 40);
    menu->hidePopup();
}

TEST_F(MainWindowTest, AnEmptyHostMenuHasNoSelection) {
    launch();
    controller->client->onServices({});
    EXPECT_LT(window.selectedDevice(), 0);
    click("connectButton");
    EXPECT_EQ(fakes.browser->searches, 2);
}

// The user's actions reach the controller

TEST_F(MainWindowTest, SyncConnectsToTheChosenHost) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 1, "aa"}, {"MON", "10.0.0.2", 1, "bb"}});
    control<QComboBox>("devicePopup")->setCurrentIndex(1);
    click("connectButton");
    fakes.clock->run();
    ASSERT_EQ(fakes.network->streams.size(), 1U);
    EXPECT_EQ(fakes.network->streams[0]->host, "10.0.0.2");
}

TEST_F(MainWindowTest, CreateTakesTheNameFromItsField) {
    launch();
    consoleSendsPatch(channels(1));
    EXPECT_TRUE(control("syncButton")->isEnabled());
    control<QLineEdit>("sessionName")->setText("   ");
    click("syncButton");
    EXPECT_EQ(window.findChild<QMessageBox *>(), nullptr);
    control<QLineEdit>("sessionName")->setText("Show");
    fakes.clock->advance(window.doubleClickTime()); // a press of its own
    click("syncButton");                            // no LiveTrax is installed
    ASSERT_NE(window.findChild<QMessageBox *>(), nullptr);
    EXPECT_EQ(window.findChild<QMessageBox *>()->text(), "Could not create the session");
}

// What it says besides its status

class NoticeTest : public MainWindowTest {
protected:
    std::string shown() const {
        return control("noticeRow")->isVisible() ? control<QLabel>("noticeText")->text().toStdString() : "";
    }
    void searchLasts() const {
        auto *timer = control<QTimer>("searchTimer");
        EXPECT_EQ(timer->interval(), 15000);
        timer->start(0);
        QTest::qWait(5);
        EXPECT_FALSE(timer->isActive());
    }
};

TEST_F(NoticeTest, ShowsTheControllersAndNothingElse) {
    launch();
    EXPECT_EQ(shown(), "");
    window.showNotice(Notice{Notice::Kind::otherSession, "LiveTrax opened “Palau” last.", "Use “Palau”"});
    EXPECT_EQ(shown(), "LiveTrax opened “Palau” last.");
    EXPECT_EQ(text("noticeAction"), "Use “Palau”");
    window.showNotice(std::nullopt);
    EXPECT_EQ(shown(), "");
}

TEST_F(NoticeTest, ASearchThatLastsSaysWhatToCheckUntilAConsoleIsHeard) {
    launch();
    searchLasts();
    const std::string advice =
        "No LV1 console has been heard so far. Check that it is on, that this computer is in its SoundGrid "
        "network, and that no firewall blocks UDP port 13337.";
    EXPECT_EQ(shown(), advice);
    window.showNotice(Notice{Notice::Kind::createCannot, "Type a session name.", ""});
    EXPECT_EQ(shown(), "Type a session name.") << "the controller knows more";
    click("noticeDismiss"); // asks the controller, which has said nothing
    EXPECT_EQ(shown(), "Type a session name.");
    window.showNotice(std::nullopt);
    EXPECT_EQ(shown(), advice);
    window.setDevicePopup({});
    EXPECT_EQ(shown(), advice) << "nobody has been heard";
    window.setDevicePopup({"FOH"});
    EXPECT_EQ(shown(), "");
}

TEST_F(NoticeTest, TheSearchEndsWithTheFirstConsole) {
    launch();
    const auto *timer = control<QTimer>("searchTimer");
    window.setDevicePopup({});
    EXPECT_TRUE(timer->isActive());
    window.setDevicePopup({"FOH"});
    EXPECT_FALSE(timer->isActive());
}

TEST_F(NoticeTest, ItsActionIsTheControllers) {
    launch();
    controller->client->onConnectionState(true);
    controller->client->onConnectionState(false);
    ASSERT_EQ(text("noticeAction"), "Reconnect");
    const int before = fakes.browser->searches;
    QTest::qWait(1);
    click("noticeAction");
    EXPECT_GT(fakes.browser->searches, before);
}

TEST_F(NoticeTest, WhatToCheckCanBePutAway) {
    launch();
    searchLasts();
    click("noticeDismiss");
    EXPECT_EQ(shown(), "");
    window.showNotice(Notice{Notice::Kind::createCannot, "Type a session name.", ""});
    window.showNotice(std::nullopt);
    EXPECT_EQ(shown(), "");
}

TEST_F(NoticeTest, AnUpdateUnderWayTurnsAMarkBesideTheStatus) {
    launch();
    EXPECT_FALSE(control("busyMark")->isVisible());
    window.setUpdateUnderWay(true);
    QTest::qWait(1);
    ASSERT_TRUE(control("busyMark")->isVisible());
    EXPECT_NEAR(control("busyMark")->geometry().center().y(), control("statusLabel")->geometry().center().y(),
                1);
    const QImage before = control("busyMark")->grab().toImage();
    EXPECT_TRUE(QTest::qWaitFor([&] { return control("busyMark")->grab().toImage() != before; }, 3000));
    window.setUpdateUnderWay(false);
    EXPECT_FALSE(control("busyMark")->isVisible());
}

TEST_F(NoticeTest, LinesToReadOpenBesideAndReplaceTheOnesBefore) {
    launch();
    window.showLines("Plan", {"“Kick” is new", "“Mix\nprint” goes"});
    window.showLines("Plan", {"“Kick” is new", "“Mix\nprint” goes"});
    ASSERT_EQ(window.findChildren<QDialog *>("lines").size(), 1);
    const auto *list = window.findChild<QDialog *>("lines")->findChild<QListWidget *>();
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(1)->text(), "“Mix print” goes");
    EXPECT_FALSE(window.findChild<QDialog *>("lines")->isModal());
}

// Menu, end, icon

TEST_F(MainWindowTest, TheMenuHoldsItsItemsInOrder) {
    launch();
    ASSERT_EQ(window.menuBar()->actions().size(), 1);
    std::vector<std::pair<std::string, std::string>> items;
    for (const QAction *item : window.menuBar()->actions().front()->menu()->actions())
        items.emplace_back(item->text().toStdString(), item->shortcut().toString().toStdString());
    using Item = std::pair<std::string, std::string>;
    EXPECT_THAT(items, ElementsAre(Item("About Corvane…", ""), Item("", ""), Item("Hide Corvane", "Ctrl+H"),
                                   Item("Hide Others", "Ctrl+Alt+H"), Item("Show All", ""), Item("", ""),
                                   Item("Quit Corvane", "Ctrl+Q")));
    const QMenu *menu = window.menuBar()->actions().front()->menu();
    EXPECT_TRUE(menu->toolTipsVisible());
    EXPECT_FALSE(menu->actions()[3]->isEnabled());
    EXPECT_EQ(menu->actions()[3]->toolTip(), "A program cannot hide others on this desktop.");
    for (const QAction *item : menu->actions())
        EXPECT_TRUE(item->isSeparator() || item->menuRole() == QAction::NoRole) << item->text().toStdString();
}

TEST_F(MainWindowTest, ClosingTheWindowQuits) {
    launch();
    EXPECT_EQ(exitStatusAfter([this] { window.close(); }), 0);
}

// The program never goes on without its window: a click on its icon always has one to bring back.
TEST_F(MainWindowTest, ClosingTheWindowQuitsWhateverElseIsOpen) {
    launch();
    controller->showAbout();
    window.showLines("What would change", {"One line"});
    EXPECT_EQ(exitStatusAfter([this] { window.close(); }), 0);
}

TEST_F(MainWindowTest, QuitInTheMenuQuits) {
    launch();
    EXPECT_EQ(
        exitStatusAfter([this] { window.menuBar()->actions().front()->menu()->actions().back()->trigger(); }),
        0);
}

TEST_F(MainWindowTest, AnOpenAlertDoesNotKeepTheProgramFromEnding) {
    launch();
    std::vector<std::size_t> answers;
    window.showAlert({"Update Session", "It will close.", {"Update", "Cancel"}},
                     [&](std::size_t button) { answers.push_back(button); });
    EXPECT_EQ(exitStatusAfter([] { QApplication::quit(); }), 0);
    EXPECT_THAT(answers, ElementsAre(1)) << "an end is no consent";
}

class IconTest : public MainWindowTest {
protected:
    IconTest() { QApplication::setWindowIcon(QIcon()); }
};

TEST_F(IconTest, TheBrandIconBecomesTheApplicationsAndStandsInTheHeader) {
    QPixmap image(512, 512);
    image.fill(Qt::magenta);
    const std::string path = (fakes.folder.path() / "AppIcon.png").string();
    ASSERT_TRUE(image.save(QString::fromStdString(path)));
    fakes.resources->files["AppIcon.png"] = path;
    launch();
    EXPECT_EQ(QApplication::windowIcon().pixmap(16, 16).toImage().pixelColor(8, 8), QColor(Qt::magenta));
    EXPECT_EQ(control<QLabel>("icon")->pixmap().toImage().pixelColor(19, 19), QColor(Qt::magenta));
    EXPECT_EQ(control("icon")->size(), QSize(38, 38));
}

TEST_F(IconTest, WithoutABrandIconTheHeaderShowsTheDefaultOneAndTheApplicationKeepsIts) {
    launch();
    EXPECT_TRUE(window.brandIcon().isNull());
    EXPECT_FALSE(control<QLabel>("icon")->pixmap().isNull());
    EXPECT_TRUE(QApplication::windowIcon().isNull());
}

TEST_F(IconTest, AFileThatIsNoImageIsNoIconAndIsNotTriedAgain) {
    const auto path = fakes.folder.write("AppIcon.png", "no image");
    fakes.resources->files["AppIcon.png"] = path;
    EXPECT_TRUE(window.brandIcon().isNull());
    QPixmap image(8, 8);
    image.fill(Qt::magenta);
    ASSERT_TRUE(image.save(QString::fromStdString(path.string())));
    EXPECT_TRUE(window.brandIcon().isNull());
}

} // namespace

} // namespace corvane
