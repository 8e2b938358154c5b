#pragma once

#include "tests/livetrax/session/SessionTexts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvane {

/// A track as an earlier update would have left it at a 0-based position.
inline TrackText track(const std::string &name, std::int64_t capture, int width, int position) {
    TrackText text;
    text.name = name;
    text.capture = capture;
    text.width = width;
    text.order = std::to_string(position + 1);
    text.color = std::to_string(0x3F8CD8FFU);
    text.engineNamespace = "Audio " + std::to_string(position + 1);
    return text;
}

class Update : public ::testing::Test {
protected:
    UpdateResult update(const std::vector<LV1Channel> &channels) {
        return LiveTraxGenerator::update(platform.platform, platform.sessionFolder(), channels);
    }
    /// Updates in vain: the session file must stand as it was.
    GeneratorError refused(const std::vector<LV1Channel> &channels) {
        const std::string before = platform.session();
        const auto error = errorOf([&] { update(channels); });
        EXPECT_EQ(platform.session(), before);
        EXPECT_TRUE(platform.defaults->values.empty());
        return error.value();
    }
    Tree updated() const { return Tree(platform.session()); }

    SessionPlatform platform;
};

} // namespace corvane
