#pragma once

#include "platform/rehearsal/Rehearsal.h"

namespace corvane {

/// Whether every program that holds the UDP port takes part in the rehearsal. A holder that cannot be found
/// out (a program of another user) does not.
bool isUDPPortHeldByParticipants(std::uint16_t port, const Rehearsal &rehearsal);

} // namespace corvane
