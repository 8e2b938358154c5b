#include "livetrax/session/XMLTree.h"

#include "base/XMLCharacters.h"
#include "livetrax/session/TextPieces.h"
#include "livetrax/session/XMLLibrary.h"
#include "platform/files/Files.h"
#include "platform/memory/CurrentArena.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
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

// With the usual allocator the library spends nearly all its time on allocating, freeing and page faults, so
// each document has an arena. Not under the address sanitizer, which is to see each block, and not on macOS:
// there the library is the system's own, and system frameworks have used it in this process before us.
#if defined(__SANITIZE_ADDRESS__) || !defined(CORVANE_DOCUMENT_ARENAS)
constexpr bool documentsHaveArenas = false;
#elif defined(__has_feature)
constexpr bool documentsHaveArenas = !__has_feature(address_sanitizer);
#else
constexpr bool documentsHaveArenas = true;
#endif

/// The arena that a document owns, none where it has none.
Arena *arenaOf(const xmlDoc *document) {
    return static_cast<Arena *>(document->_private);
}

/// While it lives, what the library allocates on this thread belongs to a document. Nothing of the library's
/// own may be among it: it is initialised before, and its memory of the last error is cleared at the end.
class AllocatingFor {
public:
    explicit AllocatingFor(Arena *arena) : current(arena) {}
    explicit AllocatingFor(const xmlNode *node) : AllocatingFor(arenaOf(node->doc)) {}
    ~AllocatingFor() { xmlResetLastError(); }

private:
    CurrentArena current;
};

/// The library's initialisation is not thread-safe; that of a static variable is. Errors that belong to no
/// parser (bytes that do not match the declared encoding, say) it would print: that is switched off on each
/// thread. The reasons meant for users are in the XMLError.
void initialiseLibrary() {
    static const bool initialised = [] {
        if (documentsHaveArenas)
            xmlMemSetup(CurrentArena::release, CurrentArena::allocate, CurrentArena::resize,
                        CurrentArena::duplicate);
        xmlInitParser();
        return true;
    }();
    static_cast<void>(initialised);
    thread_local const bool silent = (xmlSetStructuredErrorFunc(nullptr, [](void *, xmlErrorPtr) {}), true);
    static_cast<void>(silent);
}

/// What `make` makes, in an arena that the document owns from then on.
template <class Make>
xmlDocPtr madeInArena(Make make) {
    initialiseLibrary();
    std::unique_ptr<Arena> arena(documentsHaveArenas ? new Arena : nullptr);
    const AllocatingFor document(arena.get());
    const xmlDocPtr made = make();
    made->_private = arena.release();
    return made;
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
        context.reset(required(xmlNewParserCtxt()));
        context->_private = this;
        events().serror = note;
    }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    xmlSAXHandler &events() { return *context->sax; }

    /// Throws XMLError, and what `next` throws.
    xmlDocPtr read(NextPiece next, const std::string &origin, int options) {
        nextPiece = std::move(next);
        const xmlDocPtr document =
            xmlCtxtReadIO(context.get(), take, nullptr, this, nullptr, nullptr, options);
        if (document != nullptr && !failure && total <= INT_MAX)
            return document;
        xmlFreeDoc(document);
        if (failure)
            std::rethrow_exception(failure);
        if (total > INT_MAX)
            throw XMLError(origin + " is too large to be read as XML.");
        if (tooDeep)
            throw XMLError(origin + " is nested too deeply to be read.");
        throw XMLError(origin + " is not well-formed XML (" + complaint + ").");
    }

