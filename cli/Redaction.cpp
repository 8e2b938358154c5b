#include "cli/Redaction.h"

#include <algorithm>
#include <array>
#include <utility>

namespace corvane::cli {

namespace {

constexpr std::string_view hidden = "…";
constexpr std::array<std::string_view, 9> systemFolders = {
    "/Applications/", "/System/", "/Library/", "/usr/", "/opt/", "/dev/", "/proc/", "/lib/", "~/Library/"};
/// What stands between these is a name as often as not.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> quotes = {
    {{"“", "”"}, {"\"", "\""}, {"'", "'"}, {"`", "'"}}};

bool continuesWord(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || (c & '\x80') != 0;
}

/// Wherever it stands as a word of its own.
void replaceAll(std::string &text, std::string_view what, std::string_view with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        const std::size_t end = at + what.size();
        const bool inWord = (at > 0 && continuesWord(text[at - 1]) && continuesWord(what.front())) ||
                            (end < text.size() && continuesWord(text[end]) && continuesWord(what.back()));
        if (inWord) {
            ++at;
            continue;
        }
        text.replace(at, what.size(), with);
        at += with.size();
    }
}

void hideQuoted(std::string &text) {
    for (const auto &[open, close] : quotes) {
        for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
            const std::size_t start = at + open.size();
            const std::size_t end = text.find(close, start);
            if (end == std::string::npos)
                break;
            text.replace(start, end - start, hidden);
            at = start + hidden.size() + close.size();
        }
    }
}

bool isSystems(std::string_view path) {
    if (path.starts_with("/dev/shm/")) // memory that serves anybody as a disk
        return false;
    return std::any_of(systemFolders.begin(), systemFolders.end(),
                       [&](std::string_view folder) { return path.starts_with(folder); });
}

/// Where a path begins: a "/" or "~/" that does not continue a word.
std::size_t privatePath(const std::string &text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool stands = at + 1 == text.size() || text[at + 1] == ' '; // "24 tracks / 31 inputs"
        const bool begins = (text[at] == '/' && !stands) || text.compare(at, 2, "~/") == 0;
        const bool continued =
            at > 0 && (continuesWord(text[at - 1]) ||
                       std::string_view("/.~-_").find(text[at - 1]) != std::string_view::npos);
        if (begins && !continued && !isSystems(std::string_view(text).substr(at)))
            return at;
    }
    return std::string::npos;
}

} // namespace

Redaction::Redaction(std::filesystem::path home, std::vector<std::string> names)
    : home(home.string()), names(std::move(names)) {
    this->names.push_back(home.filename().string());
    std::erase(this->names, "");
    std::sort(this->names.begin(), this->names.end(), [](const std::string &left, const std::string &right) {
        return std::pair(right.size(), left) < std::pair(left.size(), right);
    });
}

std::string Redaction::path(std::string_view text) const {
    std::string shown(text);
    if (home.size() > 1)
        replaceAll(shown, home, "~");
    if (const std::size_t at = privatePath(shown); at != std::string::npos)
        shown.replace(at, std::string::npos, hidden);
    return shown;
}

std::string Redaction::line(std::string_view text) const {
    std::string shown = path(text);
    for (const std::string &name : names)
        replaceAll(shown, name, hidden);
    hideQuoted(shown);
    return shown;
}

} // namespace corvane::cli
