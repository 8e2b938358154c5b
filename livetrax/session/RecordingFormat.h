#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstddef>
#include <cstdint>

namespace corvane {

/// How the samples of a session are written to disk.
struct RecordingFormat {
    std::uint32_t rate = 48'000; ///< samples a second
    std::size_t bytesPerSample = 4;

    bool operator==(const RecordingFormat &) const = default;
};

/// What a session says of it; for what it does not say, or in no way that LiveTrax does, the usual.
RecordingFormat recordingFormat(XMLElement sessionRoot);

} // namespace corvane
