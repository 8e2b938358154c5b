#include "livetrax/session/Backups.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/fakes/FakeSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

XMLDocument document(const std::string &content) {
    return XMLDocument::parse("<Ardour>" + content + "</Ardour>", "test");
}

/// A root element's content, as it is written.
std::string written(const std::string &content) {
    return document(content).serialised();
}

/// What enableOSC makes of a root element's content, as it is written.
std::string enabled(const std::string &content) {
    const XMLDocument edited = document(content);
    LiveTraxGenerator::enableOSC(edited.root());
    return edited.serialised();
}

constexpr auto optionsOn =
    R"xml(<Option name="osc-port" value="3819"/><Option name="use-osc" value="1"/>)xml";

TEST(EnableOSC, MissingOptionsBecomeTheLastOnes) {
    EXPECT_EQ(enabled(R"xml(<Config><Option name="a" value="b"/><Other/></Config>)xml"),
              written(std::string(R"xml(<Config><Option name="a" value="b"/><Other/>)xml") + optionsOn +
                      "</Config>"));
    EXPECT_EQ(enabled("<Config/>"), written(std::string("<Config>") + optionsOn + "</Config>"));
}

TEST(EnableOSC, PresentOptionsGetTheirValuesWhereTheyStand) {
    EXPECT_EQ(
        enabled(
            R"xml(<Config><Option name="use-osc" value="0"/><Option name="osc-port" value="8000"/></Config>)xml"),
        written(
            R"xml(<Config><Option name="use-osc" value="1"/><Option name="osc-port" value="3819"/></Config>)xml"));
}

TEST(EnableOSC, AnOptionWithoutAValueStaysWithoutOne) {
    EXPECT_EQ(enabled(R"xml(<Config><Option name="use-osc"/><Option name="osc-port"/></Config>)xml"),
              written(R"xml(<Config><Option name="use-osc"/><Option name="osc-port"/></Config>)xml"));
}

TEST(EnableOSC, OnlyTheFirstOptionOfANameIsSet) {
    EXPECT_EQ(
        enabled(R"xml(<Config><Option value="x"/><Option name="osc-port" value="1"/>)xml"
                R"xml(<Option name="osc-port" value="2"/><Option name="use-osc" value="1"/></Config>)xml"),
        written(R"xml(<Config><Option value="x"/><Option name="osc-port" value="3819"/>)xml"
                R"xml(<Option name="osc-port" value="2"/><Option name="use-osc" value="1"/></Config>)xml"));
}

TEST(EnableOSC, OnlyOptionsThatStandInConfigItselfCount) {
    EXPECT_EQ(enabled(R"xml(<Config><Deeper><Option name="osc-port" value="1"/></Deeper></Config>)xml"),
              written(std::string(R"xml(<Config><Deeper><Option name="osc-port" value="1"/></Deeper>)xml") +
                      optionsOn + "</Config>"));
    EXPECT_EQ(enabled("<Config/><Config/>"),
              written(std::string("<Config>") + optionsOn + "</Config><Config/>"));
}

constexpr auto surface = R"xml(<Protocol name="Open Sound Control (OSC)")xml";

std::string protocols(const std::string &content) {
    return "<ControlProtocols>" + content + "</ControlProtocols>";
}

TEST(EnableOSC, TheSurfaceIsSwitchedOnEvenWithoutConfig) {
    const std::string other = R"xml(<Protocol name="Mackie" active="0"/>)xml";
    EXPECT_EQ(enabled(protocols(other + surface + R"xml( active="0" feedback="0"/>)xml")),
              written(protocols(other + surface + R"xml( active="1" feedback="0" session-state="1"/>)xml")));
}

TEST(EnableOSC, OfTwoSurfacesTheFirstIsSwitchedOn) {
    const std::string off = surface + std::string(R"xml( active="0"/>)xml");
    const std::string on = surface + std::string(R"xml( active="1" session-state="1"/>)xml");
    EXPECT_EQ(enabled(protocols(off + off)), written(protocols(on + off)));
}

