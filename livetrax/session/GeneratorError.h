#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace corvane {

/// The one error of the session engine. `what()` and `errorDescription()` are the text that the user reads.
/// File-system and XML errors are not wrapped in it.
class GeneratorError : public std::runtime_error {
public:
    enum class Case {
        sessionExists,
        sessionMissing,
        duplicateEnginePort,
        duplicateCapturePort,
        duplicateDirectOutBitSlot,
        generatedTrackCount,
        liveTraxMissing,
        baseTemplateMissing,
        invalidTemplate,
    };

    static GeneratorError sessionExists(const std::string &path);
    static GeneratorError sessionMissing(const std::string &path);
    static GeneratorError duplicateEnginePort(const std::string &port);
    static GeneratorError duplicateCapturePort(const std::string &port);
    static GeneratorError duplicateDirectOutBitSlot(const std::string &slot);
    static GeneratorError generatedTrackCount(std::size_t expected, std::size_t actual);
    static GeneratorError liveTraxMissing();
    static GeneratorError baseTemplateMissing();
    static GeneratorError invalidTemplate();

    Case errorCase() const { return which; }
    std::string errorDescription() const { return what(); }

private:
    GeneratorError(Case which, const std::string &description)
        : std::runtime_error(description), which(which) {}

    Case which;
};

} // namespace corvane
