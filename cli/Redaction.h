#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::cli {

/// Takes out of a text what is nobody's business: where a person keeps things, and what they call them. What
/// is taken out leaves "…". Rather too much goes than too little.
class Redaction {
public:
    /// `names`: of channels, scenes and sessions, and the like.
    Redaction(std::filesystem::path home, std::vector<std::string> names);

    /// One line of somebody else's: without the names, wherever they stand as words; without what stands in
    /// quotes; and without paths.
    std::string line(std::string_view text) const;
    /// A text of our own: from the first path that is not the system's it is taken out up to the end, because
    /// a path may hold blanks. What is below the home's Library stays, as "~/Library/…".
    std::string path(std::string_view text) const;

private:
    std::string home;
    std::vector<std::string> names; ///< the longest first
};

} // namespace corvane::cli
