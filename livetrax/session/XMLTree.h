#pragma once

#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

class XMLFragment;

/// A file that is not well-formed XML, or a tree that cannot be written as one. The text is for the user to
/// read.
class XMLError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A view of one attribute, as cheap to copy as a pointer. Valid while its element has it.
class XMLAttribute {
public:
    XMLAttribute() = default;
    explicit operator bool() const { return attribute != nullptr; }
    bool operator==(const XMLAttribute &) const = default;

    std::string_view name() const;
    std::string value() const;
    /// The value without a copy where the tree holds it in one piece; else (it refers to entities) it is put
    /// together in `buffer`. Valid until either changes.
    std::string_view value(std::string &buffer) const;
    /// Characters that XML 1.0 cannot hold become U+FFFD.
    void setValue(std::string_view value);
    /// The next attribute of the same element, in document order.
    XMLAttribute next() const;

private:
    friend struct XMLHandles;
    explicit XMLAttribute(void *attribute) : attribute(attribute) {}
    void *attribute = nullptr;
};

/// Elements or attributes in document order, for a range-based for loop. The one that the loop stands on may
/// be removed inside the loop.
template <class Step>
class XMLRange {
public:
    using Item = typename Step::Item;

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Item;
        using difference_type = std::ptrdiff_t;
        using pointer = const Item *;
        using reference = Item;

        iterator() = default;
        iterator(Item item, Step step)
            : step(step), item(item), following(item ? step.after(item) : Item()) {}
        Item operator*() const { return item; }
        iterator &operator++() {
            *this = iterator(following, step);
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(const iterator &other) const { return item == other.item; }

    private:
        Step step;
        Item item;
        Item following;
    };

    XMLRange(Item first, Step step) : first(first), step(step) {}
    iterator begin() const { return {first, step}; }
    iterator end() const { return {}; }
    bool empty() const { return !first; }

private:
    Item first;
    Step step;
};

struct XMLAttributeStep {
    using Item = XMLAttribute;
    XMLAttribute after(XMLAttribute attribute) const { return attribute.next(); }
};

struct XMLChildStep;
using XMLAttributes = XMLRange<XMLAttributeStep>;
using XMLChildren = XMLRange<XMLChildStep>;

/// A view of one element in a document, as cheap to copy as a pointer; may be no element at all, and then has
/// no name, no parent, no children and no attributes. Valid while the document lives and the element stays in
/// it. Names are qualified ones without a prefix: what carries a namespace prefix is found by no name.
class XMLElement {
public:
    XMLElement() = default;
    explicit operator bool() const { return node != nullptr; }
    bool operator==(const XMLElement &) const = default;

    std::string_view name() const;
    bool hasName(std::string_view wanted) const;
    /// The element it stands in; none for a root and for a detached element.
    XMLElement parent() const;
    /// Its place among the elements as they were read, counted from 1 in document order; 0 when it was added
    /// since, or when blanks were dropped on reading.
    std::size_t numberAsRead() const;

    /// The first child element, the first of a name, or the first of a name whose attribute has a value.
    XMLElement firstChild() const;
    XMLElement firstChild(std::string_view name) const;
    XMLElement firstChild(std::string_view name, const char *attribute, std::string_view value) const;
    /// The next sibling element, or the next of that name.
    XMLElement next() const;
    XMLElement next(std::string_view name) const;
    /// All child elements, or all of that name (which outlives the range).
    XMLChildren children() const;
    XMLChildren children(std::string_view name) const;

    /// Those of these names among the element itself and all elements below it, depth first in document
    /// order.
    std::vector<XMLElement> descendants(std::initializer_list<std::string_view> names) const;

    XMLAttributes attributes() const;
    /// The attribute itself; none when the element lacks it.
    XMLAttribute findAttribute(const char *name) const;
    std::optional<std::string> attribute(const char *name) const;
    bool hasAttribute(const char *name) const { return static_cast<bool>(findAttribute(name)); }
    /// Whether the element has the attribute, with exactly this value.
    bool attributeIs(const char *name, std::string_view value) const;
    /// Sets an attribute, adding it as the last when it is missing. Characters that XML 1.0 cannot hold
    /// become U+FFFD.
    void setAttribute(const char *name, std::string_view value);
    /// Sets an attribute that is there already; otherwise changes nothing.
    void setExistingAttribute(const char *name, std::string_view value);
    void removeAttribute(const char *name);

    /// Adds a new, empty last child. Where blanks were kept it is indented like its neighbours, and so is
    /// what the next two functions add.
    XMLElement append(const char *name);
    /// Adds a deep copy of an element of this or another document as the last child.
    XMLElement appendCopy(XMLElement source);
    /// Adds an element that belongs to nobody, of this or another document, as the last child.
    XMLElement append(XMLFragment fragment);

    /// Takes the element out of its document, with everything in it and the blanks before it.
    XMLFragment detach();
    /// Removes the element and everything in it. This and every view into it are invalid afterwards.
    void remove();

private:
    friend struct XMLHandles;
    explicit XMLElement(void *node) : node(node) {}
    void *node = nullptr;
};

struct XMLChildStep {
    using Item = XMLElement;
    std::optional<std::string_view> name;
    XMLElement after(XMLElement element) const { return name ? element.next(*name) : element.next(); }
};

/// Owns an element that stands in no document at present. The document that it came from must live on.
class XMLFragment {
public:
    explicit XMLFragment(XMLElement element) : owned(element) {}
    XMLFragment(XMLFragment &&other) noexcept : owned(other.release()) {}
    XMLFragment &operator=(XMLFragment &&other) noexcept;
    ~XMLFragment();

    XMLElement element() const { return owned; }

private:
    friend class XMLElement;
    XMLElement release();

    XMLElement owned;
};

/// A whole XML document in memory. Comments, processing instructions, CDATA sections, entity references and
/// the DOCTYPE's internal subset stay as they were read. Documents are independent of each other: each may be
/// used on any one thread at a time.
class XMLDocument {
public:
    /// Whether white space between elements is dropped (and the file indented afresh when it is written) or
    /// kept.
    enum class Blanks { drop, keep };

    /// Reads a file. Throws FileError when it cannot be read and XMLError when it is not well-formed.
    static XMLDocument load(const std::filesystem::path &path, Blanks blanks = Blanks::drop);
    /// Reads a text; `origin` says in an XMLError where it came from.
    static XMLDocument parse(std::string_view text, const std::string &origin, Blanks blanks = Blanks::drop);
    /// A new document of one empty element.
    static XMLDocument create(const char *rootName);

    XMLElement root() const;

    /// The document as indented UTF-8 text. Throws XMLError.
    std::string serialised() const;
    /// Replaces a file by the document, but only after the written text has been read back as well-formed.
    /// Frees the tree on the way, even when it throws. Throws XMLError and FileError, and then the old file
    /// stands.
    void writeAtomically(const std::filesystem::path &path) &&;

private:
    struct Free {
        void operator()(void *document) const;
    };
    explicit XMLDocument(void *document) : document(document) {}

    std::unique_ptr<void, Free> document;
};

} // namespace corvane
