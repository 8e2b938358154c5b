#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace corvane {

/// Null when the bytes are not UTF-8.
inline NSString *nsString(const std::string &text) {
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

inline std::optional<std::string> utf8(NSString *text) {
    const char *characters = text.UTF8String;
    return characters ? std::optional<std::string>(characters) : std::nullopt;
}

} // namespace corvane
