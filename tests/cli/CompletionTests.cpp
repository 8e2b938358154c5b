#include "cli/Completion.h"

#include "base/Text.h"
#include "cli/CommandLine.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>

namespace corvane::cli {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

CommandDescription::Option optionOf(const std::string &command, const std::string &option) {
    for (const CommandDescription &each : commandTree())
        for (const auto &its : each.options)
            if (each.name == command && its.name == option)
                return its;
    ADD_FAILURE() << command << " has no " << option;
    return {};
}

TEST(CommandTree, SaysWhatTheProgramTakes) {
    EXPECT_EQ("FOLDER", optionOf("create", "--in").value);
    EXPECT_EQ("", optionOf("create", "--launch").value);
    EXPECT_EQ("SESSION", optionOf("plan", "session").value);
    EXPECT_EQ((std::vector<std::string>{"table", "csv", "json", "labels"}),
              optionOf("markers", "--format").words);
    EXPECT_EQ(shells(), optionOf("completion", "shell").words);
    EXPECT_THAT(optionOf("hosts", "--for").words, IsEmpty());
}

TEST(CommandTree, SaysWhatHoldsWhereAnOptionIsLeftOut) {
    EXPECT_EQ("How long to listen (3)", optionOf("hosts", "--for").description);
    EXPECT_EQ("How long to watch; else until interrupted", optionOf("watch", "--for").description);
    EXPECT_EQ("How long to listen for consoles (3)", optionOf("diagnose", "--for").description);
    EXPECT_EQ("classic or named, else what CORVANE_MARKERS says", optionOf("marker", "--style").description);
}

TEST(CommandTree, AnOptionTakesTheSameWhereverItIsTaken) {
    const std::map<std::string, std::string> values{{"--help", ""},
                                                    {"--allow-empty", ""},
                                                    {"--at", "TIME"},
                                                    {"--confirm", ""},
                                                    {"--discard-recordings", ""},
                                                    {"--events", "NAME,..."},
                                                    {"--for", "SECONDS"},
                                                    {"--format", "FORMAT"},
                                                    {"--from", "FILE"},
                                                    {"--host", "HOST"},
                                                    {"--in", "FOLDER"},
                                                    {"--json", ""},
                                                    {"--launch", ""},
                                                    {"--names", ""},
                                                    {"--number", "N"},
                                                    {"--port", "PORT"},
                                                    {"--rehearse", "FOLDER"},
                                                    {"--save", "FILE"},
                                                    {"--style", "STYLE"},
                                                    {"name", "NAME"},
                                                    {"session", "SESSION"},
                                                    {"shell", "SHELL"}};
    for (const CommandDescription &command : commandTree())
        for (const auto &option : command.options)
            EXPECT_EQ(values.at(option.name), option.value) << command.name << " " << option.name;
}

TEST(Completion, WhatIsPackagedIsWhatTheProgramMakes) {
    const auto packaged = seedTemplate().parent_path().parent_path() / "packaging/completions";
    for (const std::string &shell : shells())
        EXPECT_EQ(textOf(packaged / ("corvanectl." + shell)), completion(shell, commandTree()))
            << "make it anew: packaging/completions/make CORVANECTL";
}

TEST(Completion, EveryShellKnowsEveryCommandAndEveryOption) {
    const CommandTree tree = commandTree();
    for (const std::string &shell : shells()) {
        const std::string text = completion(shell, tree);
        for (const CommandDescription &command : tree) {
            EXPECT_THAT(text, HasSubstr(command.name));
            for (const auto &option : command.options)
                if (const auto dashes = option.name.find("--"); dashes != std::string::npos) {
                    EXPECT_THAT(text, HasSubstr(option.name.substr(dashes + (shell == "fish" ? 2 : 0))))
                        << shell;
                }
        }
    }
}

TEST(Completion, EveryLineForFishIsOneCompletion) {
    const std::regex line("complete -c corvanectl(?: -f|(?: -n (?:__fish_use_subcommand|'[^']+')"
                          "(?: -[lsa] [a-z-]+| -[xrF]| -a '[^']+')* -d '[^']+'))");
    auto lines = nonEmptyLines(completion("fish", commandTree()));
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.front(), testing::StartsWith("# "));
    lines.erase(lines.begin());
    for (const std::string &each : lines)
        EXPECT_TRUE(std::regex_match(each, line)) << each;
}

/// What bash offers after these words, with what only later versions of it know taken away.
std::string offered(const std::string &words,
                    const std::string &before = "enable -n compopt mapfile readarray") {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "Late Set");
    folder.write("patch.json", "");
    const auto script = folder.write("completion", completion("bash", commandTree()));
    ChildProcess bash(
        "/bin/bash", {"-c", "cd '" + folder.path().string() + "'; " + before + "; source '" +
                                script.string() + "' && COMP_WORDS=(corvanectl " + words +
                                ") && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _corvanectl && printf '%s\\n' "
                                "\"${COMPREPLY[@]}\""});
    EXPECT_EQ(0, bash.exitStatus()) << bash.errors();
    EXPECT_THAT(bash.errors(), IsEmpty());
    return bash.output();
}

TEST(Completion, AnOldBashOffersCommandsOptionsWordsAndPaths) {
    EXPECT_EQ("sync\nsave\nscenes\nsignature\n", [] {
        // In the order of the tree; sorted for the eye.
        std::string lines;
        for (const char *name : {"sync", "save", "scenes", "signature"})
            if (offered("s").find(std::string(name) + "\n") != std::string::npos)
                lines += std::string(name) + "\n";
        return lines;
    }());
    EXPECT_EQ("--allow-empty\n", offered("sync --a"));
    EXPECT_EQ("json\n", offered("patch --format j"));
    EXPECT_EQ("labels\n", offered("markers --format l"));
    EXPECT_EQ("fish\n", offered("completion f"));
    EXPECT_EQ("patch.json\n", offered("plan x --from p"));
    EXPECT_EQ("Late\\ Set\n", offered("plan L"));
    EXPECT_EQ("\n", offered("hosts --for 1"));
}

TEST(Completion, APresentBashQuotesPathsItself) {
    EXPECT_EQ("Late Set\n", offered("create x --in L", "compopt() { :; }"));
}

} // namespace
} // namespace corvane::cli
