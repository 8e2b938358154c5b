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

} // namespace corvane
