#include "platform/files/ShellValue.h"

#include "base/Text.h"
#include "platform/files/Files.h"

#include <cstddef>

namespace corvane {
namespace {

/// A shell word: plain, or with parts in single or double quotes.
std::optional<std::string> unquoted(std::string_view text) {
    std::string result;
    char quote = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (quote == 0 && (character == '"' || character == '\''))
            quote = character;
        else if (character == quote)
            quote = 0;
        else if (character == '\\' && quote != '\'' && i + 1 < text.size())
            result += text[++i];
        else if (quote == 0 && (character == ' ' || character == '\t'))
            break; // a comment may follow
        else
            result += character;
    }
    if (quote != 0)
        return std::nullopt;
    return result;
}

std::string textOrNothing(const std::filesystem::path &file) {
    try {
        const Bytes bytes = readFile(file);
        return {bytes.begin(), bytes.end()};
    } catch (const FileError &) {
        return {};
    }
}

} // namespace

std::optional<std::string> shellValue(const std::filesystem::path &file, std::string_view name) {
    std::optional<std::string> value;
    const std::string start = std::string(name) + "=";
    for (const std::string &line : nonEmptyLines(textOrNothing(file))) {
        const std::string text = trimmed(line);
        if (text.starts_with(start))
            value = unquoted(std::string_view(text).substr(start.size()));
    }
    return value;
}

} // namespace corvane
