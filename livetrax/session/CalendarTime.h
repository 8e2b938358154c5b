#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace corvane::session {

/// A moment as a calendar and a clock show it, to the millisecond. Internal to livetrax/session.
class CalendarTime {
public:
    using Time = std::chrono::system_clock::time_point;

    /// By the computer's own zone.
    static CalendarTime local(Time time);
    static CalendarTime utc(Time time);

    /// As strftime writes it; at most 63 bytes.
    std::string text(const char *pattern) const;
    /// The part of a second, in three digits.
    std::string milliseconds() const;
    /// How far the zone is from UTC: "+01:00".
    std::string zone() const;

private:
    using Conversion = std::tm *(*)(const std::time_t *, std::tm *);
    CalendarTime(Time time, Conversion convert);

    std::tm parts{};
    int fraction;
};

} // namespace corvane::session
