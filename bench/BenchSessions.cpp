#include "bench/BenchSessions.h"

#include "platform/files/Files.h"

#include <cstdio>
#include <map>
#include <string>
#include <utility>

namespace corvane {
namespace {

/// Mono, and every eighth stereo; each on inputs of its own.
std::vector<LV1Channel> channelsOf(int tracks, const std::string &prefix) {
    std::vector<LV1Channel> channels;
    int input = 0;
    for (int i = 0; i < tracks; ++i) {
        const bool stereo = i % 8 == 7;
        channels.emplace_back(prefix + " " + std::to_string(i + 1), stereo, "SoundGrid 1", input, "Mixer_Ch",
                              i + 1);
        input += stereo ? 2 : 1;
    }
    return channels;
}

/// Hangs copies of a real take into the tracks' playlists, in turn, until they add up to `bytes`.
void addTakes(XMLElement session, XMLElement take, std::size_t bytes) {
    const XMLDocument alone = XMLDocument::create("alone");
    alone.root().appendCopy(take);
    const std::size_t takeSize = alone.serialised().size();
    std::vector<XMLElement> playlists;
    for (const auto playlist : session.firstChild("Playlists").children("Playlist"))
        playlists.push_back(playlist);
    std::uint64_t identifier = 1'000'000;
    for (std::size_t added = 0; added < bytes; added += takeSize) {
        XMLElement copy = playlists[(added / takeSize) % playlists.size()].appendCopy(take);
        copy.setAttribute("id", std::to_string(identifier++));
    }
}

} // namespace

BenchSession &BenchSession::of(int tracks, int megabytes) {
    static const TemporaryFolder folder;
    static std::map<std::pair<int, int>, std::unique_ptr<BenchSession>> made;
    auto &session = made[{tracks, megabytes}];
    if (!session)
        session = std::make_unique<BenchSession>(folder.path(), tracks, megabytes);
    return *session;
}

BenchSession::BenchSession(std::filesystem::path parent, int tracks, int megabytes, int round)
    : tracks(tracks), megabytes(megabytes), fake(std::make_unique<FakePlatform>()),
      sessionFolder(parent / ("Show " + std::to_string(tracks) + "-" + std::to_string(megabytes))),
      roundChannels(channelsOf(tracks, round % 2 == 0 ? "Vocals" : "Guitar")) {
    fake->resources->files["LiveTraxSeed.template"] = CORVANE_SEED;
    fake->folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", "");
    if (!fileExists(file()))
        make();
}

void BenchSession::make() const {
    const XMLDocument base = XMLDocument::load(CORVANE_SEED);
    const XMLDocument real = XMLDocument::load(CORVANE_SESSION);
    XMLDocument session = XMLDocument::load(CORVANE_SESSION);
    updateSessionTree(session.root(), base.root(), roundChannels);
    const XMLElement take = real.root().firstChild("Playlists").firstChild("Playlist").firstChild("Region");
    addTakes(session.root(), take, static_cast<std::size_t>(megabytes) * 1'000'000);
    createFolders(sessionFolder);
    std::move(session).writeAtomically(file());
}

} // namespace corvane
