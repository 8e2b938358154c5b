#include "osc/OSCCodec.h"

#include "base/Preconditions.h"
#include "base/UTF8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

namespace corvane {
namespace {

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

constexpr std::uint32_t frameKind = 2;

template <class Unsigned>
constexpr Unsigned swappedOnLittleEndian(Unsigned value) {
    if constexpr (std::endian::native == std::endian::big)
        return value;
    else if constexpr (sizeof(Unsigned) == 8)
        return __builtin_bswap64(value);
    else
        return __builtin_bswap32(value);
}

/// Big-endian, at any address: buffers are not aligned.
template <class Unsigned>
void store(std::uint8_t *to, Unsigned value) {
    value = swappedOnLittleEndian(value);
    std::memcpy(to, &value, sizeof value);
}

template <class Unsigned>
Unsigned load(const std::uint8_t *from) {
    Unsigned value = 0;
    std::memcpy(&value, from, sizeof value);
    return swappedOnLittleEndian(value);
}

std::string_view validOrEmpty(std::string_view text) {
    return isValidUTF8(text) ? text : std::string_view();
}

constexpr std::size_t paddedSize(std::size_t length) {
    return (length + 4) & ~std::size_t{3};
}

// ---- writing

/// Writes a text into bytes that are zero already, and returns where the next item goes.
std::uint8_t *writeText(std::uint8_t *to, std::string_view validText) {
    if (!validText.empty())
        std::memcpy(to, validText.data(), validText.size());
    return to + paddedSize(validText.size());
}

/// How a case of OSCValue is written: its tag, the bytes that it takes (were a text valid), and the bytes. A
/// case that has none does not compile.
template <class Case>
struct Form;

template <>
struct Form<std::int32_t> {
    static char tag(std::int32_t) { return 'i'; }
    static std::size_t size(std::int32_t) { return 4; }
    static std::uint8_t *write(std::uint8_t *to, std::int32_t value) {
        store(to, static_cast<std::uint32_t>(value));
        return to + 4;
    }
};

template <>
struct Form<std::int64_t> {
    static char tag(std::int64_t) { return 'h'; }
    static std::size_t size(std::int64_t) { return 8; }
    static std::uint8_t *write(std::uint8_t *to, std::int64_t value) {
        store(to, static_cast<std::uint64_t>(value));
        return to + 8;
    }
};

template <>
struct Form<float> {
    static char tag(float) { return 'f'; }
    static std::size_t size(float) { return 4; }
    static std::uint8_t *write(std::uint8_t *to, float value) {
        store(to, std::bit_cast<std::uint32_t>(value));
        return to + 4;
    }
};

template <>
struct Form<std::string> {
    static char tag(const std::string &) { return 's'; }
    static std::size_t size(const std::string &text) { return paddedSize(text.size()); }
    static std::uint8_t *write(std::uint8_t *to, const std::string &text) {
        return writeText(to, validOrEmpty(text));
    }
};

template <>
struct Form<bool> {
    static char tag(bool value) { return value ? 'T' : 'F'; }
    static std::size_t size(bool) { return 0; }
    static std::uint8_t *write(std::uint8_t *to, bool) { return to; }
};

/// Calls `use` with the Form of what a value holds, and with that. The two cases that nearly all values are
/// stand in front: std::visit jumps to an address from a table, and where a program happens to lie in memory
/// such that the processor foresees that badly, a patch took three times as long.
template <class Use>
auto withForm(const OSCValue &value, Use use) {
    const auto using_ = [&](const auto &held) {
        return use(Form<std::remove_cvref_t<decltype(held)>>(), held);
    };
    if (const auto *number = std::get_if<std::int32_t>(&value))
        return using_(*number);
    if (const auto *text = std::get_if<std::string>(&value))
        return using_(*text);
    return std::visit(using_, value);
}

char tagOf(const OSCValue &value) {
    return withForm(value, [](auto form, const auto &held) { return form.tag(held); });
}

std::size_t argumentSize(const OSCValue &value) {
    return withForm(value, [](auto form, const auto &held) { return form.size(held); });
}

std::uint8_t *writeArgument(std::uint8_t *to, const OSCValue &value) {
    return withForm(value, [to](auto form, const auto &held) { return form.write(to, held); });
}

// ---- reading

/// A text in a message, and whether all of it is ASCII.
struct Text {
    std::string_view bytes;
    bool isASCII;
};

/// The number of bytes before the first NUL; `count` when there is none.
std::size_t lengthOf(const std::uint8_t *start, std::size_t count) {
    const auto *end = static_cast<const std::uint8_t *>(std::memchr(start, 0, count));
    return end == nullptr ? count : static_cast<std::size_t>(end - start);
}

/// A text's bytes up to its NUL; moves `offset` behind the padding, possibly past the end. None when there is
/// no NUL. Most texts are a few words of ASCII, which one look at each word settles.
[[gnu::always_inline]] inline std::optional<Text> readBytes(OSCCodec::ByteView bytes, std::size_t &offset) {
    if (offset >= bytes.size())
        return std::nullopt;
    constexpr std::uint64_t ones = 0x0101010101010101, highBits = 0x8080808080808080;
    constexpr std::size_t shortText = 32;
    const std::uint8_t *const start = bytes.data() + offset;
    const std::size_t count = bytes.size() - offset;
    std::uint64_t all = 0;
    std::size_t length = 0;
    for (; length < shortText && count - length >= sizeof all; length += sizeof all) {
        // The byte that comes first in the text is the lowest, and of those marked here the lowest is a NUL.
        const std::uint64_t word = __builtin_bswap64(load<std::uint64_t>(start + length));
        const std::uint64_t zeros = (word - ones) & ~word & highBits;
        if (zeros == 0) {
            all |= word;
            continue;
        }
        const auto bitsBefore = static_cast<std::size_t>(std::countr_zero(zeros)) - 7;
        all |= word & ((std::uint64_t{1} << bitsBefore) - 1);
        length += bitsBefore / 8;
        offset = paddedSize(offset + length);
        return Text{{reinterpret_cast<const char *>(start), length}, (all & highBits) == 0};
    }
    length += lengthOf(start + length, count - length);
    if (length == count)
        return std::nullopt;
    offset = paddedSize(offset + length);
    return Text{{reinterpret_cast<const char *>(start), length}, false};
}

/// As readBytes; bytes that are not UTF-8 read as the empty text, so that the rest of the message counts.
std::optional<std::string_view> readString(OSCCodec::ByteView bytes, std::size_t &offset) {
    const auto text = readBytes(bytes, offset);
    if (!text)
        return std::nullopt;
    return text->isASCII ? text->bytes : validOrEmpty(text->bytes);
}

bool remains(OSCCodec::ByteView bytes, std::size_t offset, std::size_t count) {
    return offset <= bytes.size() && bytes.size() - offset >= count;
}

/// Appends a text of the message. Most are short enough to stand in the string itself, and then it is cheaper
/// to copy a fixed number of bytes and cut them off than to copy as many as there are.
void appendText(OSCValues &values, std::string_view text, OSCCodec::ByteView bytes) {
    constexpr std::size_t fixed = 15;
    const auto *const end = reinterpret_cast<const char *>(bytes.data() + bytes.size());
    if (text.empty() || text.size() > fixed || static_cast<std::size_t>(end - text.data()) < fixed) {
        values.emplace_back(std::in_place_type<std::string>, text);
        return;
    }
    auto &value = values.emplace_back(std::in_place_type<std::string>, text.data(), fixed);
    std::get_if<std::string>(&value)->resize(text.size());
}

/// The least number of four-byte words that the argument of a tag takes; more than there can be for a tag
/// that is not known.
constexpr auto leastWords = [] {
    std::array<std::uint64_t, 256> words{};
    words.fill(std::uint64_t{1} << 40U);
    words['i'] = words['f'] = words['s'] = 1;
    words['h'] = words['d'] = 2;
    words['T'] = words['F'] = 0;
    return words;
}();

/// Whether all tags are known and the bytes behind them can hold that many arguments. So a message is refused
/// before anything is allocated for it, and its count of arguments can be trusted.
bool canHold(std::string_view tags, std::size_t room) {
    std::uint64_t words = 0;
    for (const char tag : tags)
        words += leastWords[static_cast<std::uint8_t>(tag)];
    // A text at the very end may lack its padding.
    return words <= (room + 3) / 4;
}

/// Reads the argument of `tag` at `offset` and moves it on; false when it is cut short.
bool readArgument(char tag, OSCCodec::ByteView bytes, std::size_t &offset, OSCValues &values) {
    switch (tag) {
    case 'i':
        if (!remains(bytes, offset, 4))
            return false;
        values.emplace_back(static_cast<std::int32_t>(load<std::uint32_t>(bytes.data() + offset)));
        offset += 4;
        return true;
    case 'f':
        if (!remains(bytes, offset, 4))
            return false;
        values.emplace_back(std::bit_cast<float>(load<std::uint32_t>(bytes.data() + offset)));
        offset += 4;
        return true;
    case 's': {
        const auto text = readString(bytes, offset);
        if (!text)
            return false;
        appendText(values, *text, bytes);
        return true;
    }
    case 'h':
        if (!remains(bytes, offset, 8))
            return false;
        values.emplace_back(static_cast<std::int64_t>(load<std::uint64_t>(bytes.data() + offset)));
        offset += 8;
        return true;
    case 'd':
        if (!remains(bytes, offset, 8))
            return false;
        values.emplace_back(
            static_cast<float>(std::bit_cast<double>(load<std::uint64_t>(bytes.data() + offset))));
        offset += 8;
        return true;
    default: // 'T' or 'F'; canHold has refused all others
        values.emplace_back(tag == 'T');
        return true;
    }
}

/// The beginning of a message: its address and its tags, behind which the arguments are at `offset`.
struct Head {
    std::string_view address;
    std::string_view tags;
    std::size_t offset;
};

/// None when there is no such beginning, or too little behind it for the tags.
std::optional<Head> readHead(OSCCodec::ByteView bytes) {
    std::size_t offset = 0;
    const auto address = readString(bytes, offset);
    if (!address)
        return std::nullopt;
    // Every byte of the tags is looked at below, so they need no look at their UTF-8.
    const auto tags = readBytes(bytes, offset);
    if (!tags || !tags->bytes.starts_with(','))
        return std::nullopt;
    const std::string_view arguments = tags->bytes.substr(1);
    if (!canHold(arguments, bytes.size() - std::min(offset, bytes.size())))
        return std::nullopt;
    return Head{*address, arguments, offset};
}

/// Appends the arguments behind a head; false when one is cut short.
bool readArguments(const Head &head, OSCCodec::ByteView bytes, OSCValues &values) {
    std::size_t offset = head.offset;
    values.reserve(head.tags.size());
    for (const char tag : head.tags) {
        if (!readArgument(tag, bytes, offset, values))
            return false;
    }
    return true;
}

/// Built where it is returned: a message is dear to move.
std::optional<OSCMessage> completed(const Head &head, OSCCodec::ByteView bytes) {
    std::optional<OSCMessage> message(std::in_place, head.address);
    if (!readArguments(head, bytes, message->values))
        message.reset();
    return message;
}

} // namespace

OSCCodec::Bytes OSCCodec::message(std::string_view address, std::span<const OSCValue> values) {
    const std::string_view validAddress = validOrEmpty(address);
    std::size_t size = paddedSize(validAddress.size()) + paddedSize(1 + values.size());
    for (const OSCValue &value : values)
        size += argumentSize(value);

    Bytes bytes(size);
    std::uint8_t *tag = writeText(bytes.data(), validAddress);
    std::uint8_t *argument = tag + paddedSize(1 + values.size());
    *tag++ = ',';
    for (const OSCValue &value : values) {
        *tag++ = static_cast<std::uint8_t>(tagOf(value));
        argument = writeArgument(argument, value);
    }
    // Shorter than foreseen where a text turned out not to be UTF-8.
    bytes.resize(static_cast<std::size_t>(argument - bytes.data()));
    return bytes;
}

OSCCodec::Bytes OSCCodec::paddedString(std::string_view text) {
    const std::string_view valid = validOrEmpty(text);
    Bytes bytes(paddedSize(valid.size()));
    writeText(bytes.data(), valid);
    return bytes;
}

OSCCodec::Bytes OSCCodec::int32(std::int32_t value) {
    return uint32(static_cast<std::uint32_t>(value));
}

OSCCodec::Bytes OSCCodec::uint32(std::uint32_t value) {
    Bytes bytes(sizeof value);
    store(bytes.data(), value);
    return bytes;
}

OSCCodec::Bytes OSCCodec::frame(ByteView payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max())
        preconditionFailure("a frame's payload is longer than its header can say");
    Bytes bytes(frameHeaderSize + payload.size());
    store(bytes.data(), static_cast<std::uint32_t>(payload.size()));
    store(bytes.data() + 4, frameKind);
    std::copy(payload.begin(), payload.end(), bytes.begin() + frameHeaderSize);
    return bytes;
}

