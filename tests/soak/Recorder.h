#pragma once

#include "platform/Platform.h"
#include "tests/soak/MarkerAccount.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane::soak {

/// The recorder's stand-in as the show sees it: installed in the rehearsal's folder, known by its log, and
/// restarted now and then by somebody who saves first.
class Recorder {
public:
    using Time = MarkerAccount::Time;

    /// Puts the program in the recorder's place. Throws FileError.
    Recorder(const Platform &platform, const std::filesystem::path &program, MarkerAccount &account);

    /// Reads what the log says since the last time.
    void follow(Time now);
    /// Begins a restart: `save` asks the recorder to save; `reopen` starts it again once it has ended.
    void restart(bool byForce, const std::function<void()> &save, std::function<void()> reopen, Time now);
    /// The next step of a restart that is under way.
    void goOn(Time now);

    bool isBeingRestarted() const { return step != Step::none; }
    std::size_t saves() const { return savesHeard; }
    std::size_t starts() const { return startsHeard; }
    /// Whether it runs at this moment.
    bool runs() const;
    /// The names of the marks in a session file, in order.
    static std::vector<std::string> marksIn(const std::filesystem::path &sessionFile);

    std::vector<std::string> faults;

private:
    enum class Step { none, saving, ending };

    void heard(const std::string &line, Time now);

    const Platform &platform;
    MarkerAccount &account;
    std::filesystem::path log;
    std::uintmax_t offset = 0;
    std::string partial;
    std::size_t savesHeard = 0;
    std::size_t startsHeard = 0;

    Step step = Step::none;
    bool force = false;
    std::size_t savesBefore = 0;
    Time since = 0;
    std::shared_ptr<RunningApplication> leaving;
    std::function<void()> reopening;
};

} // namespace corvane::soak
