#include "livetrax/session/XMLTree.h"

#include "base/Preconditions.h"
#include "base/XMLCharacters.h"
#include "platform/files/Files.h"
#include "platform/queues/Alongside.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace corvane {

/// From our handles to the library's nodes and back.
struct XMLHandles {
    static xmlNodePtr node(XMLElement element) { return static_cast<xmlNodePtr>(element.node); }
    static XMLElement element(xmlNodePtr node) { return XMLElement(node); }
    static xmlAttrPtr node(XMLAttribute attribute) { return static_cast<xmlAttrPtr>(attribute.attribute); }
    static XMLAttribute attribute(xmlAttrPtr attribute) { return XMLAttribute(attribute); }
};

namespace {

// Entity references stay references, nothing is fetched or repaired, and the library's limits on depth,
// length and entity expansion stay in force.
constexpr int READING =
    XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_COMPACT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

const xmlChar *xml(const char *text) {
    return reinterpret_cast<const xmlChar *>(text);
}
const char *chars(const xmlChar *text) {
    return reinterpret_cast<const char *>(text);
}
std::string_view view(const xmlChar *text) {
    return text == nullptr ? std::string_view() : chars(text);
}

/// The library's own initialisation is not safe on two threads at once; the language's is. What the library
/// reports to nobody in particular, on bytes that are not in the encoding they claim, say, it would print: it
/// is told on each thread not to. The reasons that are for people come with the XMLError.
void initialiseLibrary() {
    static const bool initialised = (xmlInitParser(), true);
    static_cast<void>(initialised);
    thread_local const bool silent = (xmlSetStructuredErrorFunc(nullptr, [](void *, xmlErrorPtr) {}), true);
    static_cast<void>(silent);
}

template <class Pointer>
Pointer required(Pointer pointer) {
    if (pointer == nullptr)
        throw std::bad_alloc();
    return pointer;
}

bool isUnprefixed(const xmlNs *space) {
    return space == nullptr || space->prefix == nullptr;
}

/// `node` or its first following sibling that is an element, of the name if one is given.
xmlNodePtr elementFrom(xmlNodePtr node) {
    while (node != nullptr && node->type != XML_ELEMENT_NODE)
        node = node->next;
    return node;
}

bool isNamed(const xmlNode *node, std::string_view name) {
    return std::strncmp(chars(node->name), name.data(), name.size()) == 0 && node->name[name.size()] == 0 &&
           isUnprefixed(node->ns);
}

xmlNodePtr elementFrom(xmlNodePtr node, std::string_view name) {
    while (node != nullptr && (node->type != XML_ELEMENT_NODE || !isNamed(node, name)))
        node = node->next;
    return node;
}

/// The element after `node` in document order, at or below `top`; null after the last one.
xmlNodePtr following(xmlNodePtr node, xmlNodePtr top) {
    if (const xmlNodePtr child = elementFrom(node->children))
        return child;
    for (; node != top; node = node->parent)
        if (const xmlNodePtr sibling = elementFrom(node->next))
            return sibling;
    return nullptr;
}

/// The line break and indentation that a blank text node ends with; empty when `node` is anything else.
std::string_view indentation(const xmlNode *node) {
    if (node == nullptr || node->type != XML_TEXT_NODE || xmlIsBlankNode(node) == 0)
        return {};
    const std::string_view text = view(node->content);
    const std::size_t lineBreak = text.rfind('\n');
    return lineBreak == std::string_view::npos ? std::string_view() : text.substr(lineBreak);
}

xmlNodePtr newText(xmlDocPtr document, const std::string &text) {
    return required(xmlNewDocTextLen(document, xml(text.c_str()), static_cast<int>(text.size())));
}

xmlNodePtr lastElement(xmlNodePtr node) {
    while (node != nullptr && node->type != XML_ELEMENT_NODE)
        node = node->prev;
    return node;
}

/// Links a node as the last child, on a line of its own where its neighbours stand on theirs.
void link(xmlNodePtr parent, xmlNodePtr node) {
    const xmlNodePtr neighbour = lastElement(parent->last);
    const std::string outer(indentation(parent->prev));
    std::string inner(neighbour == nullptr ? std::string_view() : indentation(neighbour->prev));
    if (neighbour == nullptr && !outer.empty())
        inner = outer + "  ";

    const xmlNodePtr closing = parent->last;
    if (!inner.empty() && closing != nullptr && !indentation(closing).empty()) {
        xmlAddPrevSibling(closing, node);
        xmlAddPrevSibling(node, newText(parent->doc, inner));
    } else if (!inner.empty() && closing == nullptr) {
        xmlAddChild(parent, newText(parent->doc, inner));
        xmlAddChild(parent, node);
        xmlAddChild(parent, newText(parent->doc, outer));
    } else {
        xmlAddChild(parent, node);
    }
}

void unlink(xmlNodePtr node) {
    const xmlNodePtr before = node->prev;
    xmlUnlinkNode(node);
    if (!indentation(before).empty()) {
        xmlUnlinkNode(before);
        xmlFreeNode(before);
    }
}

/// One reading of one text. Remembers the first thing that it could not accept: what the library complains of
/// after that is mostly a consequence.
class Parser {
public:
    Parser() {
        initialiseLibrary();
        context.reset(required(xmlNewParserCtxt()));
        context->_private = this;
        events().serror = note;
    }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    xmlSAXHandler &events() { return *context->sax; }

