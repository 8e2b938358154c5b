#include "app/PlanText.h"

#include "base/Quotation.h"

#include <algorithm>

namespace corvane {

namespace {

using Action = TrackDecision::Action;

constexpr std::size_t mostLines = 20;

std::string onInput(const TrackDecision &track) {
    if (!track.inputIndex)
        return "";
    const std::int64_t first = *track.inputIndex + 1;
    return track.stereo ? ", on inputs " + std::to_string(first) + "–" + std::to_string(first + 1)
                        : ", on input " + std::to_string(first);
}

/// ", with 2 recordings"
std::string recordings(const TrackDecision &track) {
    return track.takes > 0
               ? ", with " + counted(static_cast<std::size_t>(track.takes), "recording", "recordings")
               : "";
}

} // namespace

std::vector<std::string> planLines(const UpdatePlan &plan) {
    std::vector<std::string> lines;
    std::size_t moved = 0;
    std::size_t coloured = 0;
    for (const TrackDecision &track : plan.tracks) {
        if (track.action == Action::add)
            lines.push_back(quotation(track.name) + " is added" + onInput(track));
        else if (track.action == Action::remove)
            lines.push_back(quotation(track.name) + " is removed" + onInput(track) + recordings(track));
        else if (track.was.name)
            lines.push_back(quotation(*track.was.name) + " becomes " + quotation(track.name));
        else if (track.was.order)
            ++moved;
        else if (track.was.color)
            ++coloured;
    }
    if (moved > 0)
        lines.push_back(counted(moved, "track", "tracks") + " moved");
    if (coloured > 0)
        lines.push_back(counted(coloured, "track", "tracks") + " coloured");
    return lines;
}

std::string listing(const std::string &title, const std::vector<std::string> &lines) {
    std::string text = lines.empty() ? "" : title;
    const std::size_t listed = std::min(lines.size(), mostLines);
    for (std::size_t each = 0; each < listed; ++each)
        text += "\n" + lines[each];
    if (listed < lines.size())
        text += "\nand " + std::to_string(lines.size() - listed) + " more";
    return text;
}

} // namespace corvane
