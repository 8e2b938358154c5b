#include "base/Text.h"

#include "base/CaseFolding.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace corvane {
namespace {

/// One code point of a text, or one byte that is part of none.
struct Decoded {
    char32_t code = 0;
    std::size_t length = 1;
    bool valid = false;
};

struct Form {
    std::size_t length;
    char32_t smallest; ///< anything below it is an overlong form
    unsigned mask;     ///< the bits of the first byte that belong to the code point
};

std::optional<Form> formOfFirstByte(unsigned char byte) {
    if (byte < 0x80)
        return Form{1, 0, 0x7F};
    if ((byte & 0xE0U) == 0xC0U)
        return Form{2, 0x80, 0x1F};
    if ((byte & 0xF0U) == 0xE0U)
        return Form{3, 0x800, 0x0F};
    if ((byte & 0xF8U) == 0xF0U)
        return Form{4, 0x10000, 0x07};
    return std::nullopt;
}

/// The code point at the start of a text that is not empty.
Decoded decodeFirst(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const auto form = formOfFirstByte(first);
    if (!form || text.size() < form->length)
        return {first};
    char32_t code = first & form->mask;
    for (std::size_t i = 1; i < form->length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80U)
            return {first};
        code = (code << 6U) | (byte & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < form->smallest || surrogate || code > 0x10FFFF)
        return {first};
    return {code, form->length, true};
}

bool isLineBreak(const Decoded &decoded) {
    return decoded.valid && ((decoded.code >= 0x0A && decoded.code <= 0x0D) || decoded.code == 0x85 ||
                             decoded.code == 0x2028 || decoded.code == 0x2029);
}

bool isWhiteSpace(const Decoded &decoded) {
    if (!decoded.valid)
        return false;
    const char32_t code = decoded.code;
    return isLineBreak(decoded) || code == 0x09 || code == 0x20 || code == 0xA0 || code == 0x1680 ||
           (code >= 0x2000 && code <= 0x200A) || code == 0x202F || code == 0x205F || code == 0x3000;
}

/// The value of a text that is nothing but digits; none when it does not fit.
std::optional<std::uint64_t> magnitude(std::string_view digits) {
    if (digits.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char character : digits) {
        if (character < '0' || character > '9')
            return std::nullopt;
        if (__builtin_mul_overflow(value, std::uint64_t{10}, &value) ||
            __builtin_add_overflow(value, static_cast<std::uint64_t>(character - '0'), &value))
            return std::nullopt;
    }
    return value;
}

bool hasSign(std::string_view text) {
    return !text.empty() && (text.front() == '-' || text.front() == '+');
}

} // namespace

std::string trimmed(std::string_view text) {
    std::size_t begin = text.size();
    std::size_t end = 0;
    for (std::size_t position = 0; position < text.size();) {
        const Decoded decoded = decodeFirst(text.substr(position));
        if (!isWhiteSpace(decoded)) {
            begin = std::min(begin, position);
            end = position + decoded.length;
        }
        position += decoded.length;
    }
    return begin < end ? std::string(text.substr(begin, end - begin)) : std::string();
}

std::vector<std::string> nonEmptyLines(std::string_view text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    const auto endLine = [&](std::size_t end) {
        if (end > begin)
            lines.emplace_back(text.substr(begin, end - begin));
    };
    for (std::size_t position = 0; position < text.size();) {
        const Decoded decoded = decodeFirst(text.substr(position));
        if (isLineBreak(decoded)) {
            endLine(position);
            begin = position + decoded.length;
        }
        position += decoded.length;
    }
    endLine(text.size());
    return lines;
}

bool isValidUTF8(std::string_view text) {
    while (!text.empty()) {
        const Decoded decoded = decodeFirst(text);
        if (!decoded.valid)
            return false;
        text.remove_prefix(decoded.length);
    }
    return true;
}

std::optional<std::int64_t> integer(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    const auto value = magnitude(hasSign(text) ? text.substr(1) : text);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!value || *value > largest + (negative ? 1 : 0))
        return std::nullopt;
    // Negated without a sign, because the smallest integer has no positive counterpart.
    return static_cast<std::int64_t>(negative ? std::uint64_t{0} - *value : *value);
}

std::optional<std::uint64_t> unsignedInteger(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    const auto value = magnitude(hasSign(text) ? text.substr(1) : text);
    if (negative && value && *value != 0)
        return std::nullopt;
    return value;
}

std::optional<std::uint16_t> portNumber(std::string_view text) {
    const auto value = magnitude(text);
    if (!value || *value > std::numeric_limits<std::uint16_t>::max())
        return std::nullopt;
    return static_cast<std::uint16_t>(*value);
}

std::string withoutControls(std::string_view text, std::string_view kept) {
    std::string shown;
    while (!text.empty()) {
        const Decoded next = decodeFirst(text);
        const auto piece = text.substr(0, next.length);
        // A byte that is part of no character is a control where a terminal does not take UTF-8.
        const bool isControl = next.code < 0x20 || (next.code >= 0x7F && next.code <= 0x9F);
        if (isControl && kept.find(piece) == std::string_view::npos)
            shown += ' ';
        else
            shown += piece;
        text.remove_prefix(next.length);
    }
    return shown;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    while (!left.empty() && !right.empty()) {
        const Decoded a = decodeFirst(left);
        const Decoded b = decodeFirst(right);
        const bool equal =
            a.valid == b.valid && (a.valid ? foldedCase(a.code) == foldedCase(b.code) : a.code == b.code);
        if (!equal)
            return false;
        left.remove_prefix(a.length);
        right.remove_prefix(b.length);
    }
    return left.empty() && right.empty();
}

} // namespace corvane