    xmlDocPtr read(std::string_view text, const std::string &origin, int options) {
        if (text.size() > INT_MAX)
            throw XMLError(origin + " is too large to be read as XML.");
        const xmlDocPtr document =
            xmlCtxtReadMemory(context.get(), text.empty() ? "" : text.data(), static_cast<int>(text.size()),
                              nullptr, nullptr, options);
        if (document == nullptr && tooDeep)
            throw XMLError(origin + " is nested too deeply to be read.");
        if (document == nullptr)
            throw XMLError(origin + " is not well-formed XML (" + obstacle + ").");
        return document;
    }

private:
    struct Free {
        void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
    };

    /// Called by the library with its context.
    static void note(void *context, xmlErrorPtr error) noexcept {
        std::string &obstacle =
            static_cast<Parser *>(static_cast<xmlParserCtxtPtr>(context)->_private)->obstacle;
        if (error->level != XML_ERR_FATAL || !obstacle.empty())
            return;
        // The library's advice is for programmers.
        static_cast<Parser *>(static_cast<xmlParserCtxtPtr>(context)->_private)->tooDeep =
            view(xml(error->message)).starts_with("Excessive depth");
        std::string reason = error->message == nullptr ? "unknown reason" : holdableByXML(error->message);
        while (!reason.empty() && (reason.back() == '\n' || reason.back() == ' '))
            reason.pop_back();
        obstacle = "line " + std::to_string(error->line) + ": " + reason;
    }

    std::unique_ptr<xmlParserCtxt, Free> context;
    std::string obstacle;
    bool tooDeep = false;
};

/// Reads a text through without building its tree: the events that make nodes are left out, those that
/// remember entities stay, because references to them are checked.
void checkWellFormed(std::string_view text, const std::string &origin) {
    Parser parser;
    xmlSAXHandler &events = parser.events();
    events.startElementNs = nullptr;
    events.endElementNs = nullptr;
    events.characters = nullptr;
    events.ignorableWhitespace = nullptr;
    events.cdataBlock = nullptr;
    events.comment = nullptr;
    events.processingInstruction = nullptr;
    events.reference = nullptr;
    xmlFreeDoc(parser.read(text, origin, READING));
}

/// Called by the library, which knows no exceptions: -1 stops it.
int appendTo(void *text, const char *bytes, int count) {
    try {
        static_cast<std::string *>(text)->append(bytes, static_cast<std::size_t>(count));
        return count;
    } catch (const std::exception &) {
        return -1;
    }
}

std::string serialise(xmlDocPtr document) {
    std::string text;
    const xmlSaveCtxtPtr context =
        required(xmlSaveToIO(appendTo, nullptr, &text, "UTF-8", XML_SAVE_FORMAT | XML_SAVE_AS_XML));
    const bool saved = xmlSaveDoc(context, document) >= 0;
    const bool closed = xmlSaveClose(context) >= 0;
    if (!saved || !closed)
        throw XMLError("The XML document cannot be written.");
    return text;
}

} // namespace

