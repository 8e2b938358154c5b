// The measure for whole commands: what an XML library alone needs for a file.
//
//     bare_xml load|save|pugixml-load|pugixml-save|copy FILE [RESULT]
//
// "load" reads and parses, "save" also serialises and writes, both with libxml2 as the engine uses it but
// with the allocator that every program has; "copy" is a copy that is flushed to disk, as the history keeps
// them.

#include "platform/files/Files.h"

#include <libxml/parser.h>
#include <libxml/xmlsave.h>
#include <pugixml.hpp>

#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <string>

namespace {

using Path = std::filesystem::path;

xmlDocPtr loaded(const Path &file) {
    const corvane::Bytes bytes = corvane::readFile(file);
    return xmlReadMemory(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()),
                         nullptr, nullptr,
                         XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_COMPACT | XML_PARSE_NOBLANKS);
}

int appendTo(void *text, const char *bytes, int count) {
    static_cast<std::string *>(text)->append(bytes, static_cast<std::size_t>(count));
    return count;
}

bool load(const Path &file, const Path &) {
    const xmlDocPtr document = loaded(file);
    xmlFreeDoc(document);
    return document != nullptr;
}

bool save(const Path &file, const Path &result) {
    const xmlDocPtr document = loaded(file);
    std::string text;
    const xmlSaveCtxtPtr context =
        xmlSaveToIO(appendTo, nullptr, &text, "UTF-8", XML_SAVE_FORMAT | XML_SAVE_AS_XML);
    xmlSaveDoc(context, document);
    xmlSaveClose(context);
    xmlFreeDoc(document);
    return static_cast<bool>(std::ofstream(result, std::ios::binary) << text);
}

bool pugixmlLoad(const Path &file, const Path &) {
    pugi::xml_document document;
    return static_cast<bool>(document.load_file(file.c_str(), pugi::parse_full));
}

bool pugixmlSave(const Path &file, const Path &result) {
    pugi::xml_document document;
    return document.load_file(file.c_str(), pugi::parse_full) && document.save_file(result.c_str(), "  ");
}

bool copy(const Path &file, const Path &result) {
    std::filesystem::remove(result);
    corvane::copyFile(file, result);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    const std::map<std::string, bool (*)(const Path &, const Path &)> operations{
        {"load", load},
        {"save", save},
        {"pugixml-load", pugixmlLoad},
        {"pugixml-save", pugixmlSave},
        {"copy", copy}};
    const auto operation = argc >= 3 ? operations.find(argv[1]) : operations.end();
    if (operation == operations.end()) {
        std::fputs("bare_xml load|save|pugixml-load|pugixml-save|copy FILE [RESULT]\n", stderr);
        return 2;
    }
    return operation->second(argv[2], argc > 3 ? argv[3] : "") ? 0 : 1;
}