TEST(EnableOSC, ASurfaceWithoutActiveGetsOnlySessionState) {
    EXPECT_EQ(enabled(protocols(std::string(surface) + "/>")),
              written(protocols(surface + std::string(R"xml( session-state="1"/>)xml"))));
    EXPECT_EQ(enabled(protocols(surface + std::string(R"xml( session-state="0" x=""/>)xml"))),
              written(protocols(surface + std::string(R"xml( session-state="1" x=""/>)xml"))));
}

TEST(EnableOSC, NoSurfaceIsEverCreated) {
    const std::string off = R"xml( active="0"/>)xml";
    for (const std::string &content :
         {std::string(), protocols("x"),
          protocols(R"xml(<Protocol name="open sound control (osc)")xml" + off), protocols("<Protocol" + off),
          protocols("x") + protocols(surface + off), surface + off})
        EXPECT_EQ(enabled(content), written(content));
}

TEST(EnableOSC, DoneTwiceIsTheSameAsDoneOnce) {
    const XMLDocument edited =
        document("<Config/>" + protocols(surface + std::string(R"xml( active="0"/>)xml")));
    LiveTraxGenerator::enableOSC(edited.root());
    const std::string once = edited.serialised();
    LiveTraxGenerator::enableOSC(edited.root());
    EXPECT_EQ(edited.serialised(), once);
}

TEST(SetConfigOption, TextsOfAnyKindAreHeldAsTheyAre) {
    const XMLDocument document = XMLDocument::parse("<Config/>", "test");
    LiveTraxGenerator::setConfigOption("a & \"b\"", "<ñ>", document.root());
    EXPECT_EQ(document.root().firstChild("Option").attribute("name"), "a & \"b\"");
    EXPECT_EQ(document.root().firstChild("Option").attribute("value"), "<ñ>");
}

class ConfigurationTest : public testing::Test {
protected:
    FakePlatform system;
    Target target{"LiveTrax 3", "LiveTrax3", "LiveTrax3", system.folders->applications / "LiveTrax3.app"};
    const std::string preferences = "home/Library/Preferences/LiveTrax3/";

    void ensure() const { LiveTraxGenerator::ensureOSCEnabled(*system.folders, target); }
    void clean() const { LiveTraxGenerator::removeUnusedSyncHook(*system.folders, target); }
    std::string read(const std::string &name) const { return system.folder.read(preferences + name); }
    fs::path write(const std::string &name, const std::string &text) const {
        return system.folder.write(preferences + name, text);
    }
    bool exists(const std::string &name) const { return fileExists(system.folder / (preferences + name)); }
};

// As the recorder writes it, with a user's own comment, blank lines and entities in between.
const std::string configBefore = head + R"xml(<!DOCTYPE Ardour [
<!ENTITY studio "FOH">
]>
<!-- mine -->
<Ardour>

  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="osc-port"   value='8000'/>

  </Config>
  <Extra note="&studio;"><![CDATA[<raw>]]>&studio;</Extra>
  <ControlProtocols>
    <Protocol name="Open Sound Control (OSC)" active="0" feedback="0"/>
  </ControlProtocols>
</Ardour>
)xml";

const std::string configAfter = head + R"xml(<!DOCTYPE Ardour [
<!ENTITY studio "FOH">
]>
<!-- mine -->
<Ardour>

  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="osc-port"   value='3819'/>
    <Option name="use-osc" value="1"/>

  </Config>
  <Extra note="&studio;"><![CDATA[<raw>]]>&studio;</Extra>
  <ControlProtocols>
    <Protocol name="Open Sound Control (OSC)" active="1" feedback="0" session-state="1"/>
  </ControlProtocols>
</Ardour>
)xml";

TEST_F(ConfigurationTest, EverythingButTheSettingsStaysAsItWas) {
    write("config", configBefore);
    ensure();
    EXPECT_EQ(read("config"), configAfter);
}