// XMLAttribute

std::string_view XMLAttribute::name() const {
    return view(XMLHandles::node(*this)->name);
}

std::string_view XMLAttribute::value(std::string &buffer) const {
    const xmlAttrPtr node = XMLHandles::node(*this);
    const xmlNodePtr text = node->children;
    if (text == nullptr)
        return {};
    if (text->next == nullptr && text->type == XML_TEXT_NODE)
        return view(text->content);
    xmlChar *const whole = xmlNodeListGetString(node->doc, text, 1);
    buffer = view(whole);
    xmlFree(whole);
    return buffer;
}

std::string XMLAttribute::value() const {
    std::string buffer;
    return std::string(value(buffer));
}

void XMLAttribute::setValue(std::string_view value) {
    const xmlAttrPtr node = XMLHandles::node(*this);
    required(xmlSetNsProp(node->parent, node->ns, node->name, xml(holdableByXML(value).c_str())));
}

XMLAttribute XMLAttribute::next() const {
    return XMLHandles::attribute(XMLHandles::node(*this)->next);
}

// XMLElement

std::string_view XMLElement::name() const {
    return node == nullptr ? std::string_view() : view(XMLHandles::node(*this)->name);
}

bool XMLElement::hasName(std::string_view wanted) const {
    return node != nullptr && isNamed(XMLHandles::node(*this), wanted);
}

XMLElement XMLElement::parent() const {
    const xmlNodePtr above = node == nullptr ? nullptr : XMLHandles::node(*this)->parent;
    return XMLHandles::element(above != nullptr && above->type == XML_ELEMENT_NODE ? above : nullptr);
}

XMLElement XMLElement::firstChild() const {
    return XMLHandles::element(node == nullptr ? nullptr : elementFrom(XMLHandles::node(*this)->children));
}

XMLElement XMLElement::firstChild(std::string_view name) const {
    return XMLHandles::element(node == nullptr ? nullptr
                                               : elementFrom(XMLHandles::node(*this)->children, name));
}

XMLElement XMLElement::firstChild(std::string_view name, const char *attribute,
                                  std::string_view value) const {
    for (const XMLElement child : children(name))
        if (child.attributeIs(attribute, value))
            return child;
    return {};
}

XMLElement XMLElement::next() const {
    return XMLHandles::element(node == nullptr ? nullptr : elementFrom(XMLHandles::node(*this)->next));
}

XMLElement XMLElement::next(std::string_view name) const {
    return XMLHandles::element(node == nullptr ? nullptr : elementFrom(XMLHandles::node(*this)->next, name));
}

XMLChildren XMLElement::children() const {
    return {firstChild(), {}};
}

XMLChildren XMLElement::children(std::string_view name) const {
    return {firstChild(name), {name}};
}

std::vector<XMLElement> XMLElement::descendants(std::initializer_list<std::string_view> names) const {
    std::vector<XMLElement> found;
    const xmlNodePtr top = XMLHandles::node(*this);
    for (xmlNodePtr node = top; node != nullptr; node = following(node, top))
        for (const std::string_view name : names)
            if (isNamed(node, name))
                found.push_back(XMLHandles::element(node));
    return found;
}

XMLAttributes XMLElement::attributes() const {
    return {XMLHandles::attribute(node == nullptr ? nullptr : XMLHandles::node(*this)->properties), {}};
}

XMLAttribute XMLElement::findAttribute(const char *name) const {
    xmlAttrPtr attribute = node == nullptr ? nullptr : XMLHandles::node(*this)->properties;
    while (attribute != nullptr &&
           (std::strcmp(chars(attribute->name), name) != 0 || !isUnprefixed(attribute->ns)))
        attribute = attribute->next;
    return XMLHandles::attribute(attribute);
}

