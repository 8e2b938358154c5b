// The window with everything real around it: the stand-ins of console and recorder as programs of their own,
// sockets on a loopback interface of the test's own, files in a rehearsal's folder.

#include "app/BezelButton.h"
#include "app/BridgeController.h"
#include "app/MainWindow.h"
#include "app/QtMainQueue.h"
#include "app/RehearsalStage.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <QLabel>
#include <QMessageBox>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

namespace corvane {

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr int timeout = 30000; // milliseconds

/// The window, keeping every status it has shown.
class RecordingWindow : public MainWindow {
public:
    using MainWindow::MainWindow;
    void setStatusLabel(const std::string &text) override {
        statuses.push_back(text);
        MainWindow::setStatusLabel(text);
    }
    std::vector<std::string> statuses;
};

/// All that a rehearsal consists of, in the order in which the program makes it.
class Rehearsing {
public:
    Rehearsing() {
        window.setController(controller);
        controller->applicationDidFinishLaunching();
    }
    ~Rehearsing() { controller->applicationWillTerminate(); }

    bool is(const ButtonLook &look) const {
        return window.findChild<BezelButton *>("connectButton")->currentLook() == look;
    }
    bool becomes(const ButtonLook &look) const {
        return QTest::qWaitFor([&] { return is(look); }, timeout);
    }
    std::string status() const { return window.findChild<QLabel *>("statusLabel")->text().toStdString(); }
    bool says(const std::string &text) const {
        return QTest::qWaitFor([&] { return status() == text; }, timeout);
    }
    void click(const char *button) const {
        QTest::mouseClick(window.findChild<QWidget *>(button), Qt::LeftButton);
    }
    /// Waits for an alert and returns its informative text; empty when none comes.
    std::string alert() const {
        const auto box = [this] { return window.findChild<QMessageBox *>("alert"); };
        if (!QTest::qWaitFor([&] { return box() != nullptr; }, timeout))
            return "";
        return box()->informativeText().toStdString();
    }
    void answer(Qt::Key key) const {
        QTest::keyClick(window.findChild<QMessageBox *>("alert"), key);
        QTest::qWait(1);
    }

    std::shared_ptr<RunningApplication> liveTrax() const {
        return LiveTraxGenerator::runningApplication(*platform);
    }
    std::filesystem::path session() const { return *platform->folders->music() / "LV1 Session"; }
    std::filesystem::path sessionFile() const { return session() / "LV1 Session.ardour"; }
    bool sessionExists() const {
        return QTest::qWaitFor([&] { return std::filesystem::exists(sessionFile()); }, timeout);
    }
    std::string savedSession() const {
        std::ifstream file(sessionFile());
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// Whether the session file is what the console says now.
    bool sessionMatchesConsole() const {
        return LiveTraxGenerator::sessionPatchSignature(session()) == controller->currentPatch;
    }

    TemporaryFolder folder;
    QtMainQueue main;
    std::unique_ptr<Platform> platform = makePlatform(main, {folder.path()});
    bool furnished = (RehearsalStage::furnish(folder.path(), builtPrograms()), true);
    RehearsalStage stage{*platform, builtPrograms()};
    RecordingWindow window{*platform->resources, QStringLiteral("a test")};
    std::shared_ptr<BridgeController> controller = BridgeController::make(*platform, window);
};

class WindowEndToEnd : public testing::Test {
protected:
    /// Up to a session that is open in LiveTrax, which behaves as LIVETRAX_SIM says.
    void openSession(const char *behaviour = "") {
        liveTraxSim.emplace("LIVETRAX_SIM", behaviour);
        it.emplace();
        ASSERT_TRUE(it->becomes(greenLook)) << it->status();
        it->click("syncButton");
        EXPECT_EQ(it->status(), "Template created. Opening LiveTrax 3…");
        ASSERT_TRUE(it->sessionExists());
        ASSERT_TRUE(it->sessionMatchesConsole());
        ASSERT_NE(it->liveTrax(), nullptr);
    }
    /// And on to a patch that differs, with the question asked.
    void changePatchAndPressSync() {
        it->stage.tellConsole("move 20 41");
        ASSERT_TRUE(it->becomes(amberLook));
        EXPECT_EQ(it->status(), "Changes detected. Stop the transport and press SYNC LV1.");
        it->click("connectButton");
        EXPECT_EQ(it->alert(),
                  "LiveTrax will close to apply the new channels, then reopen with the updated session.");
    }
    void expectFailure(const std::string &message) {
        EXPECT_EQ(it->alert(), message);
        EXPECT_EQ(it->status(), "The session was not updated.");
        EXPECT_TRUE(it->is(amberLook));
        it->answer(Qt::Key_Return);
    }
    void expectUpdated() {
        ASSERT_TRUE(it->says("Session updated: 23 adjusted, 1 added, 1 removed.")) << it->status();
        EXPECT_TRUE(it->is(greenLook));
        EXPECT_TRUE(it->sessionMatchesConsole());
        EXPECT_NE(it->liveTrax(), nullptr) << "opened again";
    }

