#include "base/Text.h"

#include "base/UTF8.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace corvane {
namespace {

bool isLineBreak(const LeadingCharacter &character) {
    const char32_t code = character.code;
    return character.isValid &&
           ((code >= 0x0A && code <= 0x0D) || code == 0x85 || code == 0x2028 || code == 0x2029);
}

bool isWhiteSpace(const LeadingCharacter &character) {
    if (!character.isValid)
        return false;
    const char32_t code = character.code;
    return isLineBreak(character) || code == 0x09 || code == 0x20 || code == 0xA0 || code == 0x1680 ||
           (code >= 0x2000 && code <= 0x200A) || code == 0x202F || code == 0x205F || code == 0x3000;
}

/// The whole text as from_chars reads it: digits, for a signed type with a minus in front.
template <class Integer>
std::optional<Integer> read(std::string_view text) {
    Integer value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// The letter that is compared: ASCII's small one also for the two letters outside ASCII whose other case is
/// in it.
char32_t foldedToASCII(char32_t letter) {
    constexpr char32_t longS = 0x17F;
    constexpr char32_t kelvinSign = 0x212A;
    if (letter >= 'A' && letter <= 'Z')
        return letter - 'A' + 'a';
    if (letter == longS)
        return 's';
    return letter == kelvinSign ? 'k' : letter;
}

} // namespace

std::string trimmed(std::string_view text) {
    std::size_t begin = text.size();
    std::size_t end = text.size();
    for (std::size_t position = 0; position < text.size();) {
        const LeadingCharacter next = leadingCharacter(text.substr(position));
        if (!isWhiteSpace(next)) {
            begin = std::min(begin, position);
            end = position + next.length;
        }
        position += next.length;
    }
    return std::string(text.substr(begin, end - begin));
}

std::vector<std::string> nonEmptyLines(std::string_view text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    const auto endLine = [&](std::size_t end) {
        if (end > begin)
            lines.emplace_back(text.substr(begin, end - begin));
    };
    for (std::size_t position = 0; position < text.size();) {
        const LeadingCharacter next = leadingCharacter(text.substr(position));
        if (isLineBreak(next)) {
            endLine(position);
            begin = position + next.length;
        }
        position += next.length;
    }
    endLine(text.size());
    return lines;
}

std::optional<std::int64_t> integer(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    return read<std::int64_t>(text);
}

std::optional<std::uint64_t> unsignedInteger(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    const auto value = read<std::uint64_t>(text);
    return isNegative && value != 0 ? std::nullopt : value;
}

std::optional<std::uint16_t> portNumber(std::string_view text) {
    return read<std::uint16_t>(text);
}

std::string withoutControls(std::string_view text, std::string_view kept) {
    std::string shown;
    while (!text.empty()) {
        const LeadingCharacter next = leadingCharacter(text);
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

void appendCell(std::string &to, const std::string &text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        to += text;
        return;
    }
    to += '"';
    for (const char c : text)
        to.append(c == '"' ? 2 : 1, c);
    to += '"';
}

bool equalIgnoringCase(std::string_view text, std::string_view word) {
    while (!text.empty() && !word.empty()) {
        const LeadingCharacter next = leadingCharacter(text);
        const char32_t letter = next.isValid ? foldedToASCII(next.code) : 0xFFFD;
        if (letter != foldedToASCII(static_cast<unsigned char>(word.front())))
            return false;
        text.remove_prefix(next.length);
        word.remove_prefix(1);
    }
    return text.empty() && word.empty();
}

} // namespace corvane
