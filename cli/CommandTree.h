#pragma once

#include <string>
#include <vector>

namespace corvane::cli {

/// What a command line may hold, as the program itself reads it: completions and manuals follow from it.
struct CommandDescription {
    struct Option {
        std::string name;  ///< "--in"; without dashes for what stands by itself: "session"
        std::string value; ///< what it takes, as the help calls it: "FOLDER"; empty for a flag
        std::string description;
        std::vector<std::string> words; ///< the values, where they are few
    };

    std::string name;
    std::string description;
    std::vector<Option> options;
};

using CommandTree = std::vector<CommandDescription>;

CommandTree commandTree();

} // namespace corvane::cli
