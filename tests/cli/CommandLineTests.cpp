#include "cli/CommandLine.h"

#include "cli/CommandTree.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace corvane::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Arguments = std::vector<std::string>;

std::variant<Options, Ending> parse(const Arguments &arguments) {
    return parseCommandLine(arguments, "/shows");
}

Options accepted(const Arguments &arguments) {
    auto parsed = parse(arguments);
    if (auto *ending = std::get_if<Ending>(&parsed)) {
        ADD_FAILURE() << ending->outcome.message;
        return {};
    }
    return std::get<Options>(parsed);
}

/// The message of a refused command line.
std::string refused(const Arguments &arguments) {
    auto parsed = parse(arguments);
    const auto *ending = std::get_if<Ending>(&parsed);
    if (!ending) {
        ADD_FAILURE() << "was accepted";
        return {};
    }
    EXPECT_EQ(status::wrongUsage, ending->outcome.status);
    EXPECT_THAT(ending->text, IsEmpty()) << "nothing of a refusal goes to standard output";
    return ending->outcome.message;
}

TEST(CommandLine, EveryCommandIsKnown) {
    EXPECT_EQ(Verb::hosts, accepted({"hosts"}).verb);
    EXPECT_EQ(Verb::patch, accepted({"patch"}).verb);
    EXPECT_EQ(Verb::watch, accepted({"watch"}).verb);
    EXPECT_EQ(Verb::create, accepted({"create", "Gig", "--in", "out"}).verb);
    EXPECT_EQ(Verb::sync, accepted({"sync", "Gig"}).verb);
    EXPECT_EQ(Verb::plan, accepted({"plan", "Gig"}).verb);
    EXPECT_EQ(Verb::signature, accepted({"signature", "Gig"}).verb);
    EXPECT_EQ(Verb::transport, accepted({"transport"}).verb);
    EXPECT_EQ(Verb::save, accepted({"save"}).verb);
    EXPECT_EQ(Verb::marker, accepted({"marker", "Verse"}).verb);
    EXPECT_EQ(Verb::history, accepted({"history", "Gig"}).verb);
    EXPECT_EQ(Verb::restore, accepted({"restore", "Gig"}).verb);
    EXPECT_EQ(Verb::markers, accepted({"markers", "Gig"}).verb);
    EXPECT_EQ(Verb::scenes, accepted({"scenes"}).verb);
    EXPECT_EQ(Verb::check, accepted({"check"}).verb);
    EXPECT_EQ(Verb::diagnose, accepted({"diagnose"}).verb);
    EXPECT_EQ(Verb::completion, accepted({"completion", "bash"}).verb);
}

TEST(CommandLine, EveryCommandTakesRehearseAndAllButCompletionTakeJson) {
    // What a command needs besides its name.
    const std::map<std::string, Arguments> needed{{"create", {"Gig", "--in", "out"}},
                                                  {"sync", {"Gig"}},
                                                  {"plan", {"Gig"}},
                                                  {"signature", {"Gig"}},
                                                  {"history", {"Gig"}},
                                                  {"restore", {"Gig"}},
                                                  {"markers", {"Gig"}},
                                                  {"marker", {"Verse"}},
                                                  {"completion", {"bash"}}};
    const CommandTree commands = commandTree();
    EXPECT_THAT(commands, SizeIs(17));
    for (const auto &command : commands) {
        Arguments arguments{command.name};
        if (const auto found = needed.find(command.name); found != needed.end())
            arguments.insert(arguments.end(), found->second.begin(), found->second.end());
        arguments.insert(arguments.end(), {"--rehearse", "room"});
        EXPECT_EQ("/shows/room", accepted(arguments).rehearsal) << command.name;
        arguments.emplace_back("--json");
        if (command.name == "completion")
            EXPECT_THAT(refused(arguments), HasSubstr("--json"));
        else
            EXPECT_TRUE(accepted(arguments).json) << command.name;
    }
}