private:
    struct Free {
        void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
    };

    /// Called by the library, which knows no exceptions: -1 stops it. It holds no more of the text than a
    /// window.
    static int take(void *parser, char *to, int room) noexcept {
        return static_cast<Parser *>(parser)->take(to, static_cast<std::size_t>(room));
    }

    int take(char *to, std::size_t room) noexcept {
        try {
            if (rest.empty())
                rest = nextPiece();
        } catch (...) {
            failure = std::current_exception();
            return -1;
        }
        const std::size_t count = rest.copy(to, room);
        rest.remove_prefix(count);
        total += count;
        return total > INT_MAX ? -1 : static_cast<int>(count);
    }

    /// Called by the library with its context.
    static void note(void *context, xmlErrorPtr error) noexcept {
        auto &parser = *static_cast<Parser *>(static_cast<xmlParserCtxtPtr>(context)->_private);
        if (error->level != XML_ERR_FATAL || !parser.complaint.empty())
            return;
        // For depth the library advises a parser option, which is of no use to users: we say it ourselves.
        parser.tooDeep = view(xml(error->message)).starts_with("Excessive depth");
        std::string reason = error->message == nullptr ? "unknown reason" : holdableByXML(error->message);
        while (!reason.empty() && (reason.back() == '\n' || reason.back() == ' '))
            reason.pop_back();
        parser.complaint = "line " + std::to_string(error->line) + ": " + reason;
    }

    std::unique_ptr<xmlParserCtxt, Free> context;
    NextPiece nextPiece;
    std::string_view rest;
    std::size_t total = 0;
    std::exception_ptr failure;
    std::string complaint;
    bool tooDeep = false;
};

/// Numbers the elements, in the field of a node that the library leaves to the application.
void numberElements(xmlDocPtr document) {
    const xmlNodePtr root = xmlDocGetRootElement(document);
    std::uintptr_t number = 0;
    for (xmlNodePtr node = root; node != nullptr; node = following(node, root))
        node->_private = std::bit_cast<void *>(++number);
}

xmlDocPtr readInArena(const NextPiece &next, const std::string &origin, XMLDocument::Blanks blanks) {
    const int options = READING | (blanks == XMLDocument::Blanks::drop ? XML_PARSE_NOBLANKS : 0);
    const xmlDocPtr document = madeInArena([&] { return Parser().read(next, origin, options); });
    if (blanks == XMLDocument::Blanks::keep)
        numberElements(document);
    return document;
}

/// Reads a text through without building its tree: the events that make nodes are left out, those that
/// remember entities stay, because references to them are checked.
void checkWellFormed(const NextPiece &next, const std::string &origin) {
    initialiseLibrary();
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
    xmlFreeDoc(parser.read(next, origin, READING));
}

/// Takes a document's text, piece by piece.
struct Output {
    std::function<void(std::string_view)> put;
    std::exception_ptr failure;

    /// Called by the library, which knows no exceptions: -1 stops it.
    static int take(void *output, const char *bytes, int count) noexcept {
        auto &self = *static_cast<Output *>(output);
        try {
            self.put({bytes, static_cast<std::size_t>(count)});
            return count;
        } catch (...) {
            self.failure = std::current_exception();
            return -1;
        }
    }
};

/// Throws XMLError, and what `put` throws.
void serialise(xmlDocPtr document, std::function<void(std::string_view)> put) {
    Output output{std::move(put), {}};
    const xmlSaveCtxtPtr context =
        required(xmlSaveToIO(Output::take, nullptr, &output, "UTF-8", XML_SAVE_FORMAT | XML_SAVE_AS_XML));
    const bool saved = xmlSaveDoc(context, document) >= 0;
    const bool closed = xmlSaveClose(context) >= 0;
    if (output.failure)
        std::rethrow_exception(output.failure);
    if (!saved || !closed)
        throw XMLError("The XML document cannot be written.");
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
    const std::unique_ptr<xmlChar, void (*)(void *)> whole(xmlNodeListGetString(node->doc, text, 1),
                                                           [](void *memory) { xmlFree(memory); });
    return buffer = view(whole.get());
}

std::string XMLAttribute::value() const {
    std::string buffer;
    return std::string(value(buffer));
}

