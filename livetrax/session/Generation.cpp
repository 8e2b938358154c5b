#include "livetrax/session/LiveTraxGenerator.h"

#include "base/Text.h"
#include "livetrax/session/History.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/ObjectIds.h"
#include "livetrax/session/Track.h"
#include "platform/files/Files.h"

#include <vector>

namespace corvane {

using namespace session;

namespace {

using Channels = LiveTraxGenerator::Channels;
using Path = std::filesystem::path;

/// The first playlist of that name; throws when there is none.
XMLElement playlistNamed(XMLElement playlists, const std::optional<std::string> &name) {
    const XMLElement found = name ? playlists.firstChild("Playlist", "name", *name) : XMLElement();
    if (!found)
        throw GeneratorError::invalidTemplate();
    return found;
}

/// Replaces the base template's audio tracks by one for each channel.
void fillTemplate(XMLElement root, const Channels &channels) {
    const std::vector<Track> tracks = audioTracks(root);
    if (tracks.empty())
        throw GeneratorError::invalidTemplate();
    const ModelTracks models = modelTracks(tracks);
    XMLElement routes = root.firstChild("Routes");
    XMLElement playlists = root.firstChild("Playlists");
    const XMLElement monoPlaylist = playlistNamed(playlists, models.mono.name());
    const XMLElement stereoPlaylist = playlistNamed(playlists, models.stereo.name());
    const XMLChildren played = playlists.children("Playlist");
    const std::vector<XMLElement> templatePlaylists(played.begin(), played.end());

    const std::vector<std::string> given = models.namespaces();
    ObjectIds ids(root);
    for (std::size_t position = 0; position < channels.size(); ++position) {
        const LV1Channel &channel = channels[position];
        const Track model = channel.stereo() ? models.stereo : models.mono;
        const XMLElement route = routes.appendCopy(model.element());
        const XMLElement playlist = playlists.appendCopy(channel.stereo() ? stereoPlaylist : monoPlaylist);
        ids.renumber(route, playlist);
        LiveTraxGenerator::configure(route, playlist, channel, position, given);
    }
    ids.store(root);

    for (const Track track : tracks)
        track.element().remove();
    for (XMLElement playlist : templatePlaylists)
        playlist.remove();
}

/// A session's name is a folder's, a file's and a template's at once: one path component, not longer than
/// leaves room for what is added to it.
void expectSessionName(const std::string &name) {
    constexpr std::size_t mostBytes = 200;
    const std::string shown = trimmed(name);
    if (name.find('/') != std::string::npos)
        throw GeneratorError::sessionNameContains("“/”");
    if (shown == "." || shown == "..")
        throw GeneratorError::sessionNameIs(shown);
    if (withoutControls(name) != name)
        throw GeneratorError::sessionNameContains("a control character");
    if (shown.size() > mostBytes)
        throw GeneratorError::sessionNameTooLong();
}

/// Keeps a template of the user's own that happens to bear the session's name, as it was the first time.
void keepOnce(const Path &templateFile) {
    Path copy = templateFile;
    copy += ".corvane-backup";
    if (fileExists(templateFile) && !fileExists(copy))
        copyFile(templateFile, copy);
}

Path userTemplates(const StandardFolders &folders, const Target &target) {
    return preferencesFolder(folders, target.preferences) / "templates";
}

} // namespace

Path LiveTraxGenerator::userTemplate(const StandardFolders &folders, const Target &target,
                                     const std::string &name) {
    return appending(appending(userTemplates(folders, target), name), name + ".template");
}

Path LiveTraxGenerator::generate(const RecorderSystem &system, const std::string &name,
                                 const Path &outputDirectory, const Channels &channels) {
    expectSessionName(name);
    const std::optional<Target> installed = target(system.folders);
    if (!installed)
        throw GeneratorError::liveTraxMissing();
    Path sessionFolder = appending(outputDirectory, name);
    if (fileExists(sessionFolder))
        throw GeneratorError::sessionExists(sessionFolder.string());
    createFolders(outputDirectory);
    const Path templateFile = userTemplate(system.folders, *installed, name);
    createFolders(appending(userTemplates(system.folders, *installed), name));

    XMLDocument document = XMLDocument::load(baseTemplateFile(system.resources));
    const XMLElement root = document.root();
    enableOSC(root);
    fillTemplate(root, channels);
    validateUniqueEnginePorts(root);
    validateUniqueDirectOutSlots(root);
    validateGeneratedPatch(root, channels);
    keepOnce(templateFile);
    std::move(document).writeAtomically(templateFile);
    History(system).begin(sessionFolder);
    return sessionFolder;
}

} // namespace corvane