TEST(CommandLine, WrongUsageIsRefusedWithOneLine) {
    for (const Arguments &wrong : {Arguments{},
                                   {"dance"},
                                   {"hosts", "--loud"},
                                   {"hosts", "extra"},
                                   {"create", "Gig"},
                                   {"create", "--in", "x"},
                                   {"sync"},
                                   {"plan"},
                                   {"signature"},
                                   {"marker"},
                                   {"patch", "--host", "h"},
                                   {"patch", "--port", "5"},
                                   {"patch", "--host", "h", "--port", "70000"},
                                   {"patch", "--host", "h", "--port", "-1"},
                                   {"patch", "--host", "h", "--port", "x"},
                                   {"patch", "--host", "h", "--port", "0x10"},
                                   {"patch", "--host", "h", "--port", "+5"},
                                   {"patch", "--host", "h", "--port", ""},
                                   {"patch", "--format", "xml"},
                                   {"patch", "--from", "f"},
                                   {"patch", "--json", "--format", "csv"},
                                   {"sync", "Gig", "--from", "f", "--host", "h", "--port", "1"},
                                   {"signature", "Gig", "--from", "f"},
                                   {"hosts", "--for", "-1"},
                                   {"hosts", "--for", "nan"},
                                   {"hosts", "--for", "inf"},
                                   {"hosts", "--for", "1e12"},
                                   {"hosts", "--for", "soon"},
                                   {"sync", "Gig", "--from", "f", "--port", "1"},
                                   {"history"},
                                   {"restore"},
                                   {"restore", "Gig", "--number", "1", "--at", "x"},
                                   {"markers"},
                                   {"markers", "Gig", "--json", "--format", "csv"},
                                   {"completion"}}) {
        const std::string message = refused(wrong);
        EXPECT_FALSE(message.empty()) << testing::PrintToString(wrong);
        EXPECT_EQ(std::string::npos, message.find('\n')) << message;
    }
}

TEST(CommandLine, WhatIsEmptyIsNoOptionThatWasLeftOut) {
    for (const Arguments &wrong : {Arguments{"hosts", "--rehearse", ""},
                                   {"sync", "Gig", "--from", ""},
                                   {"signature", "--from", ""},
                                   {"create", "Gig", "--in", ""},
                                   {"check", "--in", ""},
                                   {"patch", "--save", ""},
                                   {"scenes", "--save", ""},
                                   {"diagnose", "--save", ""},
                                   {"restore", "Gig", "--at", ""},
                                   {"patch", "--port", "1", "--host", ""}})
        EXPECT_EQ(wrong[wrong.size() - 2] + ": is empty", refused(wrong));
    EXPECT_EQ("session: is empty", refused({"sync", ""}));
    EXPECT_EQ("session: is empty", refused({"check", ""}));
}

TEST(CommandLine, AFormatIsOneOfThreeWords) {
    EXPECT_EQ("--format: xml is not one of table, json, csv", refused({"patch", "--format", "xml"}));
    EXPECT_EQ("--format: 1 is not one of table, json, csv", refused({"patch", "--format", "1"}));
}

TEST(CommandLine, ATimeIsANumberOfSeconds) {
    for (const std::string wrong : {"soon", "5s", "", "-1", "nan", "1e12", "1000000.5"})
        EXPECT_EQ("--for: is not a number of seconds: " + wrong, refused({"hosts", "--for", wrong}));
}

TEST(CommandLine, AWordThatIsNoCommandIsNamed) {
    EXPECT_EQ("“\u2068foo\u2069” is no command of corvanectl; --help lists them.", refused({"foo"}));
    EXPECT_EQ("“\u2068dance\u2069” is no command of corvanectl; --help lists them.",
              refused({"dance", "--json"}));
    EXPECT_THAT(refused({"hosts", "extra"}), HasSubstr("extra"));
    EXPECT_EQ("A subcommand is required", refused({"--bogus"}));
    EXPECT_EQ("A subcommand is required", refused({}));
}

TEST(CommandLine, CheckAndDiagnoseTakeTheConsoleAsTheOthersDo) {
    const Options check =
        accepted({"check", "Gig/", "--in", "out", "--host", "h", "--port", "5", "--for", "2"});
    EXPECT_EQ(Verb::check, check.verb);
    EXPECT_EQ("/shows/Gig", check.session);
    EXPECT_EQ("/shows/out", check.folder);
    EXPECT_EQ("h", check.source.host);
    EXPECT_EQ(std::nullopt, accepted({"check"}).session);
    EXPECT_FALSE(accepted({"diagnose"}).withNames);
    EXPECT_TRUE(accepted({"diagnose", "--names", "--save", "f"}).withNames);
}

TEST(CommandLine, EventsAreNamedInOneList) {
    EXPECT_EQ((std::set<std::string>{"patch", "scene"}),
              accepted({"watch", "--events", "scene,patch,scene"}).events);
    EXPECT_THAT(accepted({"watch"}).events, IsEmpty());
    EXPECT_EQ("--events: dance is not one of status, connection, patch, channels, scene, endpoints, services",
              refused({"watch", "--events", "scene,dance"}));
    EXPECT_THAT(refused({"watch", "--events", ""}), HasSubstr("is not one of"));
}

