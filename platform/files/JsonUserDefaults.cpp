#include "platform/files/JsonUserDefaults.h"

#include "platform/files/FileHandle.h"
#include "platform/files/Files.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace corvane {
namespace {

using Json = nlohmann::ordered_json;
using Path = std::filesystem::path;

constexpr std::chrono::milliseconds lockRetryDelay{5};

/// What a program holds while it changes the file; it also keeps two threads of one program apart.
class Lock {
public:
    Lock(const Path &file, std::chrono::milliseconds timeout) : handle(FileHandle::openForAppending(file)) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!handle.tryLock() && std::chrono::steady_clock::now() <= deadline)
            std::this_thread::sleep_for(lockRetryDelay);
    }

private:
    FileHandle handle;
};

/// What the bytes say; a discarded value when they are not a JSON object.
Json parsed(const Bytes &bytes) {
    Json value = Json::parse(bytes, nullptr, false);
    return value.is_object() ? value : Json(Json::value_t::discarded);
}

/// Keeps a damaged file under the first name that is free.
void setAside(const Path &file) {
    constexpr int mostKept = 100;
    const auto aside = [&](int number) { return file.string() + ".damaged-" + std::to_string(number); };
    int number = 1;
    while (number < mostKept && fileExists(aside(number)))
        ++number;
    copyFile(file, aside(number)); // which never replaces one
}

/// The object to be changed. Throws FileError when there is a file that cannot be read: it must not be
/// replaced.
Json readForChange(const Path &file) {
    // Only `not_found` means that there is no file: after any other error there may be one to keep.
    std::error_code error;
    if (std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found)
        return Json::object();
    Json object = parsed(readFile(file));
    if (object.is_discarded()) {
        setAside(file);
        return Json::object();
    }
    return object;
}

} // namespace

JsonUserDefaults::JsonUserDefaults(Path file, std::chrono::milliseconds timeout)
    : file(std::move(file)), timeout(timeout) {}

std::optional<std::string> JsonUserDefaults::string(const std::string &key) const {
    try {
        const Json object = parsed(readFile(file));
        const auto found = object.find(key);
        if (object.is_object() && found != object.end() && found->is_string())
            return found->get<std::string>();
    } catch (const std::exception &) {
        // Absent.
    }
    return std::nullopt;
}

void JsonUserDefaults::set(const std::string &key, const std::string &value) {
    try {
        createFolders(file.parent_path());
        const Lock lock(file.string() + ".lock", timeout);
        Json object = readForChange(file);
        const auto found = object.find(key);
        if (found != object.end() && *found == value)
            return;
        object[key] = value;
        constexpr int indent = 2;
        // Bytes that are not UTF-8 (a file name can hold them) become U+FFFD: JSON has no way to say them.
        replaceFileAtomically(file, object.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n");
    } catch (const std::exception &) {
        // Not kept.
    }
}

} // namespace corvane
