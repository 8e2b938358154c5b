#include "livetrax/session/XMLTree.h"

#include "platform/files/Files.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Blanks = XMLDocument::Blanks;

const std::string DECLARATION = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

XMLDocument parsed(const std::string &text, Blanks blanks = Blanks::drop) {
    return XMLDocument::parse(text, "The test's text", blanks);
}

std::vector<std::string> names(XMLChildren children) {
    std::vector<std::string> result;
    for (const XMLElement child : children)
        result.emplace_back(child.name());
    return result;
}

TEST(XMLTree, ElementsAreFoundByNameInDocumentOrder) {
    const XMLDocument document =
        parsed("<S>text<A n='1'/><!-- A --><B/><A n='2'/><![CDATA[<A/>]]><?A?><C><A n='3'/></C></S>");
    const XMLElement root = document.root();
    EXPECT_EQ(root.name(), "S");
    EXPECT_THAT(names(root.children()), ElementsAre("A", "B", "A", "C"));
    EXPECT_THAT(names(root.children("A")), ElementsAre("A", "A"));
    EXPECT_EQ(root.firstChild().attribute("n"), "1");
    EXPECT_EQ(root.firstChild("A", "n", "2").next().name(), "C");
    EXPECT_EQ(root.firstChild("A").next("A").attribute("n"), "2");
    EXPECT_EQ(root.firstChild("C").firstChild().parent(), root.firstChild("C"));
    EXPECT_FALSE(root.parent());
    EXPECT_FALSE(root.firstChild("D"));
    EXPECT_FALSE(root.firstChild("A", "n", "3"));
    EXPECT_FALSE(root.firstChild("A", "m", ""));
}

TEST(XMLTree, NoElementHasNothing) {
    const XMLElement none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.name(), "");
    EXPECT_EQ(none.numberAsRead(), 0U);
    EXPECT_FALSE(none.hasName(""));
    EXPECT_FALSE(none.parent());
    EXPECT_FALSE(none.firstChild());
    EXPECT_FALSE(none.firstChild("A"));
    EXPECT_FALSE(none.firstChild("A", "b", "c"));
    EXPECT_FALSE(none.next());
    EXPECT_FALSE(none.next("A"));
    EXPECT_TRUE(none.children().empty());
    EXPECT_TRUE(none.attributes().empty());
    EXPECT_EQ(none.attribute("a"), std::nullopt);
    EXPECT_FALSE(none.hasAttribute("a"));
}

TEST(XMLTree, ElementsThatAreNestedTooDeeplyAreRefusedInWordsForPeople) {
    std::string text;
    for (int level = 0; level < 300; ++level)
        text += "<a>";
    try {
        parsed(text);
        FAIL();
    } catch (const XMLError &error) {
        EXPECT_STREQ(error.what(), "The test's text is nested too deeply to be read.");
    }
}

TEST(XMLTree, NamesAreComparedWhole) {
    const XMLDocument document = parsed("<S><IOs/><I/><IO name='x' nam='y' names='z'/></S>");
    EXPECT_EQ(document.root().firstChild("IO").attribute("name"), "x");
    EXPECT_TRUE(document.root().firstChild("IO").attributeIs("nam", "y"));
    EXPECT_FALSE(document.root().firstChild("IO").hasAttribute("na"));
    EXPECT_FALSE(document.root().hasName(""));
}

TEST(XMLTree, APrefixedNameIsAnotherName) {
    const XMLDocument document =
        parsed("<S xmlns:x='urn:x'><x:A id='1'/><A x:id='2'/><A id='3' xmlns='urn:y'/></S>");
    EXPECT_THAT(names(document.root().children("A")), ElementsAre("A", "A"));
    EXPECT_FALSE(document.root().firstChild("A").hasAttribute("id"));
    XMLElement element = document.root().firstChild("A");
    element.setAttribute("id", "4");
    EXPECT_THAT(document.serialised(), HasSubstr("<A x:id=\"2\" id=\"4\"/>"));
    for (XMLAttribute attribute : element.attributes())
        attribute.setValue("5");
    EXPECT_THAT(document.serialised(), HasSubstr("<A x:id=\"5\" id=\"5\"/>"));
}

TEST(XMLTree, AttributesAreSetInPlaceAndAddedAtTheEnd) {
    const XMLDocument document = parsed("<S a='1' b='' c='3'/>");
    XMLElement root = document.root();
    EXPECT_EQ(root.attribute("b"), "");
    root.setAttribute("a", "one");
    root.setAttribute("d", "\"<&>'\n\t");
    root.setExistingAttribute("b", "two");
    root.setExistingAttribute("e", "five");
    root.removeAttribute("c");
    root.removeAttribute("f");
    EXPECT_EQ(document.serialised(),
              DECLARATION + "<S a=\"one\" b=\"two\" d=\"&quot;&lt;&amp;&gt;'&#10;&#9;\"/>\n");
    EXPECT_EQ(parsed(document.serialised()).root().attribute("d"), "\"<&>'\n\t");
}

