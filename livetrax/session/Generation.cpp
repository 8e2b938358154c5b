#include "livetrax/session/LiveTraxGenerator.h"

#include "base/Preconditions.h"
#include "livetrax/session/SessionTree.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <cmath>
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
    const std::vector<XMLElement> tracks = audioTracks(root);
    if (tracks.empty())
        throw GeneratorError::invalidTemplate();
    const ModelTracks models = modelTracks(tracks);
    XMLElement routes = root.firstChild("Routes");
    XMLElement playlists = root.firstChild("Playlists");
    const XMLElement monoPlaylist = playlistNamed(playlists, models.mono.attribute("name"));
    const XMLElement stereoPlaylist = playlistNamed(playlists, models.stereo.attribute("name"));
    const XMLChildren played = playlists.children("Playlist");
    const std::vector<XMLElement> templatePlaylists(played.begin(), played.end());

    ObjectIds ids(root);
    for (std::size_t position = 0; position < channels.size(); ++position) {
        const LV1Channel &channel = channels[position];
        const XMLElement route = routes.appendCopy(channel.stereo() ? models.stereo : models.mono);
        const XMLElement playlist = playlists.appendCopy(channel.stereo() ? stereoPlaylist : monoPlaylist);
        ids.renumber(route, playlist);
        LiveTraxGenerator::configure(route, playlist, channel, position);
    }
    ids.store(root);

    for (XMLElement track : tracks)
        track.remove();
    for (XMLElement playlist : templatePlaylists)
        playlist.remove();
}

/// 0 to 1 as 0 to 255, cut off.
std::uint32_t colorByte(float component) {
    if (!std::isfinite(component))
        preconditionFailure("a colour component is not a finite number");
    return static_cast<std::uint32_t>(std::clamp(component * 255.0F, 0.0F, 255.0F));
}

/// Red, green, blue and an opaque alpha from the highest byte down.
std::uint32_t packedColor(const LV1Channel &channel) {
    return colorByte(channel.red) << 24U | colorByte(channel.green) << 16U | colorByte(channel.blue) << 8U |
           255U;
}

/// Connects what each port of an IO is connected to with engine ports in a row instead.
void connectPorts(XMLElement io, std::string_view prefix, std::int64_t firstNumber) {
    std::int64_t number = firstNumber;
    for (const XMLElement port : io.children("Port")) {
        const std::string enginePort = std::string(prefix) + std::to_string(number);
        forEachConnection(port, [&](XMLAttribute other, std::string_view) { other.setValue(enginePort); });
        number = addingChecked(number, std::int64_t{1});
    }
}

void configureDirectOut(XMLElement processor, const LV1Channel &channel, std::int64_t firstNumber) {
    processor.setExistingAttribute("bitslot", std::to_string(firstNumber));
    XMLElement output = firstIO(processor, "Output");
    if (!output)
        return;
    processor.setExistingAttribute("name", channel.name());
    output.setExistingAttribute("name", channel.name());
    std::size_t number = 1;
    for (XMLElement port : output.children("Port"))
        port.setExistingAttribute("name", channel.name() + "/audio_send " + std::to_string(number++));
    connectPorts(output, PLAYBACK_PREFIX, firstNumber);
}

void replaceAll(std::string &text, std::string_view old, std::string_view with) {
    for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + with.size()))
        text.replace(at, old.size(), with);
}

Path userTemplates(const StandardFolders &folders, const Target &target) {
    return folders.home() / "Library/Preferences" / target.preferences / "templates";
}

} // namespace

Path LiveTraxGenerator::userTemplate(const StandardFolders &folders, const Target &target,
                                     const std::string &name) {
    return appending(appending(userTemplates(folders, target), name), name + ".template");
}

Path LiveTraxGenerator::generate(const Platform &platform, const std::string &name,
                                 const Path &outputDirectory, const Channels &channels) {
    const std::optional<Target> installed = target(*platform.folders);
    if (!installed)
        throw GeneratorError::liveTraxMissing();
    Path sessionFolder = appending(outputDirectory, name);
    if (fileExists(sessionFolder))
        throw GeneratorError::sessionExists(sessionFolder.string());
    createFolders(outputDirectory);
    const Path templateFile = userTemplate(*platform.folders, *installed, name);
    createFolders(appending(userTemplates(*platform.folders, *installed), name));

    const std::optional<Path> baseTemplate = platform.resources->find("LiveTraxSeed", "template");
    if (!baseTemplate)
        throw GeneratorError::baseTemplateMissing();
    XMLDocument document = XMLDocument::load(*baseTemplate);
    const XMLElement root = document.root();
    enableOSC(root);
    fillTemplate(root, channels);
    validateUniqueEnginePorts(root);
    validateUniqueDirectOutSlots(root);
    validateGeneratedPatch(root, channels);
    std::move(document).writeAtomically(templateFile);
    return sessionFolder;
}

void LiveTraxGenerator::configure(XMLElement route, XMLElement playlist, const LV1Channel &channel,
                                  std::size_t position) {
    const std::string order = std::to_string(addingChecked(position, std::size_t{1}));
    const std::int64_t firstNumber = addingChecked(std::int64_t{channel.inputIndex()}, std::int64_t{1});

    setEngineNamespace(route, "Audio " + order);
    route.setExistingAttribute("name", channel.name());
    playlist.setExistingAttribute("name", channel.name());
    for (const XMLElement processor : route.children("Processor"))
        if (isDirectOut(processor))
            configureDirectOut(processor, channel, firstNumber);

    XMLElement presentation = route.firstChild("PresentationInfo");
    presentation.setExistingAttribute("order", order);
    presentation.setExistingAttribute("color", std::to_string(packedColor(channel)));
    connectPorts(firstIO(route, "Input"), CAPTURE_PREFIX, firstNumber);
    route.firstChild("Controllable", "name", "rec-enable").setExistingAttribute("value", "1");
}

void LiveTraxGenerator::setEngineNamespace(XMLElement route, const std::string &engineNamespace) {
    const std::string old = session::engineNamespace(route);
    // A port called "/audio_in 1" has an empty namespace: there is nothing to be found and replaced.
    if (old == engineNamespace || old.empty())
        return;
    const std::optional<std::string> name = route.attribute("name");
    std::string buffer;
    forEachElement(route, [&](XMLElement element) {
        for (XMLAttribute attribute : element.attributes()) {
            const std::string_view value = attribute.value(buffer);
            if (value.find(old) == std::string_view::npos)
                continue;
            std::string renamed(value);
            replaceAll(renamed, old, engineNamespace);
            attribute.setValue(renamed);
        }
    });
    if (name)
        route.setAttribute("name", *name);
}

std::optional<std::int64_t> LiveTraxGenerator::captureStart(XMLElement route) {
    return firstConnection(firstIO(route, "Input"), CAPTURE_PREFIX);
}

std::optional<std::int64_t> LiveTraxGenerator::firstPlaybackChannel(XMLElement element) {
    return firstConnection(firstIO(element, "Output"), PLAYBACK_PREFIX);
}

std::int64_t LiveTraxGenerator::playbackWidth(XMLElement element) {
    return std::max<std::int64_t>(portCount(firstIO(element, "Output")), 1);
}

} // namespace corvane
