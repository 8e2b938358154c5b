#include "cli/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::cli {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
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
}

TEST(CommandLine, EveryCommandTakesRehearseAndJson) {
    for (const Arguments &command : {Arguments{"hosts"},
                                     {"patch"},
                                     {"watch"},
                                     {"create", "Gig", "--in", "out"},
                                     {"sync", "Gig"},
                                     {"plan", "Gig"},
                                     {"signature", "Gig"},
                                     {"transport"},
                                     {"save"},
                                     {"marker", "Verse"}}) {
        Arguments arguments = command;
        arguments.insert(arguments.end(), {"--rehearse", "room", "--json"});
        const Options options = accepted(arguments);
        EXPECT_EQ("/shows/room", options.rehearsal) << command.front();
        EXPECT_TRUE(options.json) << command.front();
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
                                   {"hosts", "--rehearse", ""},
                                   {"sync", ""},
                                   {"sync", "Gig", "--from", ""},
                                   {"create", "Gig", "--in", ""},
                                   {"patch", "--save", ""},
                                   {"patch", "--host", "", "--port", "1"}}) {
        const std::string message = refused(wrong);
        EXPECT_FALSE(message.empty()) << testing::PrintToString(wrong);
        EXPECT_EQ(std::string::npos, message.find('\n')) << message;
    }
}

TEST(CommandLine, AFormatIsOneOfThreeWords) {
    EXPECT_EQ("--format: xml is not one of table, json, csv", refused({"patch", "--format", "xml"}));
    EXPECT_EQ("--format: 1 is not one of table, json, csv", refused({"patch", "--format", "1"}));
}

TEST(CommandLine, ATimeIsANumberOfSeconds) {
    for (const std::string wrong : {"soon", "5s", "", "-1", "nan", "1e12"})
        EXPECT_EQ("--for: is not a number of seconds: " + wrong, refused({"hosts", "--for", wrong}));
}

TEST(CommandLine, AWordThatIsNoCommandIsNamed) {
    EXPECT_EQ("“\u2068foo\u2069” is no command of corvanectl; --help lists them.", refused({"foo"}));
    EXPECT_EQ("“\u2068dance\u2069” is no command of corvanectl; --help lists them.",
              refused({"dance", "--json"}));
    EXPECT_THAT(refused({"hosts", "extra"}), HasSubstr("extra"));
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
    const auto options = accepted({"sync", "/proc/self/../version"});
    EXPECT_EQ("/proc/version", options.session);
}

} // namespace
} // namespace corvane::cli
