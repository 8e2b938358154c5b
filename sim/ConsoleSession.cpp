#include "sim/ConsoleSession.h"

#include "osc/OSCCodec.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace corvane::sim {

namespace {

constexpr std::size_t headerSize = 12;
constexpr std::uint32_t longestPayload = 1'999'999;
constexpr std::chrono::milliseconds shortestHandshakeDelay{200};
constexpr std::chrono::seconds handshakeTimeout{5};
constexpr std::size_t identifierLength = 32;

const OSCMessage expectedHandshakes[] = {{"/handshake", {-1, -1, 6}}, {"/handshake", {1, -1, 6}}};

std::uint32_t bigEndian(const Bytes &bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8U | bytes[offset + i];
    return value;
}

bool isLowerCaseHexadecimal(std::string_view text) {
    return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool isHardwareAddress(std::string_view text) {
    if (text.size() != 17)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i % 3 == 2 ? text[i] != ':' : !isLowerCaseHexadecimal(text.substr(i, 1)))
            return false;
    }
    return true;
}

/// What is wrong with a list of hardware addresses; empty when nothing is.
std::string faultOfAddresses(const std::string &text) {
    if (text.empty())
        return {};
    std::vector<std::string> addresses;
    std::string rest = text;
    for (std::size_t blank = rest.find(' '); blank != std::string::npos; blank = rest.find(' ')) {
        addresses.push_back(rest.substr(0, blank));
        rest.erase(0, blank + 1);
    }
    addresses.push_back(rest);
    if (!std::all_of(addresses.begin(), addresses.end(), isHardwareAddress))
        return "are not six lower-case hexadecimal bytes each, with one blank between two addresses";
    if (!std::is_sorted(addresses.begin(), addresses.end()))
        return "are not in ascending order";
    if (std::adjacent_find(addresses.begin(), addresses.end()) != addresses.end())
        return "hold a repeat";
    return {};
}

struct ValueText {
    std::ostringstream &out;
    void operator()(std::int32_t value) const { out << value; }
    void operator()(std::int64_t value) const { out << value << "h"; }
    void operator()(float value) const { out << value << "f"; }
    void operator()(const std::string &value) const { out << '"' << value << '"'; }
    void operator()(bool value) const { out << (value ? "true" : "false"); }
};

} // namespace

std::string described(const OSCMessage &message) {
    std::ostringstream out;
    out << message.address;
    for (const auto &value : message.values) {
        out << ' ';
        std::visit(ValueText{out}, value);
    }
    return out.str();
}

void ConsoleSession::report(const std::string &text) const {
    if (onReport)
        onReport(text);
}

void ConsoleSession::receive(const Bytes &bytes, TimePoint now) {
    if (lost)
        return;
    buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    while (const auto payload = nextPayload())
        handle(*payload, now);
}

/// Takes the payload of the first frame out of the buffer, when it is complete and its header can be used.
std::optional<Bytes> ConsoleSession::nextPayload() {
    if (buffer.size() < headerSize)
        return std::nullopt;
    const std::uint32_t length = bigEndian(buffer, 0);
    if (length == 0 || length > longestPayload) {
        lost = true;
        report("a frame header gives the length " + std::to_string(length));
        return std::nullopt;
    }
    if (buffer.size() < headerSize + length)
        return std::nullopt;
    if (const auto constant = bigEndian(buffer, 4); constant != 2)
        report("bytes 4 to 7 of a frame header are " + std::to_string(constant) + " instead of 2");
    if (const auto constant = bigEndian(buffer, 8); constant != 0)
        report("bytes 8 to 11 of a frame header are " + std::to_string(constant) + " instead of 0");
    const auto start = buffer.begin() + headerSize;
    Bytes payload(start, start + length);
    buffer.erase(buffer.begin(), start + length);
    return payload;
}

void ConsoleSession::handle(const Bytes &payload, TimePoint now) {
    const auto message = OSCCodec::parse(payload);
    if (!message) {
        report("a frame of " + std::to_string(payload.size()) + " bytes is not an OSC message");
        return;
    }
    if (OSCCodec::message(message->address, message->values) != payload)
        report(message->address + " is not in its plain form: padding, superfluous bytes or doubles");
    if (message->address == "/handshake")
        handleHandshake(*message, now);
    else if (message->address == "/device_name")
        handleDeviceName(*message);
    else if (message->address == "/pong")
        handlePong(*message);
    else
        report("unexpected: " + described(*message));
}