void XMLAttribute::setValue(std::string_view value) {
    const xmlAttrPtr node = XMLHandles::node(*this);
    const xmlNodePtr text = node->children;
    if (text != nullptr && text->next == nullptr && text->type == XML_TEXT_NODE &&
        view(text->content) == value)
        return; // most of what an update sets stands there already
    const AllocatingFor document(node->parent);
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

std::size_t XMLElement::numberAsRead() const {
    return node == nullptr ? 0 : std::bit_cast<std::uintptr_t>(XMLHandles::node(*this)->_private);
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
    const AllocatingFor document(XMLHandles::node(*this));
    required(xmlSetNsProp(XMLHandles::node(*this), nullptr, xml(name), xml(holdableByXML(value).c_str())));
}

void XMLElement::setExistingAttribute(const char *name, std::string_view value) {
    if (XMLAttribute found = findAttribute(name))
        found.setValue(value);
}

void XMLElement::removeAttribute(const char *name) {
    const XMLAttribute found = findAttribute(name);
    if (!found)
        return;
    const AllocatingFor document(XMLHandles::node(*this));
    xmlRemoveProp(XMLHandles::node(found));
}

XMLElement XMLElement::append(const char *name) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    const AllocatingFor document(parent);
    const xmlNodePtr child = required(xmlNewDocNode(parent->doc, nullptr, xml(name), nullptr));
    link(parent, child);
    return XMLHandles::element(child);
}

XMLElement XMLElement::appendCopy(XMLElement source) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    const AllocatingFor document(parent);
    const xmlNodePtr copy = required(xmlDocCopyNode(XMLHandles::node(source), parent->doc, 1));
    link(parent, copy);
    return XMLHandles::element(copy);
}

XMLElement XMLElement::append(XMLFragment fragment) {
    const xmlNodePtr parent = XMLHandles::node(*this);
    // A node's texts belong to its document: only a copy can go into another one.
    if (XMLHandles::node(fragment.element())->doc != parent->doc)
        return appendCopy(fragment.element());
    const AllocatingFor document(parent);
    const XMLElement child = fragment.release();
    link(parent, XMLHandles::node(child));
    return child;
}

XMLFragment XMLElement::detach() {
    const AllocatingFor document(XMLHandles::node(*this));
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
    if (!owned)
        return;
    const AllocatingFor document(XMLHandles::node(owned));
    xmlFreeNode(XMLHandles::node(owned));
}

XMLElement XMLFragment::release() {
    return std::exchange(owned, XMLElement());
}

// XMLDocument

void XMLDocument::Free::operator()(void *document) const {
    const auto tree = static_cast<xmlDocPtr>(document);
    if (documentsHaveArenas)
        delete arenaOf(tree); // and the tree with it
    else
        xmlFreeDoc(tree);
}

XMLDocument XMLDocument::load(const std::filesystem::path &path, Blanks blanks) {
    const FileHandle file = FileHandle::openForReading(path);
    return XMLDocument(readInArena(piecesOf(file), path.string(), blanks));
}

XMLDocument XMLDocument::parse(std::string_view text, const std::string &origin, Blanks blanks) {
    return XMLDocument(readInArena(piecesOf(text), origin, blanks));
}

XMLDocument XMLDocument::create(const char *rootName) {
    return XMLDocument(madeInArena([&] {
        const xmlDocPtr document = required(xmlNewDoc(xml("1.0")));
        xmlDocSetRootElement(document, required(xmlNewDocNode(document, nullptr, xml(rootName), nullptr)));
        return document;
    }));
}

std::string xmlLibraryVersion() {
    return LIBXML_DOTTED_VERSION;
}

XMLElement XMLDocument::root() const {
    return XMLHandles::element(xmlDocGetRootElement(static_cast<xmlDocPtr>(document.get())));
}

std::string XMLDocument::serialised() const {
    std::string text;
    serialise(static_cast<xmlDocPtr>(document.get()), [&](std::string_view piece) { text += piece; });
    return text;
}

void XMLDocument::writeAtomically(const std::filesystem::path &path) && {
    XMLDocument tree = std::move(*this);
    const auto writeAndLetGo = [&](const FileHandle &file) {
        PieceWriter writer(file);
        serialise(static_cast<xmlDocPtr>(tree.document.get()),
                  [&](std::string_view piece) { writer.write(piece); });
        writer.finish();
        tree.document.reset();
    };
    replaceFileAtomically(path, writeAndLetGo, [&](const FileHandle &file) {
        checkWellFormed(piecesFromBeginning(file), "The text for " + path.string());
    });
}

} // namespace corvane
