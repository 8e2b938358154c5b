#include "livetrax/session/CalendarTime.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace corvane::session {

CalendarTime::CalendarTime(Time time, Conversion convert) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    convert(&seconds, &parts);
    fraction = static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(time - whole).count());
}

CalendarTime CalendarTime::local(Time time) {
    return {time, ::localtime_r};
}

CalendarTime CalendarTime::utc(Time time) {
    return {time, ::gmtime_r};
}

std::string CalendarTime::text(const char *pattern) const {
    std::array<char, 64> written{};
    return {written.data(), std::strftime(written.data(), written.size(), pattern, &parts)};
}

std::string CalendarTime::milliseconds() const {
    std::array<char, 16> written{};
    std::snprintf(written.data(), written.size(), "%03d", fraction);
    return written.data();
}

std::string CalendarTime::zone() const {
    const long minutes = std::labs(parts.tm_gmtoff) / 60;
    std::array<char, 48> written{};
    std::snprintf(written.data(), written.size(), "%c%02ld:%02ld", parts.tm_gmtoff < 0 ? '-' : '+',
                  minutes / 60, minutes % 60);
    return written.data();
}

} // namespace corvane::session