void ConsoleSession::handleHandshake(const OSCMessage &message, TimePoint now) {
    if (handshakes == 2) {
        report("a third handshake: " + described(message));
        return;
    }
    const auto &expected = expectedHandshakes[handshakes];
    if (message != expected)
        report("handshake " + std::to_string(handshakes + 1) + " is " + described(message) + " instead of " +
               described(expected));
    ++handshakes;
    if (handshakes == 1) {
        firstHandshake = now;
        return;
    }
    const auto pause = std::chrono::duration_cast<std::chrono::milliseconds>(now - firstHandshake);
    if (pause < shortestHandshakeDelay || pause > handshakeTimeout)
        report("the second handshake came " + std::to_string(pause.count()) +
               " ms after the first, instead of 250");
    accept();
}

void ConsoleSession::accept() {
    accepted = true;
    send("/handshake", {1});
    sendPatch();
    for (const auto &channel : state.channels)
        sendColour(channel);
    sendScene();
}

void ConsoleSession::handleDeviceName(const OSCMessage &message) {
    if (!accepted)
        report("/device_name came before the second handshake");
    if (introduced)
        report("a second /device_name");
    introduced = true;
    const auto &values = message.values;
    if (values.size() != 3 || !std::all_of(values.begin(), values.end(), [](const OSCValue &value) {
            return std::holds_alternative<std::string>(value);
        })) {
        report("/device_name does not carry three texts: " + described(message));
        return;
    }
    const auto &name = std::get<std::string>(values[0]);
    const auto &identifier = std::get<std::string>(values[1]);
    if (name.empty())
        report("/device_name: the computer's name is empty");
    if (identifier.size() != identifierLength || !isLowerCaseHexadecimal(identifier))
        report("/device_name: the identifier is not 32 lower-case hexadecimal digits: " + identifier);
    if (const auto fault = faultOfAddresses(std::get<std::string>(values[2])); !fault.empty())
        report("/device_name: the hardware addresses " + fault + ": " + std::get<std::string>(values[2]));
    if (onNote)
        onNote("client is " + name + ", " + identifier);
}

void ConsoleSession::ping() {
    if (!accepted)
        return;
    if (!introduced && pingNumber == 0)
        report("no /device_name after the second handshake");
    if (!unanswered.empty())
        report("no /pong to the last ping");
    unanswered.clear();
    ++pingNumber;
    unanswered.push_back({pingNumber, std::to_string(pingNumber), 0.5F, std::int64_t{1} << 40U, true, false});
    send("/ping", unanswered.back());
}

void ConsoleSession::handlePong(const OSCMessage &message) {
    if (unanswered.empty()) {
        report("a pong without a ping: " + described(message));
        return;
    }
    if (message.values != unanswered.front())
        report("a pong with other values than its ping: " + described(message) + " instead of " +
               described({"/pong", unanswered.front()}));
    unanswered.pop_front();
}

void ConsoleSession::end() {
    if (handshakes < 2)
        report("the client left after " + std::to_string(handshakes) + " of 2 handshakes");
    else if (!introduced)
        report("the client left without a /device_name");
    if (!lost && !buffer.empty())
        report("the client left in the middle of a frame");
}

void ConsoleSession::sendPatch() {
    OSCValues values{static_cast<std::int32_t>(state.channels.size())};
    for (const auto &channel : state.channels) {
        const OSCValue record[] = {channel.name(),       channel.stereo() ? 1 : 0, channel.driver(),
                                   channel.inputIndex(), channel.sourceType(),     channel.sourceIndex(),
                                   std::int32_t{0}};
        for (const OSCValue &value : record)
            values.push_back(value);
    }
    send("/Notify/IOConnections", values);
}

void ConsoleSession::sendColour(const LV1Channel &channel) {
    // Group 0: the mixer's input channels, counted from 0.
    if (channel.sourceType() != "Mixer_Ch" || channel.sourceIndex() < 1)
        return;
    send("/Notify/TrackColor",
         {0, channel.sourceIndex() - 1, std::int32_t{0}, channel.red, channel.green, channel.blue});
}

void ConsoleSession::sendScene() {
    send("/Notify/Scene/Name", {state.scene});
}

void ConsoleSession::send(const std::string &address, const OSCValues &values) {
    if (accepted && onSend)
        onSend(OSCCodec::frame(OSCCodec::message(address, values)));
}

} // namespace corvane::sim
