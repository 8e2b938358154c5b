#include "app/ButtonMeaning.h"

#include "base/Quotation.h"

namespace corvane {

namespace {

using Link = ButtonFacts::Link;
using Comparison = ButtonFacts::Comparison;

const char *redMeaning(Link link) {
    switch (link) {
    case Link::greeting:
        return "Red: the console is being greeted";
    case Link::up:
        return "Red: the console has not sent its patch yet";
    default:
        return "Red: no console is connected";
    }
}

std::string colourMeaning(const ButtonFacts &facts) {
    if (facts.red)
        return redMeaning(facts.link) +
               std::string(facts.changesPending ? ", and there are changes since the last sync." : ".");
    if (facts.changesPending)
        return facts.justSynced ? "Green: synced, but the console's patch has changed since."
                                : "Amber: the console's patch has changed.";
    if (facts.link == Link::greeting)
        return "Green: the patch is synced; the console is being greeted.";
    if (facts.link != Link::up)
        return "Green: the patch is synced; no console is connected now.";
    switch (facts.comparison) {
    case Comparison::none:
        return "Green: the first patch since the start; no session was compared with it.";
    case Comparison::session:
        return "Green: " + quotation(facts.session.value_or("")) + " has the console's patch.";
    case Comparison::differs:
        return "Green: the first patch since the start; " + quotation(facts.session.value_or("")) +
               " differs from it.";
    case Comparison::sync:
        return "Green: no changes since the last sync.";
    }
    return {};
}

std::string pressMeaning(const ButtonFacts &facts) {
    if (!facts.changesPending)
        return facts.hostSelected ? "Press to connect to the chosen host." : "Press to search again.";
    if (facts.updateUnderWay)
        return "An update is under way; press to be asked again.";
    if (!facts.session)
        return "Press to accept the patch for the next session.";
    return "Press to update " + quotation(*facts.session) + (facts.justSynced ? " again." : ".");
}

} // namespace

std::string connectMeaning(const ButtonFacts &facts) {
    std::string text = colourMeaning(facts) + " " + pressMeaning(facts);
    const std::string session = quotation(facts.session.value_or(""));
    if (facts.session && text.find(session) == std::string::npos)
        text += " The session is " + session + ".";
    return text;
}

std::string createMeaning(const ButtonFacts &facts) {
    if (facts.channelsKnown && facts.channelsForCreate == 0)
        return "Makes no LiveTrax session now: the synchronised patch has no channels. Press SYNC LV1.";
    const std::string of = counted(facts.channelsForCreate, "channel", "channels");
    if (facts.channelsForCreate == 0)
        return "Makes a LiveTrax session with one armed track for each channel and opens it. "
               "Possible once the console's channels are known.";
    if (facts.changesPending)
        return "Makes a LiveTrax session of the " + of +
               " of the last sync and opens it. The changes since are not in it.";
    const std::string which = facts.link == Link::up ? "console's " + of : of + " that the console had last";
    return "Makes a LiveTrax session of the " + which + ", one armed track for each, and opens it.";
}

} // namespace corvane