    std::optional<EnvironmentVariable> liveTraxSim;
    std::optional<Rehearsing> it;
};

TEST_F(WindowEndToEnd, FindsTheConsoleCreatesASessionAndFollowsAChange) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    EXPECT_THAT(it->window.statuses, Contains("Synced: 24 tracks / 31 inputs"));
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
    EXPECT_TRUE(before->isTerminated());
    const std::vector<std::string> expected{"Checking transport…", "Saving the session…", "Closing LiveTrax…",
                                            "Session updated: 23 adjusted, 1 added, 1 removed."};
    const std::vector<std::string> last(it->window.statuses.end() - 4, it->window.statuses.end());
    EXPECT_EQ(last, expected);
}

TEST_F(WindowEndToEnd, ACancelledSyncChangesNothing) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Escape);
    EXPECT_EQ(it->status(), "Sync cancelled.");
    EXPECT_TRUE(it->is(amberLook));
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_FALSE(before->isTerminated());
}

TEST_F(WindowEndToEnd, ARollingRecorderIsLeftAlone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("rolling");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectFailure("Stop the transport and recording before updating the session.");
    EXPECT_NE(it->liveTrax(), nullptr);
    EXPECT_FALSE(it->sessionMatchesConsole());
}

TEST_F(WindowEndToEnd, AnArmedRecorderThatStandsIsUpdated) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("armed");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
}

TEST_F(WindowEndToEnd, ADeafRecorderIsLeftAlone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("deaf");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectFailure("Could not check LiveTrax transport. Stop playback and try again.");
    EXPECT_NE(it->liveTrax(), nullptr);
}

TEST_F(WindowEndToEnd, ARecorderThatDoesNotSaveIsUpdatedAllTheSame) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("no-save");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
}

TEST_F(WindowEndToEnd, ARecorderThatDoesNotQuitIsForced) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("ignore-term");
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
    EXPECT_TRUE(before->isTerminated());
}

TEST_F(WindowEndToEnd, ASessionFileThatVanishedIsReported) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("no-save");
    std::filesystem::remove(it->sessionFile());
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    ASSERT_TRUE(it->says("The session was not updated."));
    expectFailure("The active LiveTrax session was not found at " + it->sessionFile().string() + ".");
}

TEST_F(WindowEndToEnd, WhileTheRecorderIsClosedTheSessionIsUpdatedAtOnce) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto before = it->liveTrax();
    before->terminate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return before->isTerminated(); }, timeout));
    it->stage.tellConsole("move 20 41");
    ASSERT_TRUE(it->becomes(amberLook));
    it->click("connectButton");
    EXPECT_EQ(it->window.findChild<QMessageBox *>("alert"), nullptr);
    expectUpdated();
}

TEST_F(WindowEndToEnd, SceneRecallsDropMarkersButForTheFirstTheSameAndNone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto recall = [this](const std::string &name) {
        it->stage.tellConsole("scene " + QByteArray::fromStdString(name));
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return it->window.findChild<QLabel *>("sceneLabel")->text().toStdString() == "Scene: " + name;
            },
            timeout));
        QTest::qWait(200); // the marker leaves
    };
    recall("Prueba de sonido"); // the one that was recalled at the start
    recall("Verse & Chorus");
    EXPECT_EQ(it->status(), "Scene marker added: Verse & Chorus");
    recall("NO SCENE");
    recall("Outro");
    it->controller->liveTraxOSC->save();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return it->savedSession().find("Outro") != std::string::npos; }, timeout));
    EXPECT_THAT(it->savedSession(), HasSubstr("Verse &amp; Chorus"));
    EXPECT_THAT(it->savedSession(), Not(HasSubstr("NO SCENE")));
    EXPECT_THAT(it->savedSession(), Not(HasSubstr("Prueba")));
}

TEST_F(WindowEndToEnd, ADroppedLinkIsRedAndSyncConnectsAgain) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("drop");
    ASSERT_TRUE(it->becomes(redLook));
    EXPECT_THAT(it->window.statuses,
                Contains("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
    it->click("connectButton");
    EXPECT_TRUE(it->becomes(greenLook)) << it->status();
}

TEST_F(WindowEndToEnd, WithNoSessionAChangedPatchIsAccepted) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("stereo 24 off");
    ASSERT_TRUE(it->becomes(amberLook));
    it->click("connectButton");
    EXPECT_EQ(it->status(), "Patch accepted. It will be used for the next session.");
    EXPECT_TRUE(it->is(greenLook));
}

TEST_F(WindowEndToEnd, AColourIsShownAtOnceAndIsNoChange) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("color 3 0 0 1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return it->controller->channels[2].blue == 1.0F; }, timeout));
    EXPECT_TRUE(it->is(greenLook));
    EXPECT_EQ(it->controller->synchronizedChannels, it->controller->channels);
}

} // namespace

} // namespace corvane
