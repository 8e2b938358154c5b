#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/XMLTree.h"
#include "platform/Text.h"

#include <limits>

using namespace corvane;

namespace {

/// Direct outs so near the largest number that a sum of theirs can overflow stop the program on purpose (see
/// ReassignDirectOutsDeathTest). Every element is at most one channel of a run, so that slots below the
/// largest number less the number of elements are safe, wherever the runs are moved.
bool stopsOnPurpose(const std::vector<XMLElement> &elements) {
    const auto largest =
        std::numeric_limits<std::int64_t>::max() - static_cast<std::int64_t>(elements.size());
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

void readAndWrite(std::string_view text, XMLDocument::Blanks blanks) {
    try {
        const auto document = XMLDocument::parse(text, "input", blanks);
        const auto written = document.serialised();
        const auto again = XMLDocument::parse(written, "written", blanks).serialised();
        if (blanks == XMLDocument::Blanks::keep)
            require(again == written, "what was written, read and written is the same");
        else
            require(withoutBlanksBeforeTags(again) == withoutBlanksBeforeTags(written),
                    "what was written, read and written is the same but for blanks");
        if (document.root())
            use(document.root());
        XMLDocument::parse(document.serialised(), "used", blanks);
    } catch (const XMLError &error) {
        require(error.what()[0] != '\0', "a refusal says why");
    }
}

} // namespace

/// Any text as one of LiveTrax's XML files.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    readAndWrite(text, XMLDocument::Blanks::drop);
    readAndWrite(text, XMLDocument::Blanks::keep);
    return 0;
}
