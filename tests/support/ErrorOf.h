#pragma once

#include "platform/files/Files.h"

#include <string>

namespace corvane {

/// What a file operation says when it fails; "no error" otherwise.
template <class Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const FileError &error) {
        return error.what();
    }
    return "no error";
}

} // namespace corvane