/// Every form in which a document may write what it says.
TEST_F(ConfigurationTest, WhatIsNotEditedKeepsItsBytes) {
    const auto configuration = [](const std::string &port, const std::string &added,
                                  const std::string &active) {
        return "\xEF\xBB\xBF<?xml  version='1.0' standalone=\"yes\" ?>\r\n<!DOCTYPE Ardour [ <!-- <Config> "
               "--> "
               "<!ENTITY a '<Config/>'>\r\n<!ATTLIST Option d CDATA \"'>\"><?pi <Config ?>]>\r\n<Ardour  a = "
               "'b'\r\n\t"
               "c=\"&#233;&#xE9;\xC3\xA9&quot;'\" >\r\n<!-- <Config> --><?pi "
               "<Config>?><![CDATA[<Config>]]>&a;"
               "x &gt; y > z<x:Config xmlns:x=\"urn:x\"><x:Option/></x:Config ><Empty></Empty ><Empty />\r\n"
               "\t<Config  >\r\n\t\t<Option\n name = '" +
               port + "' x:y='1' xmlns:x='urn:x' value\t=\t\"" + port + "\"  />\r\n" + added +
               "\t</Config >\r\n<ControlProtocols>" + "<Protocol active='" + active +
               "' name='Open Sound Control (OSC)' /></ControlProtocols>\r\n</Ardour>\r\n"
               "<!-- after -->\r\n";
    };
    const auto named = [](std::string text) {
        return text.replace(text.find("name = '"), 8 + 4, "name = 'osc-port");
    };
    const auto switchedOn = [](std::string text) {
        const std::string last = "name='Open Sound Control (OSC)'";
        return text.insert(text.rfind(last) + last.size(), " session-state=\"1\"");
    };
    write("config", named(configuration("8000", "", "0")));
    ensure();
    EXPECT_EQ(
        read("config"),
        switchedOn(named(configuration("3819", "\t\t<Option name=\"use-osc\" value=\"1\"/>\r\n", "1"))));
    ensure();
    EXPECT_EQ(
        read("config"),
        switchedOn(named(configuration("3819", "\t\t<Option name=\"use-osc\" value=\"1\"/>\r\n", "1"))));
}

TEST_F(ConfigurationTest, TheBackupHoldsTheBytesFromBeforeTheFirstEdit) {
    write("config", configBefore);
    ensure();
    EXPECT_EQ(read("config.corvane-backup"), configBefore);
    write("config", "<Ardour><Config/></Ardour>");
    ensure();
    EXPECT_EQ(read("config.corvane-backup"), configBefore);
    EXPECT_EQ(TemporaryFolder::entries(system.folder / preferences), 2);
}

TEST_F(ConfigurationTest, ASecondEditChangesNothing) {
    write("config", configBefore);
    ensure();
    ensure();
    EXPECT_EQ(read("config"), configAfter);
}

TEST_F(ConfigurationTest, AMissingConfigurationIsNoError) {
    ensure();
    EXPECT_FALSE(exists("config"));
    EXPECT_FALSE(exists("config.corvane-backup"));
}

TEST_F(ConfigurationTest, OptionsAreSetAlsoWhereThereIsNoSurface) {
    write("config", "<Ardour><Config/></Ardour>");
    ensure();
    EXPECT_THAT(read("config"), testing::HasSubstr(R"xml(<Option name="osc-port" value="3819"/>)xml"));
}

TEST_F(ConfigurationTest, AConfigurationThatIsNotXMLIsAnErrorAndStaysAsItIs) {
    for (const char *text : {"", "no XML", "<Ardour><Config></Ardour>", "<Ardour/><Ardour/>", "<!-- open"}) {
        write("config", text);
        EXPECT_THROW(ensure(), XMLError) << text;
        EXPECT_EQ(read("config"), text);
        EXPECT_FALSE(exists("config.corvane-backup"));
    }
}

TEST_F(ConfigurationTest, AConfigurationWithoutARootElementIsUnusable) {
    for (const std::string &text :
         {head, head + "<!-- nothing yet -->\n", std::string("<!DOCTYPE Ardour>")}) {
        write("config", text);
        try {
            ensure();
            ADD_FAILURE() << text;
        } catch (const GeneratorError &error) {
            EXPECT_EQ(error.errorCase(), GeneratorError::Case::invalidTemplate);
        }
        EXPECT_EQ(read("config"), text);
        EXPECT_FALSE(exists("config.corvane-backup"));
    }
}

TEST_F(ConfigurationTest, AConfigurationThatCannotBeReadIsAnError) {
    fs::create_directories(system.folder / (preferences + "config"));
    EXPECT_THROW(ensure(), FileError);
}

