#include "livetrax/session/RecorderConfiguration.h"

#include "livetrax/LiveTraxSurface.h"
#include "platform/files/Files.h"

namespace corvane {

namespace {

constexpr const char *portOption = "osc-port";
constexpr const char *useOption = "use-osc";

std::string deviceText(XMLElement state) {
    const auto part = [&](const char *name) { return state.attribute(name).value_or(""); };
    return part("backend") + ";" + part("driver") + ";" + part("device") + " at " + part("sample-rate");
}

} // namespace

bool RecorderConfiguration::surfaceIsOn() const {
    const auto is = [&](const char *name, const std::string &wanted) {
        const auto found = options.find(name);
        return found != options.end() && found->second == wanted;
    };
    const bool otherPort =
        options.count(portOption) > 0 && !is(portOption, std::to_string(liveTraxSurface::port));
    return !otherPort && surfaceActive.value_or(is(useOption, "1"));
}

RecorderConfiguration configurationOf(XMLElement root) {
    RecorderConfiguration found;
    for (const XMLElement option : root.firstChild("Config").children("Option")) {
        const std::string name = option.attribute("name").value_or("");
        if (name == portOption || name == useOption)
            found.options.emplace(name, option.attribute("value").value_or(""));
    }
    if (const XMLElement surface = root.firstChild("ControlProtocols")
                                       .firstChild("Protocol", "name", RecorderConfiguration::oscSurface))
        found.surfaceActive = surface.attributeIs("active", "1");
    for (const XMLElement state :
         root.firstChild("Extra").firstChild("AudioMIDISetup").firstChild("EngineStates").children("State"))
        found.devices.push_back(deviceText(state));
    return found;
}

std::optional<RecorderConfiguration> readConfiguration(const std::filesystem::path &preferences) {
    const auto file = preferences / "config";
    if (!fileExists(file))
        return std::nullopt;
    return configurationOf(XMLDocument::load(file).root());
}

} // namespace corvane
