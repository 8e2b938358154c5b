#pragma once

namespace corvane {

/// A descriptor on which something can be read whenever a network interface or an IPv4 address has come or
/// gone; what it is says nothing more. -1 when there is none. Whoever asks for it closes it.
int openNetworkChanges();

} // namespace corvane