std::vector<OSCMessage> OSCCodec::readFrames(Bytes &buffer, std::size_t *frames) {
    std::vector<OSCMessage> messages;
    const ByteView all(buffer);
    std::size_t offset = 0;
    std::size_t count = 0;
    while (remains(all, offset, frameHeaderSize) && !isRefused(all.subspan(offset))) {
        const std::size_t length = load<std::uint32_t>(all.data() + offset);
        if (!remains(all, offset, frameHeaderSize + length))
            break;
        const auto payload = all.subspan(offset + frameHeaderSize, length);
        if (const auto head = readHead(payload)) {
            messages.emplace_back(head->address);
            if (!readArguments(*head, payload, messages.back().values))
                messages.pop_back();
        }
        offset += frameHeaderSize + length;
        ++count;
    }
    buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(offset));
    if (frames)
        *frames = count;
    return messages;
}

bool OSCCodec::isRefused(ByteView buffer) {
    if (buffer.size() < frameHeaderSize)
        return false;
    const auto length = load<std::uint32_t>(buffer.data());
    return length == 0 || length > longestPayload;
}

std::optional<OSCMessage> OSCCodec::parse(ByteView bytes) {
    const auto head = readHead(bytes);
    return head ? completed(*head, bytes) : std::nullopt;
}

} // namespace corvane
