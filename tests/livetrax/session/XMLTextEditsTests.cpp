#include "livetrax/session/XMLTextEdits.h"

#include <gtest/gtest.h>

#include <functional>

namespace corvane {
namespace {

using Edit = std::function<void(XMLElement root)>;

std::optional<std::string> edited(const std::string &text, const Edit &edit) {
    const XMLDocument document = XMLDocument::parse(text, "test", XMLDocument::Blanks::keep);
    edit(document.root());
    return textWithEdits(text, document);
}

struct Row {
    const char *name;
    std::string text;
    Edit edit;
    std::string expected;
};

void expectEdits(const std::vector<Row> &table) {
    for (const Row &row : table)
        EXPECT_EQ(edited(row.text, row.edit).value_or("none"), row.expected) << row.name;
}

const Edit nothing = [](XMLElement) {};
const Edit set = [](XMLElement root) { root.setAttribute("a", "2"); };
const Edit add = [](XMLElement root) { root.append("N").setAttribute("n", "1"); };
const Edit addToChild = [](XMLElement root) { root.firstChild().append("N"); };
const Edit addTwo = [](XMLElement root) {
    root.firstChild().append("N");
    root.firstChild().append("M");
};
const Edit setX = [](XMLElement root) { root.setAttribute("x", "2"); };
const Edit addTwoAttributes = [](XMLElement root) {
    root.setAttribute("a", "1");
    root.setAttribute("b", "2");
};
const Edit removeAll = [](XMLElement root) {
    for (XMLElement child : root.children())
        child.remove();
};
const Edit removeFirstAndSetLast = [](XMLElement root) {
    root.firstChild("A").remove();
    root.firstChild("C").setAttribute("a", "2");
};
const Edit removeFirst = [](XMLElement root) { root.firstChild("A").remove(); };

TEST(XMLTextEdits, ATextWithoutEditsIsTheTextThatWasRead) {
    for (const std::string text :
         {"<S/>", "<S ></S >", "<?xml version='1.0' encoding='utf-8'?><S a = 'b'/>\r\n",
          "<S>&#65;&amp;<![CDATA[<A>]]></S><!-- - -->", "<S a='1'><![CDATA[<<]]><A/><![CDATA[>]]><A/></S>",
          "<!DOCTYPE S [<!-- it's < --><!-- isn't > --><!ENTITY e \">\">]><S><A/></S>",
          "<!DOCTYPE S [<!ENTITY e \"]>\"> ]>\n<S>&e;<A/></S>"})
        EXPECT_EQ(edited(text, nothing), std::optional(text));
}

TEST(XMLTextEdits, ValuesAreSetWhereTheyStand) {
    expectEdits({
        {"in double quotes", R"(<S b='1' a="1"/>)", set, R"(<S b='1' a="2"/>)"},
        {"in single quotes, with blanks", "<S  a\n=\t'1' b='1'/>", set, "<S  a\n=\t'2' b='1'/>"},
        {"with references", "<S a='&#49;&amp;&lt;'/>", set, "<S a='2'/>"},
        {"with the other bracket", "<S b='>' a='a > b'>x</S>", set, "<S b='>' a='2'>x</S>"},
        {"empty", "<S a=''/>", set, "<S a='2'/>"},
        {"whose name is a letter of its own", "<S x='1' xx='3'/>", setX, "<S x='2' xx='3'/>"},
        {"equal already", "<S a='&#50;'/>", set, "<S a='&#50;'/>"},
        {"of a prefixed neighbour's name", "<S xmlns:x='u' x:a='1' a='1'/>", set,
         "<S xmlns:x='u' x:a='1' a='2'/>"},
        {"beside one that is called encoding", "<?xml version='1.0'?><S encoding='x' a='1'/>", set,
         "<?xml version='1.0'?><S encoding='x' a='2'/>"},
        {"behind an element of the same name in a comment", "<!-- <S a='1'/> --><S a='1'/>", set,
         "<!-- <S a='1'/> --><S a='2'/>"},
    });
}

TEST(XMLTextEdits, AttributesThatWereNotThereComeLast) {
    expectEdits({
        {"alone", "<S/>", set, "<S a=\"2\"/>"},
        {"alone, with blanks", "<S ></S>", set, "<S a=\"2\" ></S>"},
        {"behind others", "<S b='1'\n/>", set, "<S b='1' a=\"2\"\n/>"},
        {"two", "<S><A/></S>", addTwoAttributes, "<S a=\"1\" b=\"2\"><A/></S>"},
        {"beside a prefixed one of the name", "<S xmlns:x='u' x:a='1'/>", set,
         "<S xmlns:x='u' x:a='1' a=\"2\"/>"},
    });
}

TEST(XMLTextEdits, ValuesAreEscapedForEitherQuote) {
    const std::string value = "<\"'&>\t\n\r\xC3\xA9";
    const auto text = edited("<S a='1'/>", [&](XMLElement root) { root.setAttribute("a", value); });
    ASSERT_TRUE(text);
    EXPECT_EQ(XMLDocument::parse(*text, "test").root().attribute("a"), value);
    EXPECT_EQ(*text, "<S a='&lt;&quot;&#39;&amp;>&#9;&#10;&#13;\xC3\xA9'/>");
}

TEST(XMLTextEdits, ElementsAreAppendedLikeTheirNeighbours) {
    expectEdits({
        {"on one line", "<S><A/></S>", add, "<S><A/><N n=\"1\"/></S>"},
        {"on their own", "<S>\n  <A/>\n</S>", add, "<S>\n  <A/>\n  <N n=\"1\"/>\n</S>"},
        {"with other line breaks", "<S>\r\n\t<A/>\r\n</S>", add, "<S>\r\n\t<A/>\r\n\t<N n=\"1\"/>\r\n</S>"},
        {"behind blank lines", "<S>\n\n  <A/>\n</S>", add, "<S>\n\n  <A/>\n  <N n=\"1\"/>\n</S>"},
        {"in an element that has some", "<S>\n  <A>\n    <B/>\n  </A>\n</S>", addToChild,
         "<S>\n  <A>\n    <B/>\n    <N/>\n  </A>\n</S>"},
        {"before blank lines", "<S>\n  <A/>\n\n</S>", add, "<S>\n  <A/>\n  <N n=\"1\"/>\n\n</S>"},
        {"behind a comment", "<S>\n  <A/>\n <!-- c -->\n</S>", add,
         "<S>\n  <A/>\n <!-- c -->\n  <N n=\"1\"/>\n</S>"},
        {"behind text", "<S>\n  <A/>\nx\n</S>", add, "<S>\n  <A/>\nx\n<N n=\"1\"/></S>"},
        {"in an empty tag", "<S/>", add, "<S><N n=\"1\"/></S>"},
        {"in an empty tag on its line", "<S>\n  <A b='1' />\n</S>", addToChild,
         "<S>\n  <A b='1' >\n    <N/>\n  </A>\n</S>"},
        {"in two tags on their line", "<S>\n  <A></A >\n</S>", addToChild,
         "<S>\n  <A>\n    <N/>\n  </A >\n</S>"},
        {"two in an empty tag", "<S>\n  <A/>\n</S>", addTwo, "<S>\n  <A>\n    <N/>\n    <M/>\n  </A>\n</S>"},
        {"in an element of a prefix", "<S><x:A xmlns:x='u'/></S>", addToChild,
         "<S><x:A xmlns:x='u'><N/></x:A></S>"},
    });
}

TEST(XMLTextEdits, ElementsAreRemovedWithTheirLines) {
    expectEdits({
        {"on one line", "<S><A/><B/></S>", removeFirst, "<S><B/></S>"},
        {"on its own", "<S>\n  <A x='>'>\n <A/> </A>\n  <B/>\n</S>", removeFirst, "<S>\n  <B/>\n</S>"},
        {"with a comment before", "<S>\r\n  <!-- A -->\r\n  <A/>\r\n</S>", removeFirst,
         "<S>\r\n  <!-- A -->\r\n</S>"},
        {"the only one", "<S>\n <A/>\n</S>", removeFirst, "<S>\n</S>"},
        {"behind text", "<S>text\n <A/></S>", removeFirst, "<S>text\n </S>"},
        {"side by side", "<S><A/><B/></S>", removeAll, "<S></S>"},
        {"with what is in it, before something that changes",
         "<S>\n <A>\n  <B/>\n  <B><D/></B>\n </A>\n <C a='1'/>\n</S>", removeFirstAndSetLast,
         "<S>\n <C a='2'/>\n</S>"},
    });
}

TEST(XMLTextEdits, AnElementsDefaultValueIsWrittenOutWhenItChanges) {
    const std::string type = "<!DOCTYPE S [<!ATTLIST S a CDATA \"1\">]>";
    expectEdits({{"default", type + "<S/>", set, type + "<S a=\"2\"/>"}});
}

TEST(XMLTextEdits, WhatItsTextCannotSayIsLeftToTheTree) {
    EXPECT_FALSE(edited("<?xml version='1.0' encoding='ISO-8859-1'?><S a='1'/>", set));
    EXPECT_FALSE(edited("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><S a='1'/>", set));
    EXPECT_FALSE(edited("<S a='1'/>", [](XMLElement root) { root.append("not a name"); }));
    EXPECT_FALSE(edited("<S a='1'/>", [](XMLElement root) { root.removeAttribute("a"); }));
    EXPECT_FALSE(edited("<S/>", [](XMLElement root) { root.append("A").append("B"); }));
    EXPECT_FALSE(edited("<S><A/><B/></S>", [](XMLElement root) {
        XMLElement first = root.firstChild();
        root.append(first.detach()); // behind its sibling
    }));
}

} // namespace
} // namespace corvane