std::optional<std::string> XMLElement::attribute(const char *name) const {
    const XMLAttribute found = findAttribute(name);
    return found ? std::optional(found.value()) : std::nullopt;
}

bool XMLElement::attributeIs(const char *name, std::string_view value) const {
    const XMLAttribute found = findAttribute(name);
    std::string buffer;
    return found && found.value(buffer) == value;
}

void XMLElement::setAttribute(const char *name, std::string_view value) {
    required(xmlSetNsProp(XMLHandles::node(*this), nullptr, xml(name), xml(holdableByXML(value).c_str())));
}

void XMLElement::setExistingAttribute(const char *name, std::string_view value) {
    if (XMLAttribute found = findAttribute(name))
        found.setValue(value);
}

void XMLElement::removeAttribute(const char *name) {
    if (const XMLAttribute found = findAttribute(name))
        xmlRemoveProp(XMLHandles::node(found));
}

XMLElement XMLElement::append(const char *name) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    const xmlNodePtr child = required(xmlNewDocNode(parent->doc, nullptr, xml(name), nullptr));
    link(parent, child);
    return XMLHandles::element(child);
}

XMLElement XMLElement::appendCopy(XMLElement source) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    const xmlNodePtr copy = required(xmlDocCopyNode(XMLHandles::node(source), parent->doc, 1));
    link(parent, copy);
    return XMLHandles::element(copy);
}

XMLElement XMLElement::append(XMLFragment fragment) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    // A node's texts belong to its document: only a copy can go into another one.
    if (XMLHandles::node(fragment.element())->doc != parent->doc)
        return appendCopy(fragment.element());
    const XMLElement child = fragment.release();
    link(parent, XMLHandles::node(child));
    return child;
}

XMLFragment XMLElement::detach() {
    unlink(XMLHandles::node(*this));
    return XMLFragment(*this);
}

void XMLElement::remove() {
    const XMLFragment gone = detach();
}

// XMLFragment

XMLFragment &XMLFragment::operator=(XMLFragment &&other) noexcept {
    std::swap(owned, other.owned);
    return *this;
}

XMLFragment::~XMLFragment() {
    if (owned)
        xmlFreeNode(XMLHandles::node(owned));
}

XMLElement XMLFragment::release() {
    return std::exchange(owned, XMLElement());
}

// XMLDocument

void XMLDocument::Free::operator()(void *document) const {
    xmlFreeDoc(static_cast<xmlDocPtr>(document));
}

XMLDocument XMLDocument::load(const std::filesystem::path &path, Blanks blanks) {
    const Bytes bytes = readFile(path);
    return parse({reinterpret_cast<const char *>(bytes.data()), bytes.size()}, path.string(), blanks);
}

XMLDocument XMLDocument::parse(std::string_view text, const std::string &origin, Blanks blanks) {
    const int options = READING | (blanks == Blanks::drop ? XML_PARSE_NOBLANKS : 0);
    return XMLDocument(Parser().read(text, origin, options));
}

XMLDocument XMLDocument::create(const char *rootName) {
    initialiseLibrary();
    XMLDocument made(required(xmlNewDoc(xml("1.0"))));
    const auto document = static_cast<xmlDocPtr>(made.document.get());
    xmlDocSetRootElement(document, required(xmlNewDocNode(document, nullptr, xml(rootName), nullptr)));
    return made;
}

XMLElement XMLDocument::root() const {
    return XMLHandles::element(xmlDocGetRootElement(static_cast<xmlDocPtr>(document.get())));
}

std::string XMLDocument::serialised() const {
    return serialise(static_cast<xmlDocPtr>(document.get()));
}

void XMLDocument::writeAtomically(const std::filesystem::path &path) && {
    XMLDocument tree = std::move(*this);
    const std::string text = tree.serialised();
    // Read back while the tree is taken down and the disk is busy; the old file stays until both are done.
    Alongside readBack([&] { checkWellFormed(text, "The text for " + path.string()); });
    tree.document.reset();
    replaceFileAtomically(path, text, [&] { readBack.join(); });
}

} // namespace corvane
