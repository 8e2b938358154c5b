#include "base/Text.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/SessionAdvice.h"
#include "cli/Table.h"
#include "livetrax/session/Markers.h"
#include "platform/files/Files.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace corvane::cli {

namespace {

/// "1:02:03.004"
std::string clockTime(std::int64_t samples, std::int64_t rate) {
    const std::int64_t milliseconds = samples / rate * 1000 + (samples % rate * 1000 + rate / 2) / rate;
    const auto part = [&](std::int64_t unit, std::int64_t count) {
        return static_cast<long long>(milliseconds / unit % count);
    };
    char text[40] = {};
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%03lld",
                  static_cast<long long>(milliseconds / 3'600'000), part(60'000, 60), part(1000, 60),
                  part(1, 1000));
    return text;
}

/// "3723.004000"
std::string inSeconds(std::int64_t samples, std::int64_t rate) {
    char text[40] = {};
    std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(samples / rate),
                  static_cast<long long>(samples % rate * 1'000'000 / rate));
    return text;
}

using Rows = std::vector<std::vector<std::string>>;

/// One row for each marker, below a heading.
Rows rowsOf(const SessionMarkers &session, std::vector<std::string> heading) {
    Rows rows{std::move(heading)};
    for (const SessionMarker &marker : session.markers)
        rows.push_back({std::to_string(rows.size()), clockTime(marker.samples, session.rate),
                        std::to_string(marker.samples), marker.name});
    return rows;
}

Json jsonOf(const SessionMarkers &session) {
    Json markers = Json::array();
    for (const SessionMarker &marker : session.markers)
        markers.push_back({{"number", markers.size() + 1},
                           {"samples", marker.samples},
                           {"time", clockTime(marker.samples, session.rate)},
                           {"name", marker.name}});
    return {{"rate", session.rate}, {"markers", markers}};
}

/// One line for each marker, as audio editors import labels: start, end and name between tabs.
std::string labels(const SessionMarkers &session) {
    std::string text;
    for (const SessionMarker &marker : session.markers) {
        const std::string at = inSeconds(marker.samples, session.rate);
        text.append(at).append("\t").append(at).append("\t");
        text.append(withoutControls(marker.name)).append("\n");
    }
    return text;
}

std::string textOf(const SessionMarkers &session, Format format) {
    switch (format) {
    case Format::table:
        if (session.markers.empty())
            return "LiveTrax had no markers when it last saved the session; corvanectl save has it save.\n";
        return table(rowsOf(session, {"NUMBER", "TIME", "SAMPLES", "NAME"}));
    case Format::json:
        return document(jsonOf(session));
    case Format::csv:
        return commaSeparated(rowsOf(session, {"number", "time", "samples", "name"}));
    case Format::labels:
        return labels(session);
    }
    return {};
}

/// Prints the markers of a session.
class MarkersCommand : public Command {
public:
    explicit MarkersCommand(const CommandContext &context) : context(context) {}

private:
    void start() override {
        context.output.progress("Reading the session…");
        context.output.print(textOf(markers(), context.options.format));
        end();
    }

    SessionMarkers markers() const {
        const auto &session = *context.options.session;
        const std::string unreadable = "The session at " + session.string() + " cannot be read.";
        try {
            return readMarkers(session);
        } catch (const FileError &) {
            throw CommandFailure(status::refused,
                                 unreadable + beneath(missingSessionAdvice(context.platform, session)));
        } catch (const XMLError &error) {
            throw CommandFailure(status::refused, unreadable + "\n  " + error.what());
        }
    }

    CommandContext context;
};

} // namespace

std::shared_ptr<Command> makeMarkersCommand(const CommandContext &context) {
    return std::make_shared<MarkersCommand>(context);
}

} // namespace corvane::cli
