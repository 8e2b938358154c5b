// A soak: a show at high rate on real sockets and files, with the stand-ins as programs of their own, in a
// network that nobody else can reach.
//
//   soak [--seconds S] [--seed N] [--folder FOLDER]
//
// Exit 0 when all is well, 1 when not, 2 for wrong usage, 77 when no private network is permitted. With a
// folder, which must be empty, everything is left there; else in a temporary one that goes.

#include "tests/soak/Guardian.h"
#include "tests/soak/Show.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr int wrongUsage = 2;
constexpr int skipped = 77;

std::optional<corvane::soak::ShowOptions> parsed(int argc, char **argv) {
    corvane::soak::ShowOptions options;
    options.programs = corvane::builtPrograms();
    for (int i = 1; i < argc; i += 2) {
        const std::string name = argv[i];
        if (i + 1 >= argc)
            return std::nullopt;
        if (name == "--seconds")
            options.seconds = std::stod(argv[i + 1]);
        else if (name == "--seed")
            options.seed = static_cast<std::uint32_t>(std::stoul(argv[i + 1]));
        else if (name == "--folder")
            options.folder = argv[i + 1];
        else
            return std::nullopt;
    }
    return options;
}

int soak(corvane::soak::ShowOptions options) {
    std::string reason;
    if (!corvane::PrivateNetwork::enter(reason)) {
        std::cout << "skipped, no network namespace of its own: " << reason << std::endl;
        return skipped;
    }
    std::optional<corvane::TemporaryFolder> temporary;
    if (options.folder.empty())
        options.folder = temporary.emplace().path();
    std::filesystem::create_directories(options.folder);
    options.folder = std::filesystem::canonical(options.folder);
    const corvane::soak::Guardian guardian(options.folder);
    corvane::AsioMainQueue main;
    corvane::soak::Show show(main, options);
    return show.play() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    ::signal(SIGPIPE, SIG_IGN); // of a console that has been killed
    try {
        if (const auto options = parsed(argc, argv))
            return soak(*options);
        std::cerr << "soak [--seconds S] [--seed N] [--folder FOLDER]" << std::endl;
        return wrongUsage;
    } catch (const std::exception &error) {
        std::cerr << error.what() << std::endl;
        return 1;
    }
}
