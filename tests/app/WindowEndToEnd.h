#pragma once

// The window with everything real around it: the stand-ins of console and recorder as programs of their own,
// sockets on a loopback interface of the test's own, files in a rehearsal's folder.

#include "app/BezelButton.h"
#include "app/BridgeController.h"
#include "app/MainWindow.h"
#include "app/QtMainQueue.h"
#include "app/RehearsalStage.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/processes/UDPPortHolders.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

namespace corvane {

inline constexpr int timeout = 30000; // milliseconds

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
        return dynamic_cast<const BezelButton &>(*window.findChild<QWidget *>("connectButton"))
                   .currentLook() == look;
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
    std::filesystem::path session() const { return *platform->folders.music() / "LV1 Session"; }
    std::filesystem::path sessionFile() const { return session() / "LV1 Session.ardour"; }
    /// Waits until a recorder of this rehearsal has said this line.
    bool recorderSays(const std::string &line) const {
        const auto log = supportFolder(platform->folders) / "livetrax.log";
        return QTest::qWaitFor(
            [&] {
                std::ifstream file(log);
                std::string said;
                while (std::getline(file, said) && said != line)
                    continue;
                return said == line;
            },
            timeout);
    }
    /// How many recorders of this rehearsal run.
    int recorders() const {
        const auto program = platform->folders.applications / "LiveTrax3.app/Contents/MacOS/LiveTrax3";
        int count = 0;
        for (const auto &process : std::filesystem::directory_iterator("/proc")) {
            std::error_code gone;
            count += std::filesystem::read_symlink(process.path() / "exe", gone) == program ? 1 : 0;
        }
        return count;
    }
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
    RecordingWindow window{platform->resources, QStringLiteral("a test")};
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
        if (behaviour == std::string_view("deaf"))
            return;
        ASSERT_TRUE(liveTraxListens());
    }
    /// It takes its time to start, and a press before it listens finds it silent.
    static bool liveTraxListens() {
        return QTest::qWaitFor([] { return !udpPortHolders(liveTraxSurface::port).empty(); }, timeout);
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

} // namespace corvane