TEST(XMLTree, TextThatLooksLikeAReferenceIsPlainText) {
    const XMLDocument document = parsed("<!DOCTYPE S [<!ENTITY e 'entity'>]><S a=''/>");
    document.root().setAttribute("a", "&e;&amp;&#65;");
    EXPECT_EQ(parsed(document.serialised()).root().attribute("a"), "&e;&amp;&#65;");
}

TEST(XMLTree, CharactersThatXMLCannotHoldAreReplaced) {
    struct Row {
        std::string text;
        std::string held;
    };
    const Row rows[] = {
        {"Kick", "Kick"},
        {"tab\tline\nreturn\r", "tab\tline\nreturn\r"},
        {std::string("a\0b", 3), "a\uFFFDb"},
        {"\x01\x1F\x7F", "\uFFFD\uFFFD\x7F"},
        {"é 鼓 🥁 \u202Eabc", "é 鼓 🥁 \u202Eabc"},
        {"\xEF\xBF\xBE\xEF\xBF\xBF\uFFFD", "\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xC0\x80", "\uFFFD\uFFFD"},
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x8F\xBF\xBF\xEE\x80\x80", "\xF4\x8F\xBF\xBF\xEE\x80\x80"},
        {"cut \xE2\x82", "cut \uFFFD\uFFFD"},
        {"\xFF\x80", "\uFFFD\uFFFD"},
    };
    for (const Row &row : rows) {
        const XMLDocument document = parsed("<S a=''/>");
        document.root().setAttribute("a", row.text);
        document.root().setAttribute("b", row.text);
        EXPECT_EQ(document.root().attribute("a"), row.held);
        EXPECT_EQ(parsed(document.serialised()).root().attribute("b"), row.held);
    }
}

TEST(XMLTree, AttributesAreVisitedInOrderAndRewritten) {
    const XMLDocument document =
        parsed("<!DOCTYPE S [<!ENTITY e 'entity'>]><S a='1' b='x&e;y' c='' xmlns:n='urn:n' n:d='4'/>");
    std::vector<std::string> seen;
    std::string buffer;
    for (const XMLAttribute attribute : document.root().attributes())
        seen.push_back(std::string(attribute.name()) + "=" + std::string(attribute.value(buffer)));
    EXPECT_THAT(seen, ElementsAre("a=1", "b=xentityy", "c=", "d=4"));
    EXPECT_THAT(document.serialised(), HasSubstr("b=\"x&e;y\""));
    document.root().findAttribute("b").setValue("x");
    EXPECT_EQ(document.root().attribute("b"), "x");
    document.root().findAttribute("b").setValue("plain");
    EXPECT_THAT(document.serialised(), HasSubstr("b=\"plain\""));
}

TEST(XMLTree, TheChildThatALoopStandsOnMayBeRemoved) {
    const XMLDocument document = parsed("<S><A/><B/><A><B/></A><A/></S>");
    for (XMLElement child : document.root().children("A"))
        child.remove();
    EXPECT_THAT(names(document.root().children()), ElementsAre("B"));
}

TEST(XMLTree, CopiesGoBetweenDocumentsAndOutliveTheirSource) {
    const XMLDocument target = parsed("<S/>");
    {
        const XMLDocument source =
            parsed("<!DOCTYPE S [<!ENTITY e 'v'>]><S xmlns:x='urn:x'><A n='long enough to be its own &e;'>"
                   "text<x:B/><!-- c --></A><A2/></S>");
        target.root().appendCopy(source.root().firstChild("A"));
        target.root().append(source.root().firstChild("A2").detach());
        EXPECT_THAT(names(source.root().children()), ElementsAre("A"));
    }
    EXPECT_THAT(names(target.root().children()), ElementsAre("A", "A2"));
    EXPECT_THAT(target.serialised(), HasSubstr("text<x:B/><!-- c --></A>"));
}

TEST(XMLTree, ADetachedElementCanBeCopiedPutBackOrDropped) {
    const XMLDocument document = parsed("<S><A><B/></A><C/></S>");
    XMLFragment model = document.root().firstChild("A").detach();
    XMLFragment dropped = document.root().firstChild("C").detach();
    EXPECT_FALSE(model.element().parent());
    document.root().appendCopy(model.element()).setAttribute("n", "1");
    dropped = std::move(model);
    document.root().append(std::move(dropped));
    EXPECT_EQ(document.serialised(),
              DECLARATION + "<S>\n  <A n=\"1\">\n    <B/>\n  </A>\n  <A>\n    <B/>\n  </A>\n</S>\n");
}

