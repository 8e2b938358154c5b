#include "cli/Completion.h"

#include <map>

namespace corvane::cli {

namespace {

using Option = CommandDescription::Option;

/// What kind of thing an option takes, by the word that the help has for it.
enum class Kind { nothing, word, folder, file, host, other };

Kind kindOf(const Option &option) {
    static const std::map<std::string, Kind> kinds{
        {"FOLDER", Kind::folder}, {"SESSION", Kind::folder}, {"FILE", Kind::file}, {"HOST", Kind::host}};
    if (!option.words.empty())
        return Kind::word;
    if (option.value.empty())
        return Kind::nothing;
    const auto found = kinds.find(option.value);
    return found == kinds.end() ? Kind::other : found->second;
}

bool isPositional(const Option &option) {
    return !option.name.starts_with("-");
}

std::string joined(const std::vector<std::string> &words) {
    std::string all;
    for (const std::string &word : words)
        all += (all.empty() ? "" : " ") + word;
    return all;
}

/// To stand in single quotes.
std::string plain(const std::string &text) {
    std::string shown;
    for (const char c : text)
        shown += c == '\'' ? "’" : std::string(1, c);
    return shown;
}

// bash, from 3.2 on, which knows neither mapfile nor compopt

constexpr const char *bashHead =
    R"(# bash completion for corvanectl, made by "corvanectl completion bash"       -*- shell-script -*-

_corvanectl_offer() { # LIST OF COMPGEN...
    local IFS=$'\n'
    COMPREPLY=($(compgen "$@"))
}
_corvanectl_offer_paths() { # -d OR -f, BEGINNING
    _corvanectl_offer "$1" -- "$2"
    if type compopt >/dev/null 2>&1; then
        compopt -o filenames
    else
        local each
        for each in "${!COMPREPLY[@]}"; do COMPREPLY[each]=$(printf %q "${COMPREPLY[each]}"); done
    fi
}
_corvanectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local IFS=$' \t\n' words=
    COMPREPLY=()
)";

std::string bashAction(const Option &option) {
    switch (kindOf(option)) {
    case Kind::word:
        return "words='" + joined(option.words) + "'";
    case Kind::folder:
        return "_corvanectl_offer_paths -d \"$current\"";
    case Kind::file:
        return "_corvanectl_offer_paths -f \"$current\"";
    case Kind::host:
        return "_corvanectl_offer -A hostname -- \"$current\"";
    default:
        return ":";
    }
}

std::string bash(const CommandTree &tree) {
    std::string commands;
    std::string values;
    std::string options;
    std::string others;
    for (const CommandDescription &command : tree) {
        commands += command.name + " ";
        std::string names;
        for (const Option &option : command.options) {
            if (isPositional(option)) {
                others += "            " + command.name + ") " + bashAction(option) + " ;;\n";
                continue;
            }
            names += (names.empty() ? "" : " ") + option.name;
            if (!option.value.empty())
                values +=
                    "        '" + command.name + " " + option.name + "') " + bashAction(option) + " ;;\n";
        }
        options += "            " + command.name + ") words='" + names + "' ;;\n";
    }
    return bashHead + std::string("    if [ \"$COMP_CWORD\" -eq 1 ]; then\n        words='") + commands +
           "--help --version'\n    else\n        case \"$command $previous\" in\n" + values +
           "        *)\n            case $current in\n            -*)\n            case $command in\n" +
           options + "            esac\n            ;;\n            *)\n            case $command in\n" +
           others +
           "            esac\n            ;;\n            esac\n            ;;\n        esac\n    fi\n"
           "    [ -z \"$words\" ] || COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n}\n"
           "complete -F _corvanectl corvanectl\n";
}

// fish

std::string fishValue(const Option &option) {
    switch (kindOf(option)) {
    case Kind::word:
        return " -x -a '" + joined(option.words) + "'";
    case Kind::folder:
        return " -x -a '(__fish_complete_directories (commandline -ct))'";
    case Kind::file:
        return " -r -F";
    case Kind::host:
        return " -x -a '(__fish_print_hostnames)'";
    case Kind::other:
        return " -x";
    default:
        return "";
    }
}

std::string fish(const CommandTree &tree) {
    std::string text = "# Made by \"corvanectl completion fish\".\ncomplete -c corvanectl -f\n"
                       "complete -c corvanectl -n __fish_use_subcommand -l help -d 'Explain the program'\n"
                       "complete -c corvanectl -n __fish_use_subcommand -l version -d 'Print the version'\n";
    for (const CommandDescription &command : tree) {
        text += "complete -c corvanectl -n __fish_use_subcommand -a " + command.name + " -d '" +
                plain(command.description) + "'\n";
        for (const Option &option : command.options) {
            text += "complete -c corvanectl -n '__fish_seen_subcommand_from " + command.name + "'";
            if (!isPositional(option))
                text += " -l " + option.name.substr(2);
            text += fishValue(option) + " -d '" + plain(option.description) + "'\n";
        }
    }
    return text;
}

} // namespace

std::vector<std::string> shells() {
    return {"bash", "fish"};
}

std::string completion(const std::string &shell, const CommandTree &tree) {
    return shell == "fish" ? fish(tree) : bash(tree);
}

} // namespace corvane::cli