TEST(CommandLine, ASessionAndAMarkerNeedANameThatIsNotBlank) {
    EXPECT_EQ("A session needs a name.", refused({"create", " \t\u3000", "--in", "out"}));
    EXPECT_EQ("A marker needs a name.", refused({"marker", "\u00A0 "}));
}

TEST(CommandLine, ASessionsNameIsTrimmed) {
    EXPECT_EQ("Gig 1", accepted({"create", "\u2028 Gig 1\n", "--in", "out"}).name);
}

TEST(CommandLine, SecondsMayBeFractions) {
    EXPECT_EQ(std::chrono::milliseconds(250), accepted({"hosts", "--for", "0.25"}).duration);
    EXPECT_EQ(std::nullopt, accepted({"hosts"}).duration);
}

TEST(CommandLine, ATimeIsAnythingUpToAMillionSeconds) {
    EXPECT_EQ(std::chrono::milliseconds(0), accepted({"hosts", "--for", "0"}).duration);
    EXPECT_EQ(std::chrono::seconds(1'000'000), accepted({"hosts", "--for", "1000000"}).duration);
}

/// What a command line asks for besides the command itself.
std::string asked(const Arguments &arguments) {
    const Options options = accepted(arguments);
    std::ostringstream text;
    const auto addFlag = [&](const char *name, bool is) { text << (is ? name : ""); };
    const auto add = [&](const char *name, const auto &value) {
        if (value)
            text << name << *value;
    };
    const auto addPath = [&](const char *name, const std::optional<std::filesystem::path> &path) {
        if (path && !path->empty())
            text << name << path->string();
    };
    text << "format " << static_cast<int>(options.format);
    addFlag(", named", options.markerStyle == MarkerStyle::named);
    addFlag(", json", options.json);
    addFlag(", launch", options.launch);
    addFlag(", allow empty", options.allowEmpty);
    addFlag(", discard", options.discardRecordings);
    addFlag(", confirm", options.confirm);
    addFlag(", names", options.withNames);
    addPath(", rehearse ", options.rehearsal);
    addPath(", from ", options.source.file);
    add(", host ", options.source.host);
    addFlag((", port " + std::to_string(options.source.port)).c_str(), options.source.port != 0);
    if (options.duration)
        text << ", for " << options.duration->count();
    for (const std::string &event : options.events)
        text << ", event " << event;
    addPath(", save ", options.saveTo);
    add(", number ", options.copyNumber);
    add(", at ", options.copyTime);
    addFlag((", shell " + options.shell).c_str(), !options.shell.empty());
    addFlag((", name " + options.name).c_str(), !options.name.empty());
    addPath(", session ", options.session);
    addPath(", in ", options.folder);
    return text.str();
}

TEST(CommandLine, EachOptionAsksForOneThingAndForNothingElse) {
    const std::vector<std::pair<Arguments, std::string>> rows{
        {{"hosts"}, "format 0"},
        {{"hosts", "--json", "--rehearse", "room/", "--for", "2.5"},
         "format 1, json, rehearse /shows/room, for 2500"},
        {{"patch", "--host", "h", "--port", "5", "--save", "f", "--format", "csv"},
         "format 2, host h, port 5, save /shows/f"},
        {{"patch", "--format", "table"}, "format 0"},
        {{"watch", "--events", "status"}, "format 0, event status"},
        {{"scenes", "--save", "f"}, "format 0, save /shows/f"},
        {{"create", "Gig", "--in", "out/", "--from", "f", "--launch"},
         "format 0, launch, from /shows/f, name Gig, in /shows/out"},
        {{"sync", "Gig", "--launch"}, "format 0, launch, session /shows/Gig"},
        {{"sync", "Gig", "--allow-empty"}, "format 0, allow empty, session /shows/Gig"},
        {{"signature", "--from", "f"}, "format 0, from /shows/f"},
        {{"restore", "Gig", "--number", "2"}, "format 0, number 2, session /shows/Gig"},
        {{"restore", "Gig", "--at", "noon", "--discard-recordings"},
         "format 0, discard, at noon, session /shows/Gig"},
        {{"save", "--confirm"}, "format 0, confirm"},
        {{"marker", " Verse", "--style", "named"}, "format 0, named, name Verse"},
        {{"markers", "Gig", "--format", "labels"}, "format 3, session /shows/Gig"},
        {{"check", "Gig", "--in", "out"}, "format 0, session /shows/Gig, in /shows/out"},
        {{"diagnose", "--names", "--save", "f"}, "format 0, names, save /shows/f"},
        {{"completion", "fish"}, "format 0, shell fish"}};
    for (const auto &[arguments, expected] : rows)
        EXPECT_EQ(expected, asked(arguments)) << testing::PrintToString(arguments);
}

