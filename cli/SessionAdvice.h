#pragma once

#include "platform/Platform.h"

#include <filesystem>
#include <string>

namespace corvane::cli {

// What there is to say when something is not where a person looks for it: one sentence, or nothing.

/// Of a folder without a session of its name: where one of that name is, that it is not made yet, or which
/// sessions the folder holds.
std::string missingSessionAdvice(const Platform &platform, const std::filesystem::path &session);

/// Of LiveTrax in a rehearsal: which folder is meant by "/Applications".
std::string missingLiveTraxAdvice(const Platform &platform);

/// Of a folder that is outside of the rehearsal: that it is, and which folder would be inside.
std::string outsideAdvice(const Platform &platform, const std::filesystem::path &folder);

/// The advice as a line beneath a message.
std::string beneath(const std::string &advice);

} // namespace corvane::cli
