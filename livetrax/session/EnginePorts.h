#pragma once

#include "livetrax/session/XMLTree.h"
#include "lv1/LV1Channel.h"

#include <vector>

namespace corvane::session {

/// Gives back the buses' direct outs the slots that the recorder has written as 0, where no channel of the
/// console needs them, then gives every direct out of a session a run of playback channels of its own, then
/// checks that port names and direct-out ids are unique; one walk over the tree for what three operations of
/// LiveTraxGenerator do with one each. Throws GeneratorError. Internal to livetrax/session.
void settleEnginePorts(XMLElement root, const std::vector<LV1Channel> &channels);

} // namespace corvane::session
