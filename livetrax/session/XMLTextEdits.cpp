#include "livetrax/session/XMLTextEdits.h"

#include "base/Text.h"
#include "base/UTF8.h"

#include <algorithm>
#include <vector>

namespace corvane {
namespace {

constexpr std::string_view blanks = " \t\r\n";

struct AttributePlace {
    std::string_view name;
    std::size_t value = 0; ///< behind the opening quote
    std::size_t end = 0;   ///< at the closing one
};

/// Where an element stands in a text.
struct ElementPlace {
    std::size_t begin = 0;   ///< at its "<"
    std::size_t nameEnd = 0; ///< behind its name
    std::vector<AttributePlace> attributes;
    std::size_t tagEnd = 0;  ///< behind its start tag
    std::size_t closing = 0; ///< at its end tag; where the start tag is all of it, at the "/"
    std::size_t end = 0;     ///< behind all of it
    bool isStartTagAlone = false;
};

/// Finds the elements of a text that is known to be well formed. What it could not find its way in is no such
/// text: it then stops, and finds fewer.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text(text) {}

    /// In document order.
    std::vector<ElementPlace> elements() {
        while ((at = text.find('<', at)) != npos) {
            if (skipped("<!--", "-->") || skipped("<?", "?>") || skipped("<![CDATA[", "]]>"))
                continue;
            if (startsWith("<!"))
                skipDocumentType();
            else if (startsWith("</"))
                endTag();
            else
                startTag();
        }
        return std::move(found);
    }

private:
    static constexpr std::size_t npos = std::string_view::npos;

    bool startsWith(std::string_view what) const { return text.substr(at).starts_with(what); }

    void moveBehind(std::string_view what) {
        at = text.find(what, at);
        at = at == npos ? text.size() : at + what.size();
    }

    bool skipped(std::string_view opening, std::string_view closing) {
        if (!startsWith(opening))
            return false;
        at += opening.size();
        moveBehind(closing);
        return true;
    }

    void skipQuoted() {
        const std::string_view quote = text.substr(at, 1);
        ++at;
        moveBehind(quote);
    }

    /// Its declarations may hold any "<" and ">" in quotes and comments.
    void skipDocumentType() {
        int open = 0;
        while (at < text.size()) {
            if (skipped("<!--", "-->") || skipped("<?", "?>"))
                continue;
            const char c = text[at];
            if (c == '"' || c == '\'') {
                skipQuoted();
                continue;
            }
            open += c == '<' ? 1 : c == '>' ? -1 : 0;
            ++at;
            if (open == 0)
                return;
        }
    }

    void startTag() {
        ElementPlace element;
        element.begin = at;
        element.nameEnd = at = std::min(text.find_first_of(" \t\r\n/>", at), text.size());
        while ((at = std::min(text.find_first_not_of(blanks, at), text.size())) < text.size() &&
               text[at] != '/' && text[at] != '>')
            element.attributes.push_back(attribute());
        element.closing = at;
        element.isStartTagAlone = startsWith("/");
        moveBehind(">");
        element.tagEnd = element.end = at;
        if (!element.isStartTagAlone)
            open.push_back(found.size());
        found.push_back(std::move(element));
    }

    AttributePlace attribute() {
        AttributePlace place;
        const std::size_t nameEnd = std::min(text.find_first_of(" \t\r\n=", at), text.size());
        place.name = text.substr(at, nameEnd - at);
        at = std::min(text.find_first_of("\"'", nameEnd), text.size());
        place.value = std::min(at + 1, text.size());
        if (at < text.size())
            skipQuoted();
        place.end = at - 1;
        return place;
    }

    void endTag() {
        const std::size_t closing = at;
        moveBehind(">");
        if (open.empty())
            return;
        ElementPlace &element = found[open.back()];
        element.closing = closing;
        element.end = at;
        open.pop_back();
    }

