#include "base/Text.h"
#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/XMLTree.h"

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace corvane;

namespace {

/// Direct outs so near the largest number that a sum of theirs can overflow stop the program on purpose (see
/// ReassignDirectOutsDeathTest). Every element is at most one channel of a run, so that slots below the
/// largest number less the number of elements, new tracks' included, are safe wherever the runs are moved.
bool stopsOnPurpose(const std::vector<XMLElement> &elements) {
    constexpr std::int64_t added = 50;
    const auto largest =
        std::numeric_limits<std::int64_t>::max() - static_cast<std::int64_t>(elements.size()) - added;
    for (const auto element : elements) {
        const auto slot = element.attribute("bitslot");
        if (slot && integer(*slot).value_or(0) > largest)
            return true;
    }
    return false;
}

/// What the engine does to a configuration, a session and a template that it has read.
void use(XMLElement root) {
    const auto elements = LiveTraxGenerator::descendants(root);
    for (const auto element : elements) {
        LiveTraxGenerator::captureStart(element);
        LiveTraxGenerator::firstPlaybackChannel(element);
        require(LiveTraxGenerator::playbackWidth(element) >= 1, "a track has an output");
        LiveTraxGenerator::isPreserved(element);
    }
    LiveTraxGenerator::enableOSC(root);
    if (!stopsOnPurpose(elements))
        LiveTraxGenerator::reassignCollidingDirectOutSlots(root);
    for (const auto validate :
         {LiveTraxGenerator::validateUniqueEnginePorts, LiveTraxGenerator::validateUniqueDirectOutSlots}) {
        try {
            validate(root);
        } catch (const GeneratorError &) {
            // A refusal is an answer.
        }
    }
}

/// A text without the blanks before its tags. Where blanks are dropped, one that a character reference or
/// an "xml:space" had kept may go on the second reading, and then lets its neighbours be indented.
std::string withoutBlanksBeforeTags(std::string_view text) {
    std::string result;
    for (const char byte : text) {
        if (byte == '<')
            result.erase(result.find_last_not_of(" \t\r\n") + 1);
        result += byte;
    }
    return result;
}

/// A base template with a mono and a stereo model.
constexpr std::string_view baseText = R"(<Session><Routes>
<Route name="Mono" audio-playlist="Mono"><PresentationInfo flags="AudioTrack" order="1" color="0"/>
<IO direction="Input"><Port name="Mono/audio_in 1"><ExtConnection other="system:capture_1"/></Port></IO>
<Processor id="1" role="DirectOuts" bitslot="1"><IO direction="Output"><Port name="Mono/audio_send 1">
<ExtConnection other="system:playback_1"/></Port></IO></Processor></Route>
<Route name="Stereo" audio-playlist="Stereo"><PresentationInfo flags="AudioTrack" order="2" color="0"/>
<IO direction="Input"><Port name="Stereo/audio_in 1"><ExtConnection other="system:capture_2"/></Port>
<Port name="Stereo/audio_in 2"><ExtConnection other="system:capture_3"/></Port></IO></Route>
</Routes><Playlists><Playlist id="2" name="Mono"/><Playlist id="3" name="Stereo"/></Playlists></Session>)";

/// Ids that count up beyond the largest number stop the program on purpose too
/// (Generation.TheCounterMayNotOverflow).
bool idsStopOnPurpose(XMLElement root) {
    constexpr std::uint64_t mostGivenOut = 200; // with the gap above them, and rather more than less
    const auto counter = root.attribute("id-counter");
    return counter &&
           unsignedInteger(*counter).value_or(0) > std::numeric_limits<std::uint64_t>::max() - mostGivenOut;
}

/// An update of whatever can be taken for a session: it is refused, or leaves a tree that can be written and
/// read.
void update(XMLElement root) {
    static const auto base = XMLDocument::parse(baseText, "the base template");
    static const std::vector<LV1Channel> channels = {{"Kick", false, "SoundGrid 1", 0, "Mixer_Ch", 1},
                                                     {"OH", true, "SoundGrid 1", 1, "Mixer_Ch", 2},
                                                     {"Snare", false, "SoundGrid 1", 6, "Mixer_Ch", 3}};
    if (!root.firstChild("Routes") || !root.firstChild("Playlists") || idsStopOnPurpose(root))
        return;
    try {
        const auto plan = updateSessionTree(root, base.root(), channels);
        require(plan.result.updated + plan.result.added == 3, "each channel has a track");
    } catch (const GeneratorError &error) {
        require(error.what()[0] != '\0', "a refusal says why");
    }
}

std::optional<XMLDocument> read(std::string_view text, XMLDocument::Blanks blanks) {
    try {
        return XMLDocument::parse(text, "input", blanks);
    } catch (const XMLError &error) {
        require(error.what()[0] != '\0', "a refusal says why");
        return std::nullopt;
    }
}

void readAndWrite(std::string_view text, XMLDocument::Blanks blanks) {
    const auto document = read(text, blanks);
    if (!document)
        return;
    const auto written = document->serialised();
    const auto again = read(written, blanks);
    // The library writes the default values of attributes as they read, without escaping them again. What
    // cannot be read back is never put in place of a file.
    const bool hasDefaults = written.find("<!ATTLIST") != std::string::npos;
    require(again || hasDefaults, "what was written can be read");
    if (!again)
        return;
    const auto rewritten = again->serialised();
    if (blanks == XMLDocument::Blanks::keep)
        require(rewritten == written || hasDefaults, "what was written, read and written is the same");
    else
        require(withoutBlanksBeforeTags(rewritten) == withoutBlanksBeforeTags(written) || hasDefaults,
                "what was written, read and written is the same but for blanks");

    use(document->root());
    require(read(document->serialised(), blanks).has_value(), "what was used can be read");
    if (!stopsOnPurpose(LiveTraxGenerator::descendants(document->root())))
        update(document->root());
    require(read(document->serialised(), blanks).has_value(), "what was updated can be read");
}

} // namespace

/// Any text as one of LiveTrax's XML files.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    readAndWrite(text, XMLDocument::Blanks::drop);
    readAndWrite(text, XMLDocument::Blanks::keep);
    return 0;
}
