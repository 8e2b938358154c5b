#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/XMLTree.h"

using namespace corvane;

namespace {

/// What the engine does to a configuration, a session and a template that it has read.
void use(XMLElement root) {
    for (const auto element : LiveTraxGenerator::descendants(root)) {
        LiveTraxGenerator::captureStart(element);
        LiveTraxGenerator::firstPlaybackChannel(element);
        require(LiveTraxGenerator::playbackWidth(element) >= 1, "a track has an output");
        LiveTraxGenerator::isPreserved(element);
    }
    LiveTraxGenerator::enableOSC(root);
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

void readAndWrite(std::string_view text, XMLDocument::Blanks blanks) {
    try {
        const auto document = XMLDocument::parse(text, "input", blanks);
        const auto written = document.serialised();
        const auto again = XMLDocument::parse(written, "written", blanks);
        require(again.serialised() == written, "what was written, read and written is the same");
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
