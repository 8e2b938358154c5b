#pragma once

#include "livetrax/session/XMLTree.h"

namespace corvane::session {

/// Gives every direct out of a session a run of playback channels of its own, then checks that port names and
/// direct-out ids are unique; one walk over the tree for what three operations of LiveTraxGenerator do with
/// one each. Throws GeneratorError. Internal to livetrax/session.
void settleEnginePorts(XMLElement root);

} // namespace corvane::session
