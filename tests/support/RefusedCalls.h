#pragma once

#include <functional>

namespace corvane {

// What a system may refuse, as inside a strict container. Linux only.

/// Runs `action` on a thread of its own, where that thread and those that it starts can set no socket option:
/// each call fails with EPERM. False, and nothing is run, where the system cannot do so.
bool withoutSocketOptions(const std::function<void()> &action);

/// The same, where the system cannot be asked for its network interfaces or for changes of them.
bool withoutInterfaceLists(const std::function<void()> &action);

/// The same, where no socket of IPv4 is to be had: EMFILE.
bool withoutSockets(const std::function<void()> &action);

/// The same, where no socket gets a port of its own: EACCES.
bool withoutPorts(const std::function<void()> &action);

/// The same, where no file gets a second name, as on a drive that was formatted for cameras, and `error` says
/// why.
bool withoutHardLinks(int error, const std::function<void()> &action);

/// The same, where files can be looked at and not be opened: EMFILE.
bool withoutOpening(const std::function<void()> &action);

/// The same, where each new file's name is said to be taken: EEXIST.
bool withoutNewNames(const std::function<void()> &action);

/// The same, where descriptors are closed one by one only, as by systems of some years ago.
bool withoutClosingRanges(const std::function<void()> &action);

} // namespace corvane