TEST_F(ConfigurationTest, ABackupThatCannotBeMadeLeavesTheConfigurationUntouched) {
    write("config", configBefore);
    // A link to nowhere: nothing exists there, and nothing can be put there.
    fs::create_symlink("nowhere/backup", system.folder / (preferences + "config.corvane-backup"));
    EXPECT_THROW(ensure(), FileError);
    EXPECT_EQ(read("config"), configBefore);
    EXPECT_EQ(TemporaryFolder::entries(system.folder / preferences), 2);
}

TEST_F(ConfigurationTest, AnotherEncodingBecomesUTF8) {
    write("config", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<Ardour a=\"A\xF1o\"/>\n");
    ensure();
    EXPECT_EQ(read("config"), head + "<Ardour a=\"Año\"/>\n");
}

TEST_F(ConfigurationTest, ALinkedConfigurationIsEditedWhereItIs) {
    const fs::path real = system.folder.write("dotfiles/config", configBefore);
    fs::create_directories(system.folder / preferences);
    fs::create_symlink(real, system.folder / (preferences + "config"));
    ensure();
    EXPECT_TRUE(fs::is_symlink(system.folder / (preferences + "config")));
    EXPECT_EQ(textOf(real), configAfter);
    EXPECT_EQ(read("config.corvane-backup"), configBefore);
}

TEST_F(ConfigurationTest, FilesOfEarlierVersionsAreDeletedAndNoOthers) {
    const std::string support = "home/Library/Application Support/Corvane/";
    write("scripts/corvane_sync.lua", "");
    write("scripts/corvane_probe.lua", "");
    write("scripts/mine.lua", "");
    system.folder.write(support + "live-sync.tsv", "");
    system.folder.write(support + "live-sync.result", "");
    system.folder.write(support + "livetrax.log", "");
    clean();
    EXPECT_EQ(TemporaryFolder::entries(system.folder / (preferences + "scripts")), 1);
    EXPECT_TRUE(exists("scripts/mine.lua"));
    EXPECT_EQ(TemporaryFolder::entries(system.folder / support), 1);
    EXPECT_TRUE(fileExists(system.folder / (support + "livetrax.log")));
}

TEST_F(ConfigurationTest, OldHooksAreTakenOutAndTheOthersStayAsTheyWere) {
    write("ui_scripts", head + R"xml(<UIScripts version="1">

  <ActionHooks>
    <LuaCallback name="Corvane Tick" lua="a"/>
    <LuaCallback name="My Hook"   lua="b"/>
    <!-- kept -->
    <LuaCallback name="Corvane Sync" lua="c"><Signal/></LuaCallback>
    <LuaCallback lua="d"/>
    <LuaCallback name="Corvane Probe"/>
    <LuaCallback name=""/>
    <LuaCallback name="corvane probe"/>
    <Other name="Corvane Tick"/>
  </ActionHooks>
  <ActionHooks><LuaCallback name="Corvane Tick"/></ActionHooks>
</UIScripts>
)xml");
    clean();
    EXPECT_EQ(read("ui_scripts"), head + R"xml(<UIScripts version="1">

  <ActionHooks>
    <LuaCallback name="My Hook"   lua="b"/>
    <!-- kept -->
    <LuaCallback lua="d"/>
    <LuaCallback name=""/>
    <LuaCallback name="corvane probe"/>
    <Other name="Corvane Tick"/>
  </ActionHooks>
  <ActionHooks><LuaCallback name="Corvane Tick"/></ActionHooks>
</UIScripts>
)xml");
}

TEST_F(ConfigurationTest, AListWithoutOldHooksIsNotWritten) {
    // Neither indented nor quoted as we would write it.
    for (const char *text :
         {"<UIScripts><ActionHooks><LuaCallback name = 'My Hook'/></ActionHooks></UIScripts>",
          "<UIScripts><Other/></UIScripts>", "<UIScripts>", "", "no XML"}) {
        const fs::path file = write("ui_scripts", text);
        const auto before = fs::last_write_time(file) - std::chrono::hours(1);
        fs::last_write_time(file, before);
        clean();
        EXPECT_EQ(read("ui_scripts"), text);
        EXPECT_EQ(fs::last_write_time(file), before);
    }
}

