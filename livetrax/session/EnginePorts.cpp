#include "livetrax/session/EnginePorts.h"

#include "base/Preconditions.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace corvane {

using namespace session;

namespace {

/// The playback channels that direct outs own already.
class TakenChannels {
public:
    bool isFree(std::int64_t first, std::int64_t width) const {
        const std::int64_t end = addingChecked(first, width);
        for (std::int64_t channel = first; channel < end; ++channel)
            if (taken.count(channel) != 0)
                return false;
        return true;
    }

    void take(std::int64_t first, std::int64_t width) {
        const std::int64_t end = addingChecked(first, width);
        for (std::int64_t channel = first; channel < end; ++channel)
            taken.insert(channel);
    }

private:
    std::unordered_set<std::int64_t> taken;
};

/// Lets the generated direct outs whose slot agrees with their patch keep their runs and returns all others,
/// in the order in which they are placed: generated ones first, then preserved ones.
std::vector<SlotClaim *> withoutSettled(std::vector<SlotClaim> &all, TakenChannels &taken) {
    std::vector<SlotClaim *> queue;
    std::vector<SlotClaim *> preserved;
    for (SlotClaim &claim : all) {
        if (claim.isPreserved)
            preserved.push_back(&claim);
        else if (claim.slot >= 1 && claim.connected == claim.slot && taken.isFree(claim.slot, claim.width))
            taken.take(claim.slot, claim.width);
        else
            queue.push_back(&claim);
    }
    queue.insert(queue.end(), preserved.begin(), preserved.end());
    return queue;
}

/// Tells whether any was moved.
bool reassign(std::vector<SlotClaim> &all) {
    TakenChannels taken;
    std::int64_t candidate = 1;
    bool moved = false;
    for (SlotClaim *const claim : withoutSettled(all, taken)) {
        if (claim->slot >= 1 && taken.isFree(claim->slot, claim->width)) {
            taken.take(claim->slot, claim->width);
            if (claim->slot >= candidate)
                candidate = addingChecked(claim->slot, claim->width);
            continue;
        }
        while (!taken.isFree(candidate, claim->width))
            candidate = addingChecked(candidate, std::int64_t{1});
        claim->moveTo(candidate);
        moved = true;
        taken.take(candidate, claim->width);
        candidate = addingChecked(candidate, claim->width);
    }
    return moved;
}

bool needsAny(const std::vector<LV1Channel> &channels, std::int64_t first, std::int64_t width) {
    return std::any_of(channels.begin(), channels.end(), [&](const LV1Channel &channel) {
        const std::int64_t start = std::int64_t{channel.inputIndex()} + 1;
        return start < addingChecked(first, width) && first < start + (channel.stereo() ? 2 : 1);
    });
}

/// The recorder writes slot 0 on a bus's direct out; only its connection says where it goes. Without a slot
/// of its own it would be moved at every update, and lose what it is connected to.
void restoreBusSlots(std::vector<SlotClaim> &all, const std::vector<LV1Channel> &channels) {
    for (SlotClaim &claim : all) {
        if (claim.slot != 0 || !Track(claim.out.route()).isSurelyNoAudioTrack())
            continue;
        if (claim.connected && *claim.connected >= 1 && !needsAny(channels, *claim.connected, claim.width))
            claim.setSlot(*claim.connected);
    }
}

void expectUniqueNames(const std::vector<std::string> &ports) {
    std::unordered_set<std::string_view> names;
    for (const std::string &port : ports)
        if (!names.insert(port).second)
            throw GeneratorError::duplicateEnginePort(port);
}

void expectUniqueSlots(const std::vector<SlotClaim> &claims) {
    std::unordered_set<std::string_view> slots;
    for (const SlotClaim &claim : claims)
        if (claim.text && !slots.insert(*claim.text).second)
            throw GeneratorError::duplicateDirectOutBitSlot(*claim.text);
}

} // namespace

void LiveTraxGenerator::validateUniqueEnginePorts(XMLElement root) {
    expectUniqueNames(EnginePorts(root).names);
}

void LiveTraxGenerator::validateUniqueDirectOutSlots(XMLElement root) {
    expectUniqueSlots(EnginePorts(root).claims);
}

void LiveTraxGenerator::reassignCollidingDirectOutSlots(XMLElement root) {
    EnginePorts all(root);
    reassign(all.claims);
}

SlotClaim::SlotClaim(XMLElement processor)
    : out(processor), text(processor.attribute("bitslot")), slot(text ? integer(*text).value_or(0) : 0),
      width(LiveTraxGenerator::playbackWidth(processor)),
      connected(LiveTraxGenerator::firstPlaybackChannel(processor)),
      isPreserved(LiveTraxGenerator::isPreserved(processor)) {}

void SlotClaim::setSlot(std::int64_t to) {
    slot = to;
    text = std::to_string(to);
    out.setSlot(*text);
}

void SlotClaim::moveTo(std::int64_t first) {
    setSlot(first);
    out.connect(first);
}

void EnginePorts::add(XMLElement top) {
    for (const XMLElement element : top.descendants({"Port", "Processor"})) {
        if (DirectOut::is(element))
            claims.emplace_back(element);
        else if (auto name = element.hasName("Port") ? element.attribute("name") : std::nullopt)
            names.push_back(*std::move(name));
    }
}

bool session::settleEnginePorts(EnginePorts all, const std::vector<LV1Channel> &channels) {
    restoreBusSlots(all.claims, channels);
    const bool moved = reassign(all.claims);
    expectUniqueNames(all.names);
    expectUniqueSlots(all.claims);
    return moved;
}

} // namespace corvane
