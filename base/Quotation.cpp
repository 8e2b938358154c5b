#include "base/Quotation.h"

#include "base/Text.h"

#include <algorithm>

namespace corvane {

namespace {

/// In bytes; about what fits on one line of a window.
constexpr std::size_t longestQuotation = 120;
constexpr std::size_t mostJoined = 5;

/// U+2066 to U+2069 would end our own isolation or outlast it.
std::string withoutIsolates(std::string text) {
    for (const char *mark : {"\u2066", "\u2067", "\u2068", "\u2069"})
        for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
            text.erase(at, std::string_view(mark).size());
    return text;
}

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace

std::string quotation(std::string_view text) {
    return "“" + isolated(text) + "”";
}

std::string isolated(std::string_view text) {
    return "\u2068" + withoutIsolates(shortened(text)) + "\u2069";
}

std::string shortened(std::string_view text) {
    if (text.size() <= longestQuotation)
        return withoutControls(text);
    std::size_t end = longestQuotation;
    while (end > 0 && continuesCharacter(text[end]))
        --end;
    return withoutControls(text.substr(0, end)) + "…";
}

std::string counted(std::size_t count, const std::string &one, const std::string &many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string joined(const std::vector<std::string> &texts) {
    std::string all;
    const std::size_t shown = std::min(texts.size(), mostJoined);
    for (std::size_t each = 0; each < shown; ++each)
        all += (each == 0 ? "" : ", ") + texts[each];
    if (shown < texts.size())
        all += " and " + std::to_string(texts.size() - shown) + " more";
    return all;
}

} // namespace corvane
