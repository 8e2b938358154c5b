#pragma once

namespace corvane {

/// An open socket that started programs do not inherit, and that raises no signal when its peer is gone; -1
/// with errno when there is none.
int openSocket(int family, int type);

/// Keeps everything that this process has open, but for the standard streams, from the programs it starts.
/// For libraries that open descriptors without saying so.
void closeEverythingOnExec();

} // namespace corvane
