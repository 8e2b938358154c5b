#include "app/AboutText.h"
#include "app/BridgeController.h"
#include "app/Desktop.h"
#include "app/Look.h"
#include "app/MainWindow.h"
#include "app/QtMainQueue.h"
#include "app/RehearsalStage.h"
#include "app/ShutdownSignals.h"
#include "livetrax/LiveTraxSurface.h"
#include "platform/files/StandardFolders.h"
#include "platform/rehearsal/Rehearsal.h"

#include <CLI/CLI.hpp>
#include <QApplication>

#include <exception>
#include <iostream>
#include <optional>
#include <utility>

namespace {

using namespace corvane;
using Path = std::filesystem::path;

constexpr int failed = 1;
constexpr int wrongUsage = 2;
constexpr int inTheWay = 3;

/// Runs the application until the user, the system or a signal ends it. The members of this list are made in
/// order and go in the opposite one.
int runApplication(QApplication &application, const std::optional<Path> &rehearsal, MarkerStyle style) {
    look::apply(application);
    prepareDesktop();
    // What is under way may be finished first; who asks twice does not want to wait for it.
    const ShutdownSignals endAsked([asked = false]() mutable {
        if (std::exchange(asked, true))
            QApplication::exit();
        else
            QApplication::quit();
    });
    const Path programs = programPath().parent_path();
    QtMainQueue main;
    const auto platform =
        makePlatform(main, {rehearsal, {liveTraxSurface::ports.begin(), liveTraxSurface::ports.end()}});
    std::unique_ptr<RehearsalStage> stage;
    if (rehearsal)
        stage = std::make_unique<RehearsalStage>(*platform, programs);
    MainWindow window(platform->resources,
                      rehearsal ? QString::fromStdString(rehearsal->string()) : QString());
    const auto controller = BridgeController::make(*platform, window);
    controller->liveTraxOSC->markerStyle = style;
    window.setController(controller);

    QObject::connect(&application, &QApplication::aboutToQuit, &window,
                     [&controller] { controller->applicationWillTerminate(); });
    if (stage) {
        buildRehearsalMenu(window, *stage);
        stage->listenToTerminal();
    }
    controller->applicationDidFinishLaunching();
    return QApplication::exec();
}

/// The folder of the rehearsal that was asked for, if any.
std::optional<Path> rehearsalFolder(const CLI::App &options, const std::string &named) {
    if (options.count("--rehearse") == 0)
        return std::nullopt;
    return std::filesystem::absolute(named.empty() ? RehearsalStage::defaultFolder() : Path(named));
}

} // namespace

int main(int argumentCount, char **arguments) {
    QApplication::setApplicationName(QString::fromUtf8(applicationName));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("app.corvane.Corvane"));
    CLI::App options("Links a Waves eMotion LV1 console with the LiveTrax recorder.", "corvane");
    std::string folder;
    options
        .add_option("--rehearse", folder,
                    "Try everything without console and recorder, in FOLDER or one of its own")
        ->expected(0, 1)
        ->option_text("[FOLDER]");
    std::string markers;
    options
        .add_option(
            "--markers", markers,
            "How scenes are marked: classic (the default) or named, which names them while recording too; "
            "else what CORVANE_MARKERS says")
        ->check(CLI::IsMember({classicMarkers, namedMarkers}))
        ->option_text("classic|named");
    options.set_version_flag("--version", "corvane " CORVANE_VERSION);
    std::optional<QApplication> application;
    try {
        // Help needs no display. Then Qt takes its own options, such as -platform, and nothing else may be
        // left.
        options.allow_extras();
        options.parse(argumentCount, arguments);
        application.emplace(argumentCount, arguments);
        options.allow_extras(false);
        options.parse(argumentCount, arguments);
    } catch (const CLI::ParseError &ending) {
        return options.exit(ending) == 0 ? 0 : wrongUsage;
    }
    try {
        return runApplication(*application, rehearsalFolder(options, folder), chosenMarkerStyle(markers));
    } catch (const RehearsalIsOpen &error) {
        std::cerr << error.what() << std::endl;
        return inTheWay;
    } catch (const PortInUse &error) {
        std::cerr << error.what() << std::endl;
        for (const UDPPortHolder &holder : udpPortHolders(error.port))
            std::cerr << "  It is held by " << described(holder) << "." << std::endl;
        return inTheWay;
    } catch (const std::exception &error) {
        std::cerr << error.what() << std::endl;
        return failed;
    }
}
