#pragma once

#include "platform/Platform.h"
#include "platform/queues/AsioMainQueue.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvane::cli {

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments left, const Arguments &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// How a run of the program ended.
struct Ran {
    int status = 0;
    std::string output;
    std::string errors;

    nlohmann::json json() const { return nlohmann::json::parse(output); }
};

/// The console's stand-in as a process, listening.
class Console {
public:
    explicit Console(Arguments arguments = {});

    std::uint16_t port() const { return portNumber; }
    /// The options that lead to it.
    Arguments address() const;
    void type(const std::string &command) const { process.type(command); }

private:
    ChildProcess process;
    std::uint16_t portNumber = 0;
};

/// The program itself, beside the stand-ins as processes, in a network and a rehearsal folder of the test's
/// own.
class ProgramTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Starts the program in the rehearsal.
    std::unique_ptr<ChildProcess> start(Arguments arguments) const;
    /// Runs it to its end.
    Ran run(const Arguments &arguments) const;
    static Ran finish(ChildProcess &process);
    /// Runs a line of shell in which $corvanectl, $room and $work are known; the status is the shell's.
    Ran shell(const std::string &line) const;

    /// Installs the stand-in as LiveTrax 3.
    void installLiveTrax() const;
    std::shared_ptr<RunningApplication> liveTrax() const;
    /// Waits until it answers.
    bool liveTraxAnswers() const;
    /// Asks it to quit and waits until it has.
    void quitLiveTrax() const;

    TemporaryFolder work;
    const std::filesystem::path room = work / "room";
    const std::string program = builtPrograms() / "corvanectl";

private:
    // Sees the rehearsal's programs.
    AsioMainQueue main;
    std::unique_ptr<Platform> platform;
};

} // namespace corvane::cli
