#pragma once

namespace corvane {

/// A descriptor that becomes readable whenever a network interface or an IPv4 address has come or gone; the
/// bytes themselves say nothing more. -1 when there is none. The caller closes it.
int openNetworkChanges();

} // namespace corvane
