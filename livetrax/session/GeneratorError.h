#pragma once

#include <cstddef>
#include <cstdint>
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
        sessionUnreadable,
        recoveryDataPresent,
        recordingsMade,
        invalidSessionName,
        idsExhausted,
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
    /// A session's file that is XML, but no session.
    static GeneratorError sessionUnreadable(const std::string &path);
    /// LiveTrax ended while it recorded: only LiveTrax itself can bring in what it recorded last.
    static GeneratorError recoveryDataPresent();
    /// What a session holds of recordings that the copy to be put back does not know.
    static GeneratorError recordingsMade(std::int64_t count);
    /// A name that is no folder's name: what it cannot contain, what it cannot be, or its length.
    static GeneratorError sessionNameContains(const std::string &what);
    static GeneratorError sessionNameIs(const std::string &name);
    static GeneratorError sessionNameTooLong();
    /// A session or template whose numbers for new objects are used up.
    static GeneratorError idsExhausted(const std::string &counter);

    Case errorCase() const { return which; }
    std::string errorDescription() const { return what(); }

private:
    GeneratorError(Case which, const std::string &description)
        : std::runtime_error(description), which(which) {}

    Case which;
};

} // namespace corvane
