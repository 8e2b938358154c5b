#include "lv1/LV1Notifications.h"

#include "base/Preconditions.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

/// Colours that are remembered: many times what any console has, and a bound for what a hostile one can fill.
constexpr std::size_t mostColours = 65'536;
constexpr std::size_t valuesPerChannel = 7;
constexpr std::size_t valuesPerColour = 6;
/// The kind of object whose colours the console reports in group 0.
constexpr std::string_view mixerChannel = "Mixer_Ch";

std::string colourKey(std::int32_t group, std::int64_t index) {
    return std::to_string(group) + ":" + std::to_string(index);
}

/// The zero-based number that colours go by. 64 bits: the console sends any 32-bit number.
std::int64_t colourIndex(std::int32_t sourceIndex) {
    return std::int64_t{sourceIndex} - 1;
}

std::size_t memoryOf(const std::vector<LV1Channel> &channels) {
    std::size_t size = 0;
    for (const auto &each : channels)
        size += sizeof(LV1Channel) + each.name().size() + each.driver().size() + each.sourceType().size();
    return size;
}

std::optional<LV1LinkEvent> readHandshake(std::span<const OSCValue> values) {
    if (values.empty() || values.front() != OSCValue(std::int32_t{1}))
        return std::nullopt;
    return lv1::Accepted{};
}

std::optional<LV1LinkEvent> readScene(std::span<OSCValue> values, LV1Counters::Traffic &traffic) {
    auto *name = values.empty() ? nullptr : std::get_if<std::string>(&values.front());
    if (!name) {
        ++traffic.malformedScenes;
        return std::nullopt;
    }
    return lv1::Scene{std::move(*name)};
}

} // namespace

std::optional<LV1LinkEvent> LV1Notifications::read(OSCMessage message, LV1Counters::Traffic &traffic) {
    if (message.address == "/handshake")
        return readHandshake(message.values);
    if (message.address == "/Notify/IOConnections")
        return readPatch(message.values, traffic);
    if (message.address == "/Notify/TrackColor")
        return readColour(message.values, traffic);
    if (message.address == "/Notify/Scene/Name")
        return readScene(message.values, traffic);
    return std::nullopt;
}

std::optional<LV1LinkEvent> LV1Notifications::readPatch(std::span<OSCValue> values,
                                                        LV1Counters::Traffic &traffic) {
    const auto *count = values.empty() ? nullptr : std::get_if<std::int32_t>(&values.front());
    if (count && *count < 0)
        preconditionFailure("a negative number of console connections");
    if (!count || values.size() <= valuesPerChannel * static_cast<std::size_t>(*count)) {
        ++traffic.malformedPatches;
        return std::nullopt;
    }

    std::vector<LV1Channel> list;
    const auto records = static_cast<std::size_t>(*count);
    list.reserve(records);
    for (std::size_t i = 0; i < records; ++i) {
        if (auto accepted = channel(&values[valuesPerChannel * i + 1]))
            list.push_back(std::move(*accepted));
    }
    traffic.skippedChannels += records - list.size();
    channels = std::move(list);
    channelBytes = memoryOf(channels);
    return lv1::Patch{std::make_shared<const std::vector<LV1Channel>>(channels)};
}

/// The channel of one record of seven values, the last of which says nothing that matters here; none when a
/// value is of another type than it should be. Takes the texts out of the record.
std::optional<LV1Channel> LV1Notifications::channel(OSCValue *record) const {
    auto *name = std::get_if<std::string>(&record[0]);
    const auto *stereo = std::get_if<std::int32_t>(&record[1]);
    auto *driver = std::get_if<std::string>(&record[2]);
    const auto *inputIndex = std::get_if<std::int32_t>(&record[3]);
    auto *sourceType = std::get_if<std::string>(&record[4]);
    const auto *sourceIndex = std::get_if<std::int32_t>(&record[5]);
    if (!name || !stereo || !driver || !inputIndex || !sourceType || !sourceIndex)
        return std::nullopt;

    LV1Channel channel(std::move(*name), *stereo == 1, std::move(*driver), *inputIndex,
                       std::move(*sourceType), *sourceIndex);
    if (channel.sourceType() == mixerChannel) {
        const auto known = colors.find(colourKey(0, colourIndex(*sourceIndex)));
        if (known != colors.end()) {
            channel.red = known->second.red;
            channel.green = known->second.green;
            channel.blue = known->second.blue;
        }
    }
    return channel;
}

std::optional<LV1LinkEvent> LV1Notifications::readColour(std::span<const OSCValue> values,
                                                         LV1Counters::Traffic &traffic) {
    const bool isLongEnough = values.size() >= valuesPerColour;
    const auto *group = isLongEnough ? std::get_if<std::int32_t>(&values[0]) : nullptr;
    const auto *index = isLongEnough ? std::get_if<std::int32_t>(&values[1]) : nullptr;
    const auto *red = isLongEnough ? std::get_if<float>(&values[3]) : nullptr;
    const auto *green = isLongEnough ? std::get_if<float>(&values[4]) : nullptr;
    const auto *blue = isLongEnough ? std::get_if<float>(&values[5]) : nullptr;
    if (!group || !index || !red || !green || !blue) {
        ++traffic.malformedColours;
        return std::nullopt;
    }

    const auto key = colourKey(*group, *index);
    if (colors.size() < mostColours || colors.contains(key))
        colors.insert_or_assign(key, Colour{*red, *green, *blue});
    if (*group != 0)
        return std::nullopt;
    const auto coloured = std::find_if(channels.begin(), channels.end(), [&](const LV1Channel &channel) {
        return channel.sourceType() == mixerChannel && colourIndex(channel.sourceIndex()) == *index;
    });
    if (coloured == channels.end())
        return std::nullopt;
    coloured->red = *red;
    coloured->green = *green;
    coloured->blue = *blue;
    return lv1::Colours{std::make_shared<const std::vector<LV1Channel>>(channels)};
}

} // namespace corvane
