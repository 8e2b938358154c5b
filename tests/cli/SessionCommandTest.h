#pragma once

#include "tests/cli/CommandTest.h"

#include <chrono>
#include <string>
#include <vector>

namespace corvane::cli {

/// Three channels, one of them stereo.
inline const std::vector<LV1Channel> band{mono("Kick", 0, 1), stereo("OH", 6, 2), mono("Voice", 3, 3)};

/// Commands about sessions, with a LiveTrax that is installed.
class SessionCommandTest : public CommandTest {
protected:
    SessionCommandTest() { installLiveTrax(); }

    std::string templatePath(const std::string &name) const {
        return (fake.folder.path() / "home/Library/Preferences/LiveTrax3/templates" / name /
                (name + ".template"))
            .string();
    }
    /// A session of these channels on disk, as LiveTrax makes it from the template.
    std::string makeSession(const std::vector<LV1Channel> &channels) {
        EXPECT_EQ(status::done, run({"create", "Gig", "--in", "out", "--from", patchFile(channels)}).status);
        outcome.reset();
        output.printed.clear();
        fake.defaults->values.clear();
        return fake.folder.write("out/Gig/Gig.ardour", textOf(templatePath("Gig"))).parent_path().string();
    }
    void sync(const std::string &session, const std::vector<LV1Channel> &channels) {
        fake.wallTime += std::chrono::seconds(1);
        EXPECT_EQ(status::done, run({"sync", session, "--from", patchFile(channels)}).status);
        outcome.reset();
        output.printed.clear();
    }
};

} // namespace corvane::cli
