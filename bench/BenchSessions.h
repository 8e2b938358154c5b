#pragma once

#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/fakes/FakeSystem.h"

#include <filesystem>
#include <memory>
#include <vector>

namespace corvane {

/// A session on disk for benchmarks: a real one, given so many tracks by the engine, and so many takes on
/// them that the file has at least that size.
class BenchSession {
public:
    /// The session of that shape; made when it is asked for first.
    static BenchSession &of(int tracks, int megabytes);
    /// In a folder where it may stand already. The names of the channels change from round to round.
    BenchSession(std::filesystem::path parent, int tracks, int megabytes, int round = 0);

    const std::filesystem::path &folder() const { return sessionFolder; }
    std::filesystem::path file() const { return LiveTraxGenerator::sessionFile(sessionFolder); }
    std::size_t size() const { return std::filesystem::file_size(file()); }
    const Platform &platform() const { return fake->platform; }
    /// The session's own inputs; in every other round under other names.
    const std::vector<LV1Channel> &channels() const { return roundChannels; }

    const int tracks;
    const int megabytes;

private:
    void make() const;

    std::unique_ptr<FakePlatform> fake;
    std::filesystem::path sessionFolder;
    std::vector<LV1Channel> roundChannels;
};

} // namespace corvane