TEST(XMLTree, EverythingThatIsNotEditedStaysAsItWas) {
    const std::string text = DECLARATION + R"(<!-- before -->
<!DOCTYPE Session [
<!ENTITY gain "0.5">
]>
<?target data?>
<Session version="7003" id-counter="10">
  <!-- inside -->
  <Notes>mixed <b>content</b> with &gain; and <![CDATA[<raw> & ]]></Notes>
  <Empty/>
  <Route name="é &quot;q&quot; &lt;&amp;&gt; 🥁" v="&gain;"/>
</Session>
<!-- after -->
)";
    EXPECT_EQ(parsed(text).serialised(), text);
}

TEST(XMLTree, NoOtherFileIsReadWhateverADocumentNames) {
    const TemporaryFolder folder;
    const auto other = folder.write("other", "<neither & a document type nor an entity");
    ASSERT_EQ(::mkfifo((folder / "waits").c_str(), 0600), 0); // who opens it waits for ever
    for (const std::string &name :
         {other.string(), (folder / "waits").string(), "file://" + other.string()}) {
        const std::string type = "<!DOCTYPE S SYSTEM \"" + name + "\">";
        EXPECT_EQ(parsed(type + "<S a=\"1\"/>").root().attribute("a"), "1");
        EXPECT_EQ(parsed("<!DOCTYPE S [<!ENTITY % p SYSTEM \"" + name + "\"> %p;]><S a=\"1\"/>")
                      .root()
                      .attribute("a"),
                  "1");
        EXPECT_EQ(parsed("<!DOCTYPE S [<!ENTITY e SYSTEM \"" + name + "\">]><S a=\"1\">&e;</S>")
                      .root()
                      .attribute("a"),
                  "1");
    }
}

TEST(XMLTree, KeptBlanksStayAndNewElementsStandLikeTheirNeighbours) {
    const std::string text =
        DECLARATION + "<A>\n\n    <Config>\n        <Option name=\"a\"/>\n\n    </Config>\n    <Empty/>\n"
                      "    <Hollow>\n    </Hollow><Inline/>\n</A>\n";
    const XMLDocument document = parsed(text, Blanks::keep);
    EXPECT_EQ(document.serialised(), text);
    const XMLElement root = document.root();
    root.firstChild("Config").append("Option").setAttribute("name", "b");
    root.firstChild("Empty").append("New");
    root.firstChild("Hollow").append("New");
    root.firstChild("Inline").append("New");
    EXPECT_EQ(document.serialised(),
              DECLARATION + "<A>\n\n    <Config>\n        <Option name=\"a\"/>\n        <Option "
                            "name=\"b\"/>\n\n    </Config>\n"
                            "    <Empty>\n      <New/>\n    </Empty>\n"
                            "    <Hollow>\n      <New/>\n    </Hollow><Inline><New/></Inline>\n</A>\n");
}

TEST(XMLTree, ARemovedElementTakesItsLineAlong) {
    const XMLDocument document =
        parsed("<A>\n  <B/>\n  <!-- stays -->\n  <C/>\n  <D/>text <E/>\n</A>\n", Blanks::keep);
    document.root().firstChild("B").remove();
    document.root().firstChild("D").remove();
    document.root().firstChild("E").remove();
    EXPECT_EQ(document.serialised(), DECLARATION + "<A>\n  <!-- stays -->\n  <C/>text \n</A>\n");
}

