#pragma once

namespace corvane {

/// An open socket that started programs do not inherit, and that raises no signal when its peer is gone; -1
/// with errno when there is none.
int openSocket(int family, int type);

/// Has the system notice that the peer of a TCP socket has fallen silent (cable pulled, computer dead) and
/// break the connection: probed after 5 s of silence and every 2 s from then on, it fails at the third
/// unanswered probe. Data that stays unacknowledged for as long (11 s) breaks it too, and so does an
/// unanswered attempt to connect. Options that the system lacks are skipped.
void noticeSilentPeer(int descriptor);

/// Keeps everything that this process has open, but for the standard streams, from the programs it starts.
/// For libraries that open descriptors without saying so.
void closeEverythingOnExec();

} // namespace corvane
