#include "livetrax/session/EnginePorts.h"

#include "base/Preconditions.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/Track.h"

#include <algorithm>
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

/// A direct out and the run of playback channels that it claims.
struct Claim {
    explicit Claim(DirectOut out) : out(out), slot(out.slot()), width(out.width()) {}
    DirectOut out;
    std::int64_t slot;
    std::int64_t width;
};

/// Lets the generated direct outs whose slot agrees with their patch keep their runs and returns all others,
/// in the order in which they are placed: generated ones first, then preserved ones.
std::vector<Claim> withoutSettled(const std::vector<DirectOut> &all, TakenChannels &taken) {
    std::vector<Claim> queue;
    std::vector<Claim> preserved;
    for (const DirectOut out : all) {
        const Claim claim(out);
        if (LiveTraxGenerator::isPreserved(out.element()))
            preserved.push_back(claim);
        else if (claim.slot >= 1 && out.firstPlaybackChannel() == claim.slot &&
                 taken.isFree(claim.slot, claim.width))
            taken.take(claim.slot, claim.width);
        else
            queue.push_back(claim);
    }
    queue.insert(queue.end(), preserved.begin(), preserved.end());
    return queue;
}

void reassign(const std::vector<DirectOut> &all) {
    TakenChannels taken;
    std::int64_t candidate = 1;
    for (Claim claim : withoutSettled(all, taken)) {
        if (claim.slot >= 1 && taken.isFree(claim.slot, claim.width)) {
            taken.take(claim.slot, claim.width);
            if (claim.slot >= candidate)
                candidate = addingChecked(claim.slot, claim.width);
            continue;
        }
        while (!taken.isFree(candidate, claim.width))
            candidate = addingChecked(candidate, std::int64_t{1});
        claim.out.moveTo(candidate);
        taken.take(candidate, claim.width);
        candidate = addingChecked(candidate, claim.width);
    }
}

bool needsAny(const std::vector<LV1Channel> &channels, std::int64_t first, std::int64_t width) {
    return std::any_of(channels.begin(), channels.end(), [&](const LV1Channel &channel) {
        const std::int64_t start = std::int64_t{channel.inputIndex()} + 1;
        return start < addingChecked(first, width) && first < start + (channel.stereo() ? 2 : 1);
    });
}

/// The recorder writes slot 0 on a bus's direct out; only its connection says where it goes. Without a slot
/// of its own it would be moved at every update, and lose what it is connected to.
void restoreBusSlots(const std::vector<DirectOut> &all, const std::vector<LV1Channel> &channels) {
    for (DirectOut out : all) {
        if (out.slot() != 0 || !Track(out.route()).isSurelyNoAudioTrack())
            continue;
        const auto first = out.firstPlaybackChannel();
        if (first && *first >= 1 && !needsAny(channels, *first, out.width()))
            out.setSlot(*first);
    }
}

void expectUniquePorts(const std::vector<XMLElement> &ports) {
    std::unordered_set<std::string> names;
    for (const XMLElement port : ports) {
        const auto name = port.attribute("name");
        if (name && !names.insert(*name).second)
            throw GeneratorError::duplicateEnginePort(*name);
    }
}

void expectUniqueSlots(const std::vector<DirectOut> &directOuts) {
    std::unordered_set<std::string> slots;
    for (const DirectOut out : directOuts) {
        const auto slot = out.slotText();
        if (slot && !slots.insert(*slot).second)
            throw GeneratorError::duplicateDirectOutBitSlot(*slot);
    }
}

} // namespace

void LiveTraxGenerator::validateUniqueEnginePorts(XMLElement root) {
    expectUniquePorts(EnginePorts(root).ports);
}

void LiveTraxGenerator::validateUniqueDirectOutSlots(XMLElement root) {
    expectUniqueSlots(EnginePorts(root).directOuts);
}

void LiveTraxGenerator::reassignCollidingDirectOutSlots(XMLElement root) {
    reassign(EnginePorts(root).directOuts);
}

void session::settleEnginePorts(XMLElement root, const std::vector<LV1Channel> &channels) {
    const EnginePorts all(root);
    restoreBusSlots(all.directOuts, channels);
    reassign(all.directOuts);
    expectUniquePorts(all.ports);
    expectUniqueSlots(all.directOuts);
}

} // namespace corvane
