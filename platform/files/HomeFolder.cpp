#include "platform/files/HomeFolder.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace corvane {
namespace {

std::string homeInUserDatabase() {
    constexpr std::size_t enough = 65536;
    std::vector<char> buffer(enough);
    struct passwd entry {};
    struct passwd *found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found ||
        !found->pw_dir)
        return {};
    return found->pw_dir;
}

} // namespace

std::filesystem::path homeFolder() {
    const char *variable = std::getenv("HOME");
    std::string home = variable ? variable : "";
    if (home.empty() || home.front() != '/')
        home = homeInUserDatabase();
    while (home.size() > 1 && home.back() == '/')
        home.pop_back();
    return home.empty() ? "/" : home;
}

} // namespace corvane