TEST(XMLTree, MalformedTextIsRefusedWithOriginAndLine) {
    const std::string malformed[] = {
        "",
        " ",
        "no markup",
        "<S>\n<A>\n</S>",
        "<S a='1' a='2'/>",
        "<S a='\xFF'/>",
        "<S>\x01</S>",
        "<S>&#1;</S>",
        "<S>&undeclared;</S>",
        "<S/><S/>",
        "<S>",
        "<?xml version='1.0'?><S><A></S",
        std::string("<S>\0</S>", 8),
    };
    for (const std::string &text : malformed) {
        try {
            parsed(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const XMLError &error) {
            EXPECT_THAT(error.what(), HasSubstr("The test's text is not well-formed XML (line "));
        }
    }
    try {
        parsed("<S>\n<A>\n</S>");
    } catch (const XMLError &error) {
        EXPECT_STREQ(error.what(), "The test's text is not well-formed XML (line 3: Opening and ending tag "
                                   "mismatch: A line 2 and S).");
    }
    try {
        parsed("<S>\n<unknown:A/>\n</T>"); // a prefix that is not declared is none of its faults
    } catch (const XMLError &error) {
        EXPECT_THAT(error.what(), HasSubstr("(line 3: Opening and ending tag mismatch: S line 1 and T)."));
    }
}

TEST(XMLTree, NothingIsPrintedOfAFileThatIsNotInTheEncodingItClaims) {
    const auto refuse = [] {
        EXPECT_THROW(parsed("<?xml version='1.0' encoding='UTF-7'?>\n<S><A b='+AGEA &#78;'/></S>"), XMLError);
        EXPECT_THROW(parsed("<?xml version='1.0' encoding='US-ASCII'?>\n<S><A b='\xE9'/></S>"), XMLError);
    };
    ::testing::internal::CaptureStderr();
    refuse();
    std::thread(refuse).join();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(XMLTree, AnEntityBombIsRefused) {
    std::string text = "<!DOCTYPE S [<!ENTITY e0 '0123456789'>";
    for (int level = 1; level < 12; ++level) {
        text += "<!ENTITY e" + std::to_string(level) + " '";
        for (int repeat = 0; repeat < 10; ++repeat)
            text += "&e" + std::to_string(level - 1) + ";";
        text += "'>";
    }
    EXPECT_THROW(parsed(text + "]><S a='&e11;'/>"), XMLError);
}

TEST(XMLTree, ALocalFileIsNotReadThroughAnEntity) {
    const TemporaryFolder folder;
    const std::string secret = folder.write("secret", "secret text").string();
    const XMLDocument document = parsed("<!DOCTYPE S [<!ENTITY e SYSTEM '" + secret + "'>]><S>&e;</S>");
    EXPECT_THAT(document.serialised(), HasSubstr("<S>&e;</S>"));
    EXPECT_THAT(document.serialised(), ::testing::Not(HasSubstr("secret text")));
}

TEST(XMLTree, AFileIsReadChangedAndPutBackWhole) {
    const TemporaryFolder folder;
    const auto path = folder.write("Show & Tell/Gig.ardour", DECLARATION + "<S a=\"1\">\n  <A/>\n</S>\n");
    XMLDocument document = XMLDocument::load(path);
    document.root().setAttribute("a", "2");
    std::move(document).writeAtomically(path);
    EXPECT_EQ(folder.read("Show & Tell/Gig.ardour"), DECLARATION + "<S a=\"2\">\n  <A/>\n</S>\n");
}

TEST(XMLTree, ADocumentWithEntitiesOfItsOwnIsReadBackBeforeItIsPutInPlace) {
    const TemporaryFolder folder;
    const std::string text = DECLARATION + R"(<!DOCTYPE S [
<!ENTITY e "text <b>with</b> markup">
<!ATTLIST S d CDATA "default">
]>
<S a="&amp;">&e;<A>&e;</A></S>
)";
    const auto path = folder.write("Gig.ardour", text);
    XMLDocument::load(path).root();
    XMLDocument::load(path).writeAtomically(path);
    EXPECT_EQ(folder.read("Gig.ardour"), text);
}

TEST(XMLTree, ATreeThatCannotBeReadBackIsNotPutInPlace) {
    const TemporaryFolder folder;
    const auto path = folder.write("Gig.ardour", "<S/>");
    XMLDocument document = XMLDocument::load(path);
    document.root().append("not a name");
    try {
        std::move(document).writeAtomically(path);
        ADD_FAILURE();
    } catch (const XMLError &error) {
        EXPECT_THAT(error.what(), testing::StartsWith("The text for " + path.string() +
                                                      " is not well-formed XML (line 3: "));
    }
    EXPECT_EQ(folder.read("Gig.ardour"), "<S/>");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

/// While it lives, no file can grow beyond so many bytes: as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : usualSignal(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &usual);
        const rlimit low{bytes, usual.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &low);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &usual);
        std::signal(SIGXFSZ, usualSignal);
    }

private:
    void (*usualSignal)(int);
    rlimit usual{};
};

