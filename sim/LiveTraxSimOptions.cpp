#include "sim/LiveTraxSimOptions.h"

#include "base/Text.h"

#include <cmath>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace corvane {
namespace {

std::filesystem::path sessionFolder(const std::string &argument) {
    auto folder = std::filesystem::absolute(argument).lexically_normal();
    if (!folder.has_filename())
        folder = folder.parent_path();
    if (!folder.has_filename())
        throw LiveTraxSimUsageError("not a session folder: " + argument);
    return folder;
}

std::chrono::milliseconds duration(const std::string &word, const std::string &text) {
    // Far beyond any rehearsal, and far from an overflow.
    constexpr double longest = 86400;
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double seconds = 0;
    if (!(stream >> seconds) || !stream.eof() || !(seconds >= 0 && seconds <= longest))
        throw LiveTraxSimUsageError("LIVETRAX_SIM: not a number of seconds: " + word);
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace

LiveTraxCommandLine LiveTraxCommandLine::parse(const std::vector<std::string> &arguments) {
    LiveTraxCommandLine line;
    std::optional<std::string> folder;
    std::optional<std::string> newFolder;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto value = [&] {
            if (std::next(argument) == arguments.end())
                throw LiveTraxSimUsageError(*argument + " needs a value");
            return *++argument;
        };
        if (*argument == "-a" || *argument == "-n")
            continue;
        if (*argument == "-k")
            value(); // key bindings: there is nothing to press
        else if (*argument == "-T")
            line.templateName = value();
        else if (*argument == "-N")
            newFolder = value();
        else if (argument->starts_with("-"))
            throw LiveTraxSimUsageError("unknown option: " + *argument);
        else if (folder)
            throw LiveTraxSimUsageError("more than one session: " + *argument);
        else
            folder = *argument;
    }
    if (newFolder.has_value() != line.templateName.has_value())
        throw LiveTraxSimUsageError("-T and -N go together");
    if (newFolder.has_value() == folder.has_value())
        throw LiveTraxSimUsageError("usage: livetrax-sim -a -n -k KEYS (FOLDER | -T NAME -N FOLDER)");
    line.folder = sessionFolder(newFolder ? *newFolder : *folder);
    return line;
}

LiveTraxBehaviour LiveTraxBehaviour::parse(std::string_view words) {
    LiveTraxBehaviour behaviour;
    std::istringstream stream{std::string(words)};
    for (std::string piece; std::getline(stream, piece, ',');) {
        const std::string word = trimmed(piece);
        const std::string slowQuit = "slow-quit=";
        if (word.empty())
            continue;
        if (word == "deaf")
            behaviour.deaf = true;
        else if (word == "rolling")
            behaviour.rolling = true;
        else if (word == "armed")
            behaviour.armed = true;
        else if (word == "recording")
            behaviour.recording = behaviour.armed = behaviour.rolling = true;
        else if (word == "no-save")
            behaviour.noSave = true;
        else if (word == "ignore-term")
            behaviour.ignoreTerminate = true;
        else if (word.starts_with(slowQuit))
            behaviour.slowQuit = duration(word, word.substr(slowQuit.size()));
        else
            throw LiveTraxSimUsageError("LIVETRAX_SIM: unknown word: " + word);
    }
    return behaviour;
}

} // namespace corvane
