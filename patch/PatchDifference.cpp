#include "patch/PatchDifference.h"

#include "base/Quotation.h"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

namespace corvane {

namespace {

using Source = std::pair<std::string, std::int32_t>;

Source sourceOf(const LV1Channel &channel) {
    return {channel.sourceType(), channel.sourceIndex()};
}

std::string inputs(const LV1Channel &channel) {
    return (channel.stereo() ? "inputs " : "input ") + channel.inputText();
}

/// The changes of one channel, joined: "“Kick” is now “Kick In”, stereo, on inputs 3–4 (was input 1)".
std::string change(const LV1Channel &from, const LV1Channel &to) {
    std::string text;
    if (from.name() != to.name())
        text = quotation(from.name()) + " is now " + quotation(to.name());
    if (from.stereo() != to.stereo())
        text += (text.empty() ? quotation(to.name()) + " is now " : ", ") +
                std::string(to.stereo() ? "stereo" : "mono");
    if (from.inputIndex() != to.inputIndex())
        text += (text.empty() ? quotation(to.name()) + " is now on " : ", on ") + inputs(to) + " (was " +
                inputs(from) + ")";
    return text;
}

} // namespace

std::vector<std::string> patchDifference(const std::vector<LV1Channel> &from,
                                         const std::vector<LV1Channel> &to) {
    // A source may be reported twice; the first of one list then belongs to the first of the other.
    std::map<Source, std::deque<std::size_t>> unmatched;
    for (std::size_t position = 0; position < from.size(); ++position)
        unmatched[sourceOf(from[position])].push_back(position);

    std::vector<std::string> lines;
    bool reordered = false;
    std::size_t furthest = 0;
    for (const LV1Channel &channel : to) {
        const auto known = unmatched.find(sourceOf(channel));
        if (known == unmatched.end() || known->second.empty()) {
            lines.push_back(quotation(channel.name()) + " is new, on " + inputs(channel));
            continue;
        }
        const std::size_t position = known->second.front();
        known->second.pop_front();
        reordered = reordered || position < furthest;
        furthest = std::max(furthest, position);
        if (std::string text = change(from[position], channel); !text.empty())
            lines.push_back(std::move(text));
    }
    std::map<std::size_t, const LV1Channel *> gone;
    for (const auto &[source, positions] : unmatched)
        for (const std::size_t position : positions)
            gone[position] = &from[position];
    for (const auto &[position, channel] : gone)
        lines.push_back(quotation(channel->name()) + " is gone");
    if (reordered)
        lines.emplace_back("The channels stand in another order");
    return lines;
}

} // namespace corvane