TEST(XMLTree, ADiskThatIsFullIsAFileErrorAndTheOldFileStands) {
    const TemporaryFolder folder;
    const auto path = folder.write("Gig.ardour", "<S/>");
    XMLDocument document = XMLDocument::load(path);
    for (int i = 0; i < 5'000; ++i)
        document.root().append("A").setAttribute("name", "a text of some length");
    {
        const FileSizeLimit limit(100'000);
        EXPECT_THROW(std::move(document).writeAtomically(path), FileError);
    }
    EXPECT_EQ(folder.read("Gig.ardour"), "<S/>");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(XMLTree, ADocumentWhoseDefaultValuesCannotBeWrittenIsNotPutInPlace) {
    const TemporaryFolder folder;
    const std::string text = "<!DOCTYPE S [<!ATTLIST S d CDATA \"&#60;&#38;\">]><S/>";
    const auto path = folder.write("Gig.ardour", text);
    EXPECT_THROW(XMLDocument::load(path).writeAtomically(path), XMLError);
    EXPECT_EQ(folder.read("Gig.ardour"), text);
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(XMLTree, AnEmptyFileIsRefusedWithAReason) {
    const TemporaryFolder folder;
    const auto path = folder.write("Gig.ardour", "");
    try {
        XMLDocument::load(path);
        FAIL() << "an empty file was read";
    } catch (const XMLError &error) {
        EXPECT_EQ(path.string() + " is not well-formed XML (line 1: Document is empty).", error.what());
    }
}

TEST(XMLTree, AMissingFileIsAFileError) {
    const TemporaryFolder folder;
    EXPECT_THROW(XMLDocument::load(folder.path() / "missing"), FileError);
    EXPECT_THROW(XMLDocument::load(folder.path()), FileError);
}

TEST(XMLTree, AMalformedFileIsNamedInTheError) {
    const TemporaryFolder folder;
    const auto path = folder.write("Gig.ardour", "<S>\n");
    try {
        XMLDocument::load(path);
        ADD_FAILURE();
    } catch (const XMLError &error) {
        EXPECT_THAT(error.what(), HasSubstr(path.string() + " is not well-formed XML (line "));
    }
}

/// What the library remembers of an error, and what it has yet to give back, must not lie in a document's
/// memory.
TEST(XMLTree, NothingOfADocumentIsNeededWhenItIsGone) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_THROW(parsed("<S><A a='&undefined;'/>"), XMLError);
        EXPECT_THROW(parsed(std::string(100'000, '<')), XMLError);
        XMLDocument document = parsed("<S><A a='&amp;&#65;'/><B/></S>");
        for (int i = 0; i < 1'000; ++i)
            document.root().append("C").setAttribute("c", std::string(static_cast<std::size_t>(i), 'x'));
        const XMLFragment detached = document.root().firstChild("B").detach();
        document.root().appendCopy(detached.element());
        document.root().firstChild("A").removeAttribute("a");
        EXPECT_THAT(document.serialised(), HasSubstr("<A/>"));
    }
}

TEST(XMLTree, DocumentsAreMadeChangedAndDroppedOnAnyThread) {
    std::vector<std::thread> threads;
    std::vector<std::string> texts(4);
    std::vector<XMLDocument> documents;
    for (std::size_t i = 0; i < texts.size(); ++i)
        documents.push_back(parsed("<S/>"));
    for (std::size_t i = 0; i < texts.size(); ++i)
        threads.emplace_back([&, i] {
            const XMLDocument document = std::move(documents[i]);
            const XMLDocument base = parsed("<S><A a='1'><B/></A></S>");
            for (int copy = 0; copy < 200; ++copy)
                document.root()
                    .appendCopy(base.root().firstChild("A"))
                    .setAttribute("a", std::to_string(copy));
            texts[i] = document.serialised();
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_THAT(texts[0], HasSubstr("<A a=\"199\">"));
    EXPECT_THAT(texts, ::testing::Each(texts[0]));
}

TEST(XMLTree, ATextLongerThanAnyWindowIsReadWhole) {
    std::string text = DECLARATION + "<S>\n";
    for (int i = 0; i < 20'000; ++i)
        text += "  <A name=\"Batería " + std::to_string(i) + "\"/>\n";
    text += "</S>\n";
    const TemporaryFolder folder;
    const auto path = folder.write("Gig.ardour", text);
    XMLDocument::load(path).writeAtomically(path);
    EXPECT_EQ(folder.read("Gig.ardour"), text);
    EXPECT_EQ(parsed(text).serialised(), text);
    EXPECT_THROW(parsed(text.substr(0, text.size() - 5)), XMLError);
}

TEST(XMLTree, ANewDocumentIsBuiltFromNothing) {
    const XMLDocument document = XMLDocument::create("LuaHooks");
    document.root().append("ActionHooks").append("LuaCallback").setAttribute("name", "My Hook");
    EXPECT_EQ(document.serialised(), DECLARATION +
                                         "<LuaHooks>\n  <ActionHooks>\n    <LuaCallback name=\"My Hook\"/>\n"
                                         "  </ActionHooks>\n</LuaHooks>\n");
}

} // namespace
} // namespace corvane