TEST(CommandLine, HostAndPortGoTogether) {
    const auto source = accepted({"sync", "Gig", "--host", "10.0.0.1", "--port", "5000"}).source;
    EXPECT_EQ("10.0.0.1", source.host);
    EXPECT_EQ(5000, source.port);
    EXPECT_EQ(std::nullopt, accepted({"sync", "Gig"}).source.host);
}

TEST(CommandLine, AZeroInFrontOfAPortMeansNothing) {
    EXPECT_EQ(8010, accepted({"patch", "--host", "h", "--port", "08010"}).source.port);
    EXPECT_EQ(10, accepted({"patch", "--host", "h", "--port", "010"}).source.port);
    EXPECT_EQ("--port: is not a port from 0 to 65535: 70000",
              refused({"patch", "--host", "h", "--port", "70000"}));
}

TEST(CommandLine, JsonIsAFormatOfThePatch) {
    EXPECT_EQ(Format::json, accepted({"patch", "--json"}).format);
    EXPECT_EQ(Format::csv, accepted({"patch", "--format", "csv"}).format);
    EXPECT_EQ(Format::json, accepted({"patch", "--format", "json"}).format);
    EXPECT_EQ(Format::table, accepted({"patch"}).format);
}

TEST(CommandLine, HelpAndVersionAreResults) {
    for (const Arguments &arguments : {Arguments{"--help"}, {"create", "--help"}, {"--version"}}) {
        auto parsed = parse(arguments);
        const auto *ending = std::get_if<Ending>(&parsed);
        ASSERT_NE(nullptr, ending);
        EXPECT_EQ(status::done, ending->outcome.status);
        EXPECT_THAT(ending->outcome.message, IsEmpty());
        EXPECT_THAT(ending->text, HasSubstr("corvanectl"));
    }
}

TEST(CommandLine, HelpSaysWhatEachCommandIsForAndWhatTheExitStatusMeans) {
    const auto help = [](const Arguments &arguments) { return std::get<Ending>(parse(arguments)).text; };
    const std::string footer = "\nExit status: 0 done, 1 refused or failed, 2 wrong usage, 3 no answer, 130 "
                               "interrupted.\n";
    const std::string whole = help({"--help"});
    EXPECT_THAT(whole,
                AllOf(HasSubstr("Links a Waves eMotion LV1 console with the LiveTrax recorder.\n"),
                      HasSubstr("Usage: corvanectl [OPTIONS]"), HasSubstr("--version"), HasSubstr(footer)));
    for (const CommandDescription &command : commandTree()) {
        EXPECT_THAT(whole, HasSubstr(command.description));
        EXPECT_THAT(help({command.name, "--help"}),
                    AllOf(HasSubstr(command.description + "\n"),
                          HasSubstr("Usage: corvanectl " + command.name + " "), HasSubstr(footer)));
    }
    EXPECT_THAT(help({"--version"}), testing::MatchesRegex("corvanectl [0-9.]+\n"));
}

TEST(CommandLine, PathsBecomeAbsoluteWithoutASlashAtTheirEnd) {
    const auto session = [](const std::string &typed) { return accepted({"sync", typed}).session->string(); };
    EXPECT_EQ("/shows/Gig", session("Gig"));
    EXPECT_EQ("/shows/Gig", session("Gig/"));
    EXPECT_EQ("/shows/Gig", session("./Gig//"));
    EXPECT_EQ("/shows", session("."));
    EXPECT_EQ("/Sessions/Gig night", session("/Sessions/Gig night/"));
    EXPECT_EQ("/", session("/"));
    EXPECT_EQ("/shows/Čaj 🎤", session("Čaj 🎤/"));
}

TEST(CommandLine, AFolderAboveIsFoundWhereALinkLeads) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "archive/2025");
    std::filesystem::create_directory_symlink(folder / "archive/2025", folder / "last");
    std::filesystem::create_directory_symlink(folder / "loop", folder / "loop");
    const auto session = [&](const std::string &typed) {
        return std::get<Options>(parseCommandLine({"sync", typed}, folder.path())).session;
    };
    EXPECT_EQ(folder / "archive/Gig", session("last/../Gig/"));
    EXPECT_EQ(folder / "last/Gig", session("last/Gig")) << "as it was typed";
    EXPECT_EQ(folder / "Gig", session("loop/../Gig")) << "a link that leads nowhere";
}

} // namespace
} // namespace corvane::cli
