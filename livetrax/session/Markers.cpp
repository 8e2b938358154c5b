#include "livetrax/session/Markers.h"

#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace corvane {
namespace {

/// Ticks per second of audio time, at any sample rate, unless the session says otherwise; and ticks per
/// quarter note of musical time.
constexpr std::int64_t usualTicksPerSecond = 282'240'000;
constexpr double ticksPerQuarter = 1920;

bool hasFlag(std::string_view flags, std::string_view wanted) {
    while (!flags.empty()) {
        const auto comma = std::min(flags.find(','), flags.size());
        if (flags.substr(0, comma) == wanted)
            return true;
        flags.remove_prefix(std::min(comma + 1, flags.size()));
    }
    return false;
}

bool isMark(XMLElement location) {
    return hasFlag(location.attribute("flags").value_or(""), "IsMark");
}

/// What older engines keep as marks besides the user's.
bool isEnginesOwn(XMLElement location) {
    const std::string flags = location.attribute("flags").value_or("");
    for (const char *own : {"IsStart", "IsEnd", "IsSessionRange", "IsAutoLoop", "IsAutoPunch"})
        if (hasFlag(flags, own))
            return true;
    return false;
}

/// How a session's times are read as samples.
class Timeline {
public:
    explicit Timeline(XMLElement session);

    std::int64_t rate() const { return samplesPerSecond; }
    /// "a" and ticks, "b" and ticks of musical time, or, as older engines write it, samples.
    std::optional<std::int64_t> samples(std::string_view place) const;

private:
    std::optional<std::int64_t> samplesOf(std::int64_t ticks) const;
    std::optional<std::int64_t> ticksOf(double quarters) const;
    XMLElement tempoAt(double quarters) const;

    XMLElement tempoMap;
    std::int64_t samplesPerSecond;
    std::int64_t ticksPerSecond;
};

std::optional<std::int64_t> positive(XMLElement element, const char *attribute) {
    const auto number = integer(element.attribute(attribute).value_or(""));
    return number && *number > 0 ? number : std::nullopt;
}

std::optional<double> decimal(const std::string &text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double value = 0;
    return stream >> value && stream.eof() ? std::optional(value) : std::nullopt;
}

std::optional<double> positiveDecimal(XMLElement element, const char *attribute) {
    const auto number = decimal(element.attribute(attribute).value_or(""));
    return number && *number > 0 ? number : std::nullopt;
}

Timeline::Timeline(XMLElement session)
    : tempoMap(session.firstChild("TempoMap")),
      samplesPerSecond(positive(session, "sample-rate").value_or(0)),
      ticksPerSecond(positive(tempoMap, "superclocks-per-second").value_or(usualTicksPerSecond)) {
    if (samplesPerSecond == 0)
        throw XMLError("The session does not say its sample rate.");
}

std::optional<std::int64_t> Timeline::samplesOf(std::int64_t ticks) const {
    const std::int64_t seconds = ticks / ticksPerSecond;
    if (ticks < 0 || seconds > std::numeric_limits<std::int64_t>::max() / samplesPerSecond - 1)
        return std::nullopt;
    const double rest = static_cast<double>(ticks % ticksPerSecond) / static_cast<double>(ticksPerSecond);
    return seconds * samplesPerSecond + std::llround(rest * static_cast<double>(samplesPerSecond));
}

/// "4:960": quarter notes and ticks.
std::optional<double> quartersOf(XMLElement tempo) {
    const std::string text = tempo.attribute("quarters").value_or("");
    const auto colon = text.find(':');
    if (colon == std::string::npos)
        return std::nullopt;
    const auto whole = integer(std::string_view(text).substr(0, colon));
    const auto ticks = integer(std::string_view(text).substr(colon + 1));
    if (!whole || !ticks)
        return std::nullopt;
    return static_cast<double>(*whole) + static_cast<double>(*ticks) / ticksPerQuarter;
}

/// The tempo that holds at a place in musical time: the last that begins there or before it.
XMLElement Timeline::tempoAt(double quarters) const {
    XMLElement found;
    for (const XMLElement tempo : tempoMap.firstChild("Tempos").children("Tempo"))
        if (const auto begin = quartersOf(tempo); begin && *begin <= quarters)
            found = tempo;
    return found;
}

std::optional<std::int64_t> Timeline::ticksOf(double quarters) const {
    const XMLElement tempo = tempoAt(quarters);
    const auto begin = integer(tempo.attribute("sclock").value_or(""));
    const auto notesPerMinute = positiveDecimal(tempo, "npm");
    const auto noteType = positive(tempo, "note-type");
    if (!begin || !notesPerMinute || !noteType)
        return std::nullopt;
    const double ticksOfQuarter =
        static_cast<double>(ticksPerSecond) * 60 / *notesPerMinute * static_cast<double>(*noteType) / 4;
    const double linear = ticksOfQuarter * (quarters - *quartersOf(tempo));
    // In a ramp the tempo grows with the exponential of the time.
    const double growth = decimal(tempo.attribute("omega").value_or("")).value_or(0);
    const double ticks = growth == 0 ? linear : std::log1p(growth * linear) / growth;
    constexpr double longest = 9e18;
    if (!(std::abs(ticks) < longest) || static_cast<double>(*begin) + ticks > longest)
        return std::nullopt;
    return *begin + std::llround(ticks);
}

std::optional<std::int64_t> Timeline::samples(std::string_view place) const {
    const bool isAudio = place.starts_with('a');
    const bool isMusic = place.starts_with('b');
    const auto number = integer(place.substr(isAudio || isMusic ? 1 : 0));
    if (!number || *number < 0)
        return std::nullopt;
    if (isAudio)
        return samplesOf(*number);
    if (!isMusic)
        return number;
    const auto ticks = ticksOf(static_cast<double>(*number) / ticksPerQuarter);
    return ticks ? samplesOf(*ticks) : std::nullopt;
}

XMLDocument loaded(const std::filesystem::path &session) {
    return XMLDocument::load(LiveTraxGenerator::sessionFile(session));
}

} // namespace

SessionMarkers markersOf(XMLElement session) {
    const Timeline timeline(session);
    SessionMarkers all{timeline.rate(), {}};
    for (const XMLElement location : session.firstChild("Locations").children("Location")) {
        if (!isMark(location) || isEnginesOwn(location))
            continue;
        const std::string name = location.attribute("name").value_or("");
        const auto samples = timeline.samples(location.attribute("start").value_or(""));
        if (!samples)
            throw XMLError("The place of the marker “" + name + "” cannot be read.");
        all.markers.push_back({*samples, name});
    }
    std::stable_sort(all.markers.begin(), all.markers.end(),
                     [](const auto &left, const auto &right) { return left.samples < right.samples; });
    return all;
}

std::vector<std::string> markNamesOf(XMLElement session) {
    std::vector<std::string> names;
    for (const XMLElement location : session.firstChild("Locations").children("Location"))
        if (isMark(location))
            names.push_back(location.attribute("name").value_or(""));
    return names;
}

SessionMarkers readMarkers(const std::filesystem::path &session) {
    return markersOf(loaded(session).root());
}

std::vector<std::string> readMarkNames(const std::filesystem::path &session) {
    return markNamesOf(loaded(session).root());
}

} // namespace corvane
