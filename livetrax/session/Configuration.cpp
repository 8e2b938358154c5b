#include "base/Text.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/RecorderConfiguration.h"
#include "livetrax/session/XMLTextEdits.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace corvane {
namespace {

using Path = std::filesystem::path;

// What earlier versions installed in LiveTrax.
constexpr std::array oldScripts = {"corvane_sync.lua", "corvane_probe.lua"};
constexpr std::array oldExchangeFiles = {"live-sync.tsv", "live-sync.result"};
constexpr std::string_view oldHooks[] = {"Corvane Sync", "Corvane Tick", "Corvane Probe"};

std::string textOf(const Path &file) {
    const Bytes bytes = readFile(file);
    return {bytes.begin(), bytes.end()};
}

/// Whether all that a text lacks to be a document is its root element: there is a prolog, and it is in order.
bool lacksOnlyRoot(const std::string &text) {
    if (trimmed(text).empty())
        return false;
    try {
        XMLDocument::parse(text + "<root/>", "");
        return true;
    } catch (const XMLError &) {
        return false;
    }
}

XMLDocument parseConfiguration(const std::string &text, const Path &file) {
    // Blanks are kept: the user's own lines stay as they are.
    try {
        return XMLDocument::parse(text, file.string(), XMLDocument::Blanks::keep);
    } catch (const XMLError &) {
        if (lacksOnlyRoot(text))
            throw GeneratorError::invalidTemplate();
        throw;
    }
}

/// Puts an edited document in place of the file that it was read from: as the file's own text with the edits,
/// so that all else stays byte for byte; where that cannot be, as the library writes it.
void writeEdited(const Path &file, const std::string &text, XMLDocument document) {
    if (const auto edited = textWithEdits(text, document))
        replaceFileAtomically(file, *edited);
    else
        std::move(document).writeAtomically(file);
}

void removeIgnoringErrors(const Path &file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

bool isOldHook(XMLElement callback) {
    return std::any_of(std::begin(oldHooks), std::end(oldHooks),
                       [&](std::string_view name) { return callback.attributeIs("name", name); });
}

/// Takes the old hooks out of LiveTrax's list; a list without any is not written.
void stripOldHooks(const Path &file) {
    const std::string text = textOf(file);
    XMLDocument document = XMLDocument::parse(text, file.string(), XMLDocument::Blanks::keep);
    bool changed = false;
    for (XMLElement callback : document.root().firstChild("ActionHooks").children("LuaCallback")) {
        if (isOldHook(callback)) {
            callback.remove();
            changed = true;
        }
    }
    if (changed)
        writeEdited(file, text, std::move(document));
}

} // namespace

void LiveTraxGenerator::setConfigOption(const std::string &name, const std::string &value,
                                        XMLElement config) {
    if (XMLElement option = config.firstChild("Option", "name", name)) {
        option.setExistingAttribute("value", value);
        return;
    }
    XMLElement option = config.append("Option");
    option.setAttribute("name", name);
    option.setAttribute("value", value);
}

void LiveTraxGenerator::enableOSC(XMLElement root) {
    if (const XMLElement config = root.firstChild("Config")) {
        setConfigOption("osc-port", std::to_string(liveTraxSurface::port), config);
        setConfigOption("use-osc", "1", config);
    }
    XMLElement surface =
        root.firstChild("ControlProtocols").firstChild("Protocol", "name", RecorderConfiguration::oscSurface);
    if (!surface)
        return;
    surface.setExistingAttribute("active", "1");
    surface.setAttribute("session-state", "1");
}

void LiveTraxGenerator::ensureOSCEnabled(const StandardFolders &folders, const Target &target) {
    const Path preferences = preferencesFolder(folders, target.preferences);
    const Path file = preferences / "config";
    if (!fileExists(file))
        return; // LiveTrax was never started by this user
    const std::string text = textOf(file);
    XMLDocument document = parseConfiguration(text, file);
    enableOSC(document.root());
    const Path backup = preferences / "config.corvane-backup";
    if (!fileExists(backup))
        copyFile(file, backup);
    writeEdited(file, text, std::move(document));
}

void LiveTraxGenerator::removeUnusedSyncHook(const StandardFolders &folders, const Target &target) {
    const Path preferences = preferencesFolder(folders, target.preferences);
    for (const char *name : oldScripts)
        removeIgnoringErrors(preferences / "scripts" / name);
    for (const char *name : oldExchangeFiles)
        removeIgnoringErrors(supportFolder(folders) / name);
    const Path hooks = preferences / "ui_scripts";
    if (!fileExists(hooks))
        return;
    try {
        stripOldHooks(hooks);
    } catch (const std::exception &) {
        // Old hooks do no harm; they are tried again at the next launch.
    }
}

} // namespace corvane
