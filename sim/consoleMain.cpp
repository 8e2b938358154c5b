#include "base/Text.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"
#include "sim/ConsoleSim.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <iostream>
#include <string>
#include <system_error>
#include <unistd.h>

namespace {

using namespace corvane;
using namespace corvane::sim;

constexpr int failed = 1;
constexpr int wrongUsage = 2;

std::vector<LV1Channel> channelsOf(const std::string &file) {
    const auto bytes = readFile(file);
    return readPatchDocument({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
}

int work(ConsoleSimOptions options) {
    ConsoleSim console(std::move(options));
    std::cout << "listening on " << console.port() << std::endl;
    console.onNote = [](const std::string &text) { std::cout << text << std::endl; };
    console.onReport = [](const std::string &text) { std::cerr << text << std::endl; };
    console.quitOnSignals();
    console.readCommands(STDIN_FILENO);
    console.run();
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("A stand-in for an LV1 console.", "lv1-console-sim");
    app.set_version_flag("--version", "lv1-console-sim " CORVANE_VERSION);
    ConsoleSimOptions options;
    std::string port;
    std::string patch;
    std::string announce;
    app.add_option("--port", port, "TCP port to listen on; any that is free when left out")
        ->check([](const std::string &text) {
            return portNumber(text) ? std::string() : "is not a port from 0 to 65535: " + text;
        });
    app.add_option("--patch", patch, "patch file with the channels, instead of a band's");
    app.add_option("--announce", announce, "host to announce to once a second, or multicast");
    app.add_option("--name", options.name, "name to announce");
    app.footer(ConsoleSim::commandHelp());
    try {
        app.parse(argc, argv);
        options.port = portNumber(port).value_or(0);
        if (!patch.empty())
            options.channels = channelsOf(patch);
        if (!announce.empty())
            options.announce = announce;
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    } catch (const PatchDocumentError &error) {
        std::cerr << patch << ": " << error.what() << std::endl;
        return wrongUsage;
    } catch (const FileError &error) {
        std::cerr << error.what() << std::endl;
        return wrongUsage;
    }
    const auto wanted = options.port;
    try {
        return work(std::move(options));
    } catch (const std::system_error &error) {
        if (error.code().value() == EADDRINUSE) // of a category that knows no conditions
            std::cerr << "TCP port " << wanted << " is in use by another program." << std::endl;
        else
            std::cerr << error.what() << std::endl;
        return failed;
    }
}