    std::string_view text;
    std::size_t at = 0;
    std::vector<ElementPlace> found;
    std::vector<std::size_t> open;
};

/// A value as it is written in quotes of either kind.
std::string escaped(std::string_view value) {
    std::string result;
    for (const char c : value) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        case '\t':
        case '\n':
        case '\r':
            result += "&#" + std::to_string(int{c}) + ";";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string written(XMLAttribute attribute) {
    return " " + std::string(attribute.name()) + "=\"" + escaped(attribute.value()) + "\"";
}

std::string written(XMLElement element) {
    std::string text = "<" + std::string(element.name());
    for (const XMLAttribute attribute : element.attributes())
        text += written(attribute);
    return text + "/>";
}

/// All elements of a tree in document order.
void collect(XMLElement element, std::vector<XMLElement> &to) {
    to.push_back(element);
    for (const XMLElement child : element.children())
        collect(child, to);
}

/// Finds what is to be changed in a text, so that it reads as an edited tree.
class Edits {
public:
    Edits(std::string_view text, const std::vector<XMLElement> &before)
        : text(text), before(before), places(Scanner(text).elements()), isKept(before.size(), false) {}

    /// Whether each element of the tree that was read has its place.
    bool fitTheText() const { return places.size() == before.size(); }

    std::string made(XMLElement editedRoot) {
        edit(editedRoot);
        removeWhatIsGone();
        return applied();
    }

private:
    struct Change {
        std::size_t begin;
        std::size_t end;
        std::string replacement;
    };

    void edit(XMLElement element) {
        const std::size_t index = element.numberAsRead() - 1;
        isKept[index] = true;
        editAttributes(element, before[index], places[index]);
        std::vector<XMLElement> added;
        XMLElement neighbour;
        for (const XMLElement child : element.children()) {
            if (child.numberAsRead() == 0) {
                added.push_back(child);
            } else {
                edit(child);
                neighbour = child;
            }
        }
        if (!added.empty())
            append(added, element, neighbour);
    }

    void editAttributes(XMLElement element, XMLElement old, const ElementPlace &place) {
        for (const XMLAttribute attribute : element.attributes()) {
            const std::string name(attribute.name());
            if (element.findAttribute(name.c_str()) != attribute ||
                old.attributeIs(name.c_str(), attribute.value()))
                continue; // a prefixed name is another one, and is never set
            const auto found = std::find_if(place.attributes.begin(), place.attributes.end(),
                                            [&](const AttributePlace &each) { return each.name == name; });
            const std::size_t last =
                place.attributes.empty() ? place.nameEnd : place.attributes.back().end + 1;
            if (found != place.attributes.end())
                changes.push_back({found->value, found->end, escaped(attribute.value())});
            else
                changes.push_back({last, last, written(attribute)});
        }
    }

    /// The line break and the blanks that stand directly before a place, where something other than text
    /// stands before them.
    std::string_view indentationBefore(std::size_t place) const {
        const std::size_t begin = blanksBefore(place);
        std::size_t lineBreak = text.substr(0, place).rfind('\n');
        if (!text.substr(0, begin).ends_with('>') || lineBreak == std::string_view::npos || lineBreak < begin)
            return {};
        if (lineBreak > begin && text[lineBreak - 1] == '\r')
            --lineBreak;
        return text.substr(lineBreak, place - lineBreak);
    }

    std::size_t blanksBefore(std::size_t place) const {
        return text.substr(0, place).find_last_not_of(blanks) + 1;
    }

    /// Elements at the end of another one, on lines of their own where `neighbour`, the last that was there,
    /// or the parent stands on its own: as the tree does it.
    void append(const std::vector<XMLElement> &added, XMLElement parent, XMLElement neighbour) {
        const ElementPlace &place = places[parent.numberAsRead() - 1];
        const std::string outer(parent.parent() ? indentationBefore(place.begin) : std::string_view());
        std::string inner;
        if (neighbour)
            inner = indentationBefore(places[neighbour.numberAsRead() - 1].begin);
        else if (!outer.empty())
            inner = outer + "  ";

        const bool isEmpty = place.tagEnd == place.closing || place.isStartTagAlone;
        const bool closesOnItsLine = !isEmpty && !indentationBefore(place.closing).empty();
        if (!isEmpty && !closesOnItsLine)
            inner.clear();
        std::string content;
        for (const XMLElement element : added)
            content += inner + written(element);
        if (isEmpty && !inner.empty())
            content += outer;
        if (place.isStartTagAlone) {
            const std::string name(text.substr(place.begin + 1, place.nameEnd - place.begin - 1));
            changes.push_back({place.closing, place.end, ">" + content + "</" + name + ">"});
        } else {
            const std::size_t at = closesOnItsLine ? blanksBefore(place.closing) : place.closing;
            changes.push_back({at, at, content});
        }
    }

    /// An element that is gone took everything in it along, and the blanks before it with their line break.
    void removeWhatIsGone() {
        for (std::size_t i = 0; i < places.size(); ++i) {
            const ElementPlace &place = places[i];
            if (isKept[i])
                continue;
            const bool hasLine = !indentationBefore(place.begin).empty();
            changes.push_back({hasLine ? blanksBefore(place.begin) : place.begin, place.end, ""});
        }
    }

    std::string applied() {
        std::stable_sort(changes.begin(), changes.end(),
                         [](const Change &left, const Change &right) { return left.begin < right.begin; });
        std::string result;
        std::size_t at = 0;
        for (const Change &change : changes) {
            if (change.begin < at)
                continue; // within what is gone
            result.append(text.substr(at, change.begin - at)).append(change.replacement);
            at = change.end;
        }
        return result.append(text.substr(at));
    }

    std::string_view text;
    const std::vector<XMLElement> &before;
    std::vector<ElementPlace> places;
    std::vector<bool> isKept;
    std::vector<Change> changes;
};

/// Whether the text says of itself that it is in another encoding.
bool claimsAnotherEncoding(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    if (text.starts_with(mark))
        text.remove_prefix(mark.size());
    if (!text.starts_with("<?xml"))
        return false;
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const std::size_t encoding = declaration.find("encoding");
    if (encoding == std::string_view::npos)
        return false;
    const std::size_t quote = declaration.find_first_of("\"'", encoding);
    const std::string_view name = declaration.substr(std::min(quote, declaration.size() - 1) + 1);
    constexpr std::string_view wanted = "utf-8";
    return !equalIgnoringCase(name.substr(0, wanted.size()), wanted);
}

} // namespace

std::optional<std::string> textWithEdits(std::string_view text, const XMLDocument &edited) {
    if (claimsAnotherEncoding(text) || !isValidUTF8(text))
        return std::nullopt;
    constexpr auto keep = XMLDocument::Blanks::keep;
    try {
        const XMLDocument original = XMLDocument::parse(text, "", keep);
        std::vector<XMLElement> before;
        collect(original.root(), before);
        Edits edits(text, before);
        if (!edits.fitTheText())
            return std::nullopt;
        std::string made = edits.made(edited.root());
        if (XMLDocument::parse(made, "", keep).serialised() == edited.serialised())
            return made;
    } catch (const XMLError &) {
        // The tree can hold what its text could not say.
    }
    return std::nullopt;
}

} // namespace corvane
