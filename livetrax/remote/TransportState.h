#pragma once

namespace corvane {

/// What LiveTrax's transport does.
struct TransportState {
    float speed = 0; ///< as LiveTrax reports it; 0 stands still
    bool recordEnabled = false;
    bool isRecording = false;

    bool operator==(const TransportState &) const = default;
};

} // namespace corvane
