#include "platform/files/Files.h"
#include "tests/livetrax/session/SessionTexts.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace corvane {
namespace {

using ::testing::HasSubstr;
using Files = std::map<std::string, std::string>;
using Path = std::filesystem::path;

const std::string SESSION = "Shows/Gig/Gig.ardour";
const std::string OLDER_BACKUP = "Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour";
const std::string NEW_BACKUP = "Shows/Gig/backup/Corvane pre-sync 2026-01-31_18-04-05-250.ardour";
const std::string DEFAULTS = "home/.config/corvane/defaults.json";
const std::string HISTORY = "home/Library/Application Support/Corvane/History/";

std::string contentOf(const Path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Files filesBelow(const Path &folder) {
    Files found;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder))
        if (!entry.is_directory())
            found[entry.path().lexically_relative(folder).string()] = contentOf(entry.path());
    return found;
}

/// What became of one run of the update program.
struct Outcome {
    bool killed = false;
    int exitCode = -1;
    std::string message;
    std::vector<std::string> calls; ///< each with its path
    Files files;
};

class SessionUpdateFaults : public ::testing::Test {
protected:
    SessionUpdateFaults() {
        TrackText kick;
        kick.name = "Kick";
        TrackText gone = kick;
        gone.name = "Gone";
        gone.capture = 2;
        gone.order = "2";
        before = {{SESSION, sessionText({kick, gone})},
                  {OLDER_BACKUP, "the backup of last year"},
                  {"Shows/Gig/backup/mine.ardour", "somebody's own"},
                  {"Shows/Gig/interchange/Kick-1.wav", "audio"},
                  {DEFAULTS, "{\"CorvaneDeviceID\":\"3f\"}\n"},
                  {"resources/LiveTraxSeed.template", smallTemplate()}};
    }

    /// Lays the files out afresh and lets the update run into a fault at its n-th call; none at 0.
    Outcome run(std::size_t at, const std::string &kind) {
        const Path world = folder.path() / "world";
        std::filesystem::remove_all(world);
        std::filesystem::remove(folder.path() / "log");
        for (const auto &[name, content] : before)
            folder.write("world/" + name, content);
        Outcome made;
        const int status = spawned(at, kind);
        made.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        made.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        made.message = contentOf(folder.path() / "message");
        std::istringstream log(contentOf(folder.path() / "log"));
        for (std::string call; std::getline(log, call);)
            made.calls.push_back(call);
        made.files = filesBelow(world);
        return made;
    }

    void expectNothingLostAtAnyCall(const std::vector<int> &errors);
    void expectNothingLostWhenKilledAtAnyCall(const std::vector<std::string> &ways);

    std::string worldPath() const { return (folder.path() / "world").string(); }

private:
    /// Hundreds of folders are laid out and removed: in memory where the system offers that.
    static bool preferMemory() {
        if (std::filesystem::is_directory("/dev/shm") && std::getenv("TMPDIR") == nullptr)
            ::setenv("TMPDIR", "/dev/shm", 1);
        return true;
    }
    bool memoryPreferred = preferMemory();

protected:
    TemporaryFolder folder;
    Files before;

private:
    int spawned(std::size_t at, const std::string &kind) const {
        const std::string program = builtPrograms() / "session-update-program";
        const std::string message = (folder.path() / "message").string();
        std::vector<std::string> variables = {"LD_PRELOAD=" CORVANE_FAULT_INJECTION,
                                              "FAULT_FOLDER=" + worldPath(),
                                              "FAULT_LOG=" + (folder.path() / "log").string(),
                                              "FAULT_AT=" + std::to_string(at),
                                              "FAULT_KIND=" + kind,
                                              "TZ=UTC",
                                              "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"};
        std::vector<char *> environment;
        for (std::string &variable : variables)
            environment.push_back(variable.data());
        environment.push_back(nullptr);
        std::string argument = worldPath();
        char *arguments[] = {const_cast<char *>(program.c_str()), argument.data(), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 2, message.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t child = 0;
        const int failure =
            ::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environment.data());
        posix_spawn_file_actions_destroy(&actions);
        EXPECT_EQ(failure, 0) << std::strerror(failure);
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        return status;
    }
};

std::string contentIn(const Files &files, const std::string &name) {
    const auto found = files.find(name);
    return found == files.end() ? std::string() : found->second;
}

