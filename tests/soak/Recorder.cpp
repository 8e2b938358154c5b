#include "tests/soak/Recorder.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/XMLTree.h"
#include "platform/files/Files.h"

#include <fstream>
#include <iterator>
#include <utility>

namespace corvane::soak {

namespace {

using Path = std::filesystem::path;

/// How long a recorder may take to save and to end before it counts as stuck, in seconds.
constexpr double savingTimeout = 20;
constexpr double endingTimeout = 30;

Path installedIn(const Platform &platform) {
    return platform.folders.applications / "LiveTrax3.app/Contents/MacOS/LiveTrax3";
}

} // namespace

Recorder::Recorder(const Platform &platform, const Path &program, MarkerAccount &account)
    : platform(platform), account(account),
      log(platform.folders.home / "Library/Application Support/Corvane/livetrax.log") {
    const Path place = installedIn(platform);
    createFolders(place.parent_path());
    copyFile(program, place);
    std::filesystem::permissions(place, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add);
}

void Recorder::follow(Time now) {
    std::ifstream file(log, std::ios::binary);
    if (!file)
        return;
    file.seekg(static_cast<std::streamoff>(offset));
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    offset += text.size();
    for (const char letter : text) {
        if (letter == '\n')
            heard(std::exchange(partial, {}), now);
        else
            partial += letter;
    }
}

void Recorder::heard(const std::string &line, Time now) {
    constexpr std::string_view listening = "OSC on port ";
    if (line.starts_with(listening)) {
        ++startsHeard;
        account.recorderListens(now);
        if (line != "OSC on port 3819")
            faults.push_back("the recorder found its port taken: " + line);
    }
    savesHeard += line == "saved" ? 1 : 0;
    if (line.starts_with("unknown") || line.starts_with("not an OSC") || line.starts_with("could not") ||
        line.starts_with("/marker") || line.starts_with("goes to"))
        faults.push_back("the recorder complains: " + line);
    account.heard(line);
}

void Recorder::restart(bool byForce, const std::function<void()> &save, std::function<void()> reopen,
                       Time now) {
    step = Step::saving;
    force = byForce;
    savesBefore = savesHeard;
    since = now;
    reopening = std::move(reopen);
    save();
}

void Recorder::goOn(Time now) {
    if (step == Step::saving && (savesHeard > savesBefore || now > since + savingTimeout)) {
        if (savesHeard == savesBefore)
            faults.emplace_back("the recorder did not save");
        account.recorderLeaves(now);
        leaving = LiveTraxGenerator::runningApplication(platform);
        if (leaving && force)
            leaving->forceTerminate();
        else if (leaving)
            leaving->terminate();
        step = Step::ending;
        since = now;
    } else if (step == Step::ending) {
        if (leaving && !leaving->isTerminated()) {
            if (now > since + endingTimeout) {
                faults.emplace_back("the recorder did not end");
                since = now;
                leaving->forceTerminate();
            }
            return;
        }
        step = Step::none;
        leaving.reset();
        std::exchange(reopening, nullptr)();
    }
}

bool Recorder::runs() const {
    return LiveTraxGenerator::runningApplication(platform) != nullptr;
}

std::vector<std::string> Recorder::marksIn(const Path &sessionFile) {
    const XMLDocument session = XMLDocument::load(sessionFile);
    std::vector<std::string> names;
    for (const XMLElement location : session.root().firstChild("Locations").children("Location"))
        if (location.attribute("flags") == "IsMark")
            names.emplace_back(location.attribute("name").value_or(""));
    return names;
}

} // namespace corvane::soak