TEST_F(ConfigurationTest, CleaningNeverFails) {
    EXPECT_NO_THROW(clean());
    fs::create_directories(system.folder / (preferences + "ui_scripts"));
    fs::create_directories(system.folder / (preferences + "scripts/corvane_sync.lua/full"));
    EXPECT_NO_THROW(clean());
}

class BackupsTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string first = "Corvane pre-sync 2025-01-01_10-00-00-000.ardour";
    const std::string second = "Corvane pre-sync 2025-01-02_10-00-00-000.ardour";

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto &entry : fs::directory_iterator(folder.path()))
            found.push_back(entry.path().filename().string());
        return found;
    }
};

TEST_F(BackupsTest, OnlyTheKeptOneRemains) {
    for (const std::string &name : {first, second, std::string("Show.ardour")})
        folder.write(name, "");
    LiveTraxGenerator::removeOlderBridgeBackups(folder.path(), folder / second);
    EXPECT_THAT(names(), testing::UnorderedElementsAre(second, "Show.ardour"));
}

TEST_F(BackupsTest, WhatIsNoBackupFileIsLeftAlone) {
    const std::vector<std::string> others = {
        "Corvane pre-sync 2025.ardour.bak", "corvane pre-sync 2025.ardour", "Corvane pre-sync.ardour",
        ".Corvane pre-sync 2025.ardour", "Show Corvane pre-sync .ardour"};
    for (const std::string &name : others)
        folder.write(name, "");
    const std::string asFolder = "Corvane pre-sync folder.ardour";
    fs::create_directory(folder / asFolder);
    const std::string asLink = "Corvane pre-sync link.ardour";
    fs::create_symlink(others.front(), folder / asLink);
    folder.write("Corvane pre-sync .ardour", "");
    LiveTraxGenerator::removeOlderBridgeBackups(folder.path(), folder / second);
    std::vector<std::string> expected = others;
    expected.insert(expected.end(), {asFolder, asLink});
    EXPECT_THAT(names(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(BackupsTest, TheKeptOneIsKnownHoweverItsPathIsWritten) {
    fs::create_directory(folder / "below");
    for (const fs::path &kept : {folder / ("below/../" + second), folder / ("./" + second)}) {
        folder.write(first, "");
        folder.write(second, "");
        LiveTraxGenerator::removeOlderBridgeBackups(folder.path(), kept);
        EXPECT_THAT(names(), testing::UnorderedElementsAre(second, "below"));
    }
    const TemporaryFolder elsewhere;
    fs::create_directory_symlink(folder.path(), elsewhere / "link");
    LiveTraxGenerator::removeOlderBridgeBackups(elsewhere / "link", folder / second);
    EXPECT_THAT(names(), testing::UnorderedElementsAre(second, "below"));
}

TEST_F(BackupsTest, AFileOfTheSameNameElsewhereKeepsNothing) {
    folder.write(first, "");
    const TemporaryFolder elsewhere;
    LiveTraxGenerator::removeOlderBridgeBackups(folder.path(), elsewhere / first);
    EXPECT_THAT(names(), testing::IsEmpty());
}

TEST_F(BackupsTest, AFileInAFolderThatIsMissingKeepsNothing) {
    folder.write(first, "");
    LiveTraxGenerator::removeOlderBridgeBackups(folder.path(), folder / ("none/" + first));
    EXPECT_THAT(names(), testing::IsEmpty());
}

TEST_F(BackupsTest, ASessionHasSomeOnceItWasUpdated) {
    EXPECT_FALSE(hasBackups(folder.path()));
    folder.write("backup/Show.ardour", "the recorder's own");
    EXPECT_FALSE(hasBackups(folder.path()));
    folder.write("backup/" + first, "");
    EXPECT_TRUE(hasBackups(folder.path()));
}

TEST_F(BackupsTest, AFolderThatCannotBeListedIsPutUpWith) {
    EXPECT_NO_THROW(LiveTraxGenerator::removeOlderBridgeBackups(folder / "none", folder / second));
}

} // namespace
} // namespace corvane
