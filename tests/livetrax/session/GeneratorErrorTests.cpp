#include "livetrax/session/GeneratorError.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(GeneratorError, EveryCaseReadsAsTheUserSeesIt) {
    struct Row {
        GeneratorError error;
        GeneratorError::Case which;
        std::string text;
    };
    using Case = GeneratorError::Case;
    const Row rows[] = {
        {GeneratorError::sessionExists("/Users/x/Shows/Gig"), Case::sessionExists,
         "A session already exists at /Users/x/Shows/Gig. Choose another name or folder."},
        {GeneratorError::sessionMissing("/Users/x/Gig/Gig.ardour"), Case::sessionMissing,
         "The active LiveTrax session was not found at /Users/x/Gig/Gig.ardour."},
        {GeneratorError::duplicateEnginePort("Kick/audio_send 1"), Case::duplicateEnginePort,
         "The session would create a duplicate audio port (Kick/audio_send 1). Check the LV1 channel names."},
        {GeneratorError::duplicateCapturePort("system:capture_4"), Case::duplicateCapturePort,
         "The session would create a repeated SoundGrid input (system:capture_4)."},
        {GeneratorError::duplicateDirectOutBitSlot("7"), Case::duplicateDirectOutBitSlot,
         "The session would create a repeated direct-out id (7)."},
        {GeneratorError::generatedTrackCount(3, 2), Case::generatedTrackCount,
         "The template should contain 3 tracks, but it generated 2."},
        {GeneratorError::liveTraxMissing(), Case::liveTraxMissing,
         "LiveTrax 3 or LiveTrax 1 was not found in /Applications."},
        {GeneratorError::baseTemplateMissing(), Case::baseTemplateMissing,
         "The app does not contain the LiveTrax base template."},
        {GeneratorError::invalidTemplate(), Case::invalidTemplate,
         "The LiveTrax base template does not contain the required mono and stereo models."},
        {GeneratorError::sessionUnreadable("/Users/x/Gig"), Case::sessionUnreadable,
         "The session at /Users/x/Gig cannot be read."},
        {GeneratorError::recoveryDataPresent(), Case::recoveryDataPresent,
         "LiveTrax was not closed properly while recording. Open the session in LiveTrax once, then press "
         "SYNC "
         "LV1 again."},
        {GeneratorError::sessionNameContains("“/”"), Case::invalidSessionName,
         "A session's name cannot contain “/”."},
        {GeneratorError::sessionNameIs(".."), Case::invalidSessionName, "A session cannot be called “..”."},
        {GeneratorError::sessionNameTooLong(), Case::invalidSessionName, "A session's name is too long."},
        {GeneratorError::idsExhausted("18446744073709551615"), Case::idsExhausted,
         "The session has no numbers left for new objects (18446744073709551615)."},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(row.error.errorCase(), row.which);
        EXPECT_EQ(row.error.errorDescription(), row.text);
        EXPECT_STREQ(row.error.what(), row.text.c_str());
    }
}

} // namespace
} // namespace corvane