/// What must hold after any fault. `after` is what a run without one leaves.
void expectNothingLost(const Outcome &run, const Files &before, const Files &after, const std::string &call) {
    Files left = run.files;
    const std::string session = left[SESSION];
    const bool updated = session == after.at(SESSION);
    EXPECT_TRUE(updated || session == before.at(SESSION)) << "the session is neither the old nor the new one";
    left.erase(SESSION);

    const auto backup = left.find(NEW_BACKUP);
    const bool backedUp = backup != left.end();
    if (backedUp) {
        EXPECT_EQ(backup->second, before.at(SESSION)) << "the backup is not whole";
        left.erase(backup);
    }
    EXPECT_TRUE(backedUp || !updated) << "the session was replaced without a backup";
    const bool pruned = left.count(OLDER_BACKUP) == 0;
    EXPECT_TRUE(!pruned || (updated && backedUp) || before.count(OLDER_BACKUP) == 0)
        << "an older backup went before the update was done";
    EXPECT_TRUE(pruned || left[OLDER_BACKUP] == contentIn(before, OLDER_BACKUP));
    left.erase(OLDER_BACKUP);

    EXPECT_TRUE(left[DEFAULTS] == contentIn(before, DEFAULTS) || left[DEFAULTS] == after.at(DEFAULTS))
        << left[DEFAULTS];
    left.erase(DEFAULTS);
    left.erase(DEFAULTS + ".lock");

    // The history holds the session as it was, whole, before the session is replaced.
    bool kept = false;
    for (auto file = left.begin(); file != left.end();) {
        const bool inHistory = file->first.starts_with(HISTORY) && after.count(file->first) != 0;
        if (inHistory && file->first.ends_with(".ardour")) {
            EXPECT_EQ(file->second, before.at(SESSION)) << "the copy is not whole";
            kept = true;
        }
        file = inHistory ? left.erase(file) : std::next(file);
    }
    EXPECT_TRUE(kept || !updated) << "the session was replaced without a copy in the history";

    for (const auto &[name, content] : left) {
        const bool temporary = Path(name).filename().string().starts_with(".corvane-");
        if (temporary) {
            EXPECT_TRUE(run.killed || call.starts_with("unlink")) << "left behind: " << name;
        } else {
            EXPECT_TRUE(before.count(name) != 0 && before.at(name) == content) << "changed: " << name;
        }
    }
    for (const auto &[name, content] : before)
        if (name != SESSION && name != OLDER_BACKUP && name != DEFAULTS) {
            EXPECT_EQ(left.count(name), 1U) << "gone: " << name;
        }
}

void SessionUpdateFaults::expectNothingLostAtAnyCall(const std::vector<int> &errors) {
    const Outcome clean = run(0, "");
    ASSERT_EQ(clean.exitCode, 0);
    for (const int error : errors) {
        for (std::size_t at = 1; at <= clean.calls.size(); ++at) {
            const std::string &call = clean.calls[at - 1];
            SCOPED_TRACE("call " + std::to_string(at) + ", " + call + ": " + std::strerror(error));
            const Outcome faulty = run(at, std::to_string(error));
            ASSERT_GE(faulty.calls.size(), at);
            ASSERT_TRUE(faulty.exitCode == 0 || faulty.exitCode == 1);
            expectNothingLost(faulty, before, clean.files, call);
            const bool done = faulty.exitCode == 0;
            EXPECT_EQ(faulty.files.at(SESSION), done ? clean.files.at(SESSION) : before.at(SESSION));
            EXPECT_EQ(faulty.message.empty(), done);
            // The file at fault and, but for one that seems to be missing, the system's reason.
            EXPECT_TRUE(done || (faulty.message.find(worldPath()) != std::string::npos &&
                                 (call.starts_with("stat") ||
                                  faulty.message.find(std::strerror(error)) != std::string::npos)))
                << faulty.message;
        }
    }
}

void SessionUpdateFaults::expectNothingLostWhenKilledAtAnyCall(const std::vector<std::string> &ways) {
    const Outcome clean = run(0, "");
    ASSERT_EQ(clean.exitCode, 0);
    for (const std::string &way : ways) {
        for (std::size_t at = 1; at <= clean.calls.size(); ++at) {
            const std::string &call = clean.calls[at - 1];
            SCOPED_TRACE("call " + std::to_string(at) + ", " + call + ": " + way);
            const Outcome cut = run(at, way);
            EXPECT_TRUE(cut.killed);
            expectNothingLost(cut, before, clean.files, call);
        }
    }
}

TEST_F(SessionUpdateFaults, WithoutAFaultTheSessionIsUpdated) {
    const Outcome clean = run(0, "");
    EXPECT_EQ(clean.exitCode, 0) << clean.message;
    EXPECT_EQ(clean.message, "");
    EXPECT_THAT(clean.files.at(SESSION), HasSubstr("Bass Drum"));
    EXPECT_EQ(clean.files.at(NEW_BACKUP), before.at(SESSION));
    EXPECT_EQ(clean.files.count(OLDER_BACKUP), 0U);
    EXPECT_THAT(clean.files.at(DEFAULTS), HasSubstr("CorvaneDeviceID"));
    EXPECT_THAT(clean.files.at(DEFAULTS), HasSubstr("Shows/Gig\""));
    // The library sees what is done to the session, or the tests below would prove nothing.
    for (const std::string &call : {"rename " + worldPath() + "/" + SESSION, std::string("fsync "),
                                    std::string("write "), "link " + worldPath() + "/" + NEW_BACKUP})
        EXPECT_THAT(clean.calls, ::testing::Contains(::testing::StartsWith(call)));
}

TEST_F(SessionUpdateFaults, WhateverCallFailsTheShowIsNotLost) {
    expectNothingLostAtAnyCall({ENOSPC, EIO, EROFS, EACCES});
}

TEST_F(SessionUpdateFaults, WhateverCallFailsInTheFirstUpdateOfAllTheShowIsNotLost) {
    before.erase(OLDER_BACKUP);
    before.erase("Shows/Gig/backup/mine.ardour");
    before.erase(DEFAULTS);
    expectNothingLostAtAnyCall({EACCES});
    expectNothingLostWhenKilledAtAnyCall({"kill"});
}

TEST_F(SessionUpdateFaults, WheneverItIsKilledTheShowIsNotLost) {
    expectNothingLostWhenKilledAtAnyCall({"kill", "torn"});
}

} // namespace
} // namespace corvane
