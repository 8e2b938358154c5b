#include "livetrax/session/GeneratorError.h"

namespace corvane {

GeneratorError GeneratorError::sessionExists(const std::string &path) {
    return {Case::sessionExists, "A session already exists at " + path + ". Choose another name or folder."};
}

GeneratorError GeneratorError::sessionMissing(const std::string &path) {
    return {Case::sessionMissing, "The active LiveTrax session was not found at " + path + "."};
}

GeneratorError GeneratorError::duplicateEnginePort(const std::string &port) {
    return {Case::duplicateEnginePort,
            "The session would create a duplicate audio port (" + port + "). Check the LV1 channel names."};
}

GeneratorError GeneratorError::duplicateCapturePort(const std::string &port) {
    return {Case::duplicateCapturePort,
            "The session would create a repeated SoundGrid input (" + port + ")."};
}

GeneratorError GeneratorError::duplicateDirectOutBitSlot(const std::string &slot) {
    return {Case::duplicateDirectOutBitSlot,
            "The session would create a repeated direct-out id (" + slot + ")."};
}

GeneratorError GeneratorError::generatedTrackCount(std::size_t expected, std::size_t actual) {
    return {Case::generatedTrackCount, "The template should contain " + std::to_string(expected) +
                                           " tracks, but it generated " + std::to_string(actual) + "."};
}

GeneratorError GeneratorError::liveTraxMissing() {
    return {Case::liveTraxMissing, "LiveTrax 3 or LiveTrax 1 was not found in /Applications."};
}

GeneratorError GeneratorError::baseTemplateMissing() {
    return {Case::baseTemplateMissing, "The app does not contain the LiveTrax base template."};
}

GeneratorError GeneratorError::invalidTemplate() {
    return {Case::invalidTemplate,
            "The LiveTrax base template does not contain the required mono and stereo models."};
}

GeneratorError GeneratorError::sessionUnreadable(const std::string &path) {
    return {Case::sessionUnreadable, "The session at " + path + " cannot be read."};
}

GeneratorError GeneratorError::recoveryDataPresent() {
    return {Case::recoveryDataPresent, "LiveTrax was not closed properly while recording. Open the session "
                                       "in LiveTrax once, then press SYNC LV1 again."};
}

GeneratorError GeneratorError::recordingsMade(std::int64_t count) {
    return {Case::recordingsMade, count == 1 ? "1 recording was made since then."
                                             : std::to_string(count) + " recordings were made since then."};
}

GeneratorError GeneratorError::sessionNameContains(const std::string &what) {
    return {Case::invalidSessionName, "A session's name cannot contain " + what + "."};
}

GeneratorError GeneratorError::sessionNameIs(const std::string &name) {
    return {Case::invalidSessionName, "A session cannot be called “" + name + "”."};
}

GeneratorError GeneratorError::sessionNameTooLong() {
    return {Case::invalidSessionName, "A session's name is too long."};
}

GeneratorError GeneratorError::idsExhausted(const std::string &counter) {
    return {Case::idsExhausted, "The session has no numbers left for new objects (" + counter + ")."};
}

} // namespace corvane
