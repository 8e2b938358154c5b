#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvane {

/// How the samples of a session are written to disk.
struct RecordingFormat {
    std::uint32_t rate = 48'000; ///< samples a second
    std::size_t bytesPerSample = 4;

    bool operator==(const RecordingFormat &) const = default;
};

/// What a session says of it; for what it does not say, or in no way that LiveTrax does, the usual.
RecordingFormat recordingFormat(XMLElement sessionRoot);

/// How many minutes of recording so many bytes have room for.
std::uintmax_t recordingMinutes(std::uintmax_t bytes, std::size_t inputs, const RecordingFormat &format);

/// Less than this is worth a warning.
inline constexpr std::uintmax_t fewRecordingMinutes = 60;

/// "48 kHz", "44.1 kHz"
std::string kilohertz(std::uint32_t rate);

} // namespace corvane
