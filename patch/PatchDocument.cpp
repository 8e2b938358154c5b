#include "patch/PatchDocument.h"

#include "base/Text.h"
#include "patch/ColourText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace corvane {

namespace {

using nlohmann::json;

constexpr std::array fieldNames{"name",        "stereo", "driver", "inputIndex", "sourceType",
                                "sourceIndex", "red",    "green",  "blue"};
constexpr int documentVersion = 1;

// Reading

/// The number when it is whole, however it is written (5, 5.0, 5e0), and fits.
std::optional<std::int32_t> wholeNumber(const json &value) {
    if (!value.is_number())
        return std::nullopt;
    // A double holds every number of 32 bits; one of 64 bits that it rounds is out of range all the same.
    const auto number = value.get<double>();
    if (std::trunc(number) != number || number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::int32_t>(number);
}

/// Reads the fields of one channel, counted from 1, and says what is wrong with them.
class ChannelReader {
public:
    ChannelReader(const json &object, std::size_t number) : object(object), number(number) {
        if (!object.is_object())
            throw PatchDocumentError("channel " + std::to_string(number) + " must be an object");
        for (const auto &[name, value] : object.items()) {
            if (std::find(fieldNames.begin(), fieldNames.end(), name) == fieldNames.end())
                refuse(name, "is not a field of a channel");
        }
    }

    std::string text(const char *field) const {
        const auto &value = required(field);
        if (!value.is_string())
            refuse(field, "must be a text");
        return value.get<std::string>();
    }

    bool flag(const char *field) const {
        const auto &value = required(field);
        if (!value.is_boolean())
            refuse(field, "must be true or false");
        return value.get<bool>();
    }

    std::int32_t integer(const char *field) const {
        const auto whole = wholeNumber(required(field));
        if (!whole)
            refuse(field, "must be a whole number from -2147483648 to 2147483647");
        return *whole;
    }

    float colour(const char *field, float usual) const {
        const auto found = object.find(field);
        if (found == object.end())
            return usual;
        if (!found->is_number())
            refuse(field, "must be a number");
        const auto value = static_cast<float>(found->get<double>());
        if (!std::isfinite(value))
            refuse(field, "must be a finite number");
        return value;
    }

private:
    const json &required(const char *field) const {
        const auto found = object.find(field);
        if (found == object.end())
            refuse(field, "is missing");
        return *found;
    }

    [[noreturn]] void refuse(const std::string &field, const std::string &why) const {
        throw PatchDocumentError("channel " + std::to_string(number) + ": \"" + field + "\" " + why);
    }

    const json &object;
    std::size_t number;
};

LV1Channel channel(const json &object, std::size_t number) {
    const ChannelReader reader(object, number);
    // In braces, so that the fields are read, and refused, in their order.
    LV1Channel channel{reader.text("name"),       reader.flag("stereo"),
                       reader.text("driver"),     reader.integer("inputIndex"),
                       reader.text("sourceType"), reader.integer("sourceIndex")};
    channel.red = reader.colour("red", channel.red);
    channel.green = reader.colour("green", channel.green);
    channel.blue = reader.colour("blue", channel.blue);
    return channel;
}

/// Throws an error that names the field with a number too large for a double: the parser's own does not.
[[noreturn]] void refuseHugeNumber(std::string_view text) {
    std::size_t channels = 0;
    std::string field;
    const auto follow = [&](int depth, json::parse_event_t event, json &value) {
        if (event == json::parse_event_t::object_start && depth == 2)
            ++channels;
        if (event == json::parse_event_t::key)
            field = value.get<std::string>();
        return true;
    };
    try {
        const json followed = json::parse(text, follow);
    } catch (const json::exception &) { // it is known to be refused; what counts is where
    }
    throw PatchDocumentError((channels > 0 ? "channel " + std::to_string(channels) + ": " : "") + "\"" +
                             field + "\" is too large a number");
}

json parsed(std::string_view text) {
    try {
        return json::parse(text);
    } catch (const json::parse_error &error) {
        throw PatchDocumentError("not a JSON document: error at byte " + std::to_string(error.byte));
    } catch (const json::exception &) {
        refuseHugeNumber(text);
    }
}

// Writing

/// JSON with 32-bit reals, as colours are: they print with just the digits that read back as the same number.
using Reals =
    nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;

/// Appends a text in quotes. Nearly all names are plain ASCII, which is copied as it stands.
void appendQuoted(std::string &to, const std::string &text) {
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
    if (isPlain)
        to.append(1, '"').append(text).append(1, '"');
    else
        to += json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

/// A decimal that reads back as the same number, whatever the locale; a colour that is not finite is null. A
/// colour is a number with a fraction, even at 0 and 1.
std::string decimal(float value) {
    return Reals(value).dump();
}

const char *truth(bool value) {
    return value ? "true" : "false";
}

void appendObject(std::string &to, const LV1Channel &channel) {
    to += "{\"name\":";
    appendQuoted(to, channel.name());
    to.append(",\"stereo\":").append(truth(channel.stereo())).append(",\"driver\":");
    appendQuoted(to, channel.driver());
    to.append(",\"inputIndex\":").append(std::to_string(channel.inputIndex())).append(",\"sourceType\":");
    appendQuoted(to, channel.sourceType());
    to.append(",\"sourceIndex\":").append(std::to_string(channel.sourceIndex()));
    to.append(",\"red\":").append(decimal(channel.red));
    to.append(",\"green\":").append(decimal(channel.green));
    to.append(",\"blue\":").append(decimal(channel.blue)).append(1, '}');
}

/// The channels as objects, `separator` before each and a comma between.
void appendObjects(std::string &to, const std::vector<LV1Channel> &channels, const char *separator) {
    constexpr std::size_t usualSize = 192;
    to.reserve(to.size() + usualSize * channels.size());
    bool isFirst = true;
    for (const auto &each : channels) {
        if (!std::exchange(isFirst, false))
            to += ',';
        to += separator;
        appendObject(to, each);
    }
}

} // namespace

std::vector<LV1Channel> readPatchDocument(std::string_view text) {
    const json document = parsed(text);
    if (!document.is_object())
        throw PatchDocumentError("the document must be an object");
    const auto version = document.find("version");
    if (version == document.end())
        throw PatchDocumentError("\"version\" is missing");
    if (wholeNumber(*version) != documentVersion)
        throw PatchDocumentError("\"version\" must be 1");
    for (const auto &[name, value] : document.items()) {
        if (name != "version" && name != "channels")
            throw PatchDocumentError("\"" + name + "\" is not a field of a patch file");
    }
    const auto list = document.find("channels");
    if (list == document.end())
        throw PatchDocumentError("\"channels\" is missing");
    if (!list->is_array())
        throw PatchDocumentError("\"channels\" must be a list");

    std::vector<LV1Channel> channels;
    channels.reserve(list->size());
    for (const auto &each : *list)
        channels.push_back(channel(each, channels.size() + 1));
    return channels;
}

std::string channelObject(const LV1Channel &channel) {
    std::string text;
    appendObject(text, channel);
    return text;
}

std::string channelArray(const std::vector<LV1Channel> &channels) {
    std::string text = "[";
    appendObjects(text, channels, "");
    return text + "]";
}

std::string patchDocument(const std::vector<LV1Channel> &channels) {
    std::string text = "{\"version\":" + std::to_string(documentVersion) + ",\"channels\":[";
    appendObjects(text, channels, "\n");
    return text + "\n]}\n";
}

std::string patchTable(const std::vector<LV1Channel> &channels) {
    std::string text;
    for (const char *name : fieldNames)
        text += std::string(name) + ",";
    text += "Input,Format,Colour\n"; // the same as a person reads it
    for (const auto &each : channels) {
        appendCell(text, each.name());
        text.append(",").append(truth(each.stereo())).append(",");
        appendCell(text, each.driver());
        text.append(",").append(std::to_string(each.inputIndex())).append(",");
        appendCell(text, each.sourceType());
        text.append(",").append(std::to_string(each.sourceIndex()));
        for (const float colour : {each.red, each.green, each.blue})
            text.append(",").append(decimal(colour));
        text.append(",").append(each.inputText()).append(",").append(each.format());
        text.append(",").append(colourText(each)).append("\n");
    }
    return text;
}

} // namespace corvane
