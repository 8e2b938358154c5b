#pragma once

#include "livetrax/session/XMLTree.h"
#include "lv1/LV1Channel.h"

#include <vector>

namespace corvane::session {

/// Makes a session's port names and playback channels consistent, in one walk over the tree. First, direct
/// outs of buses whose slot the recorder has written as 0 get their slots back, unless a channel of the
/// console needs them; then every direct out gets a run of playback channels of its own; last, port names and
/// direct-out ids are checked to be unique. The last two are what three operations of LiveTraxGenerator do
/// one by one. Throws GeneratorError. Internal to livetrax/session.
void settleEnginePorts(XMLElement root, const std::vector<LV1Channel> &channels);

} // namespace corvane::session
