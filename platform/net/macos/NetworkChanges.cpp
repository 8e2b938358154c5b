#include "platform/net/NetworkChanges.h"

#include "platform/net/Sockets.h"

#include <sys/socket.h>

namespace corvane {

int openNetworkChanges() {
    return openSocket(PF_ROUTE, SOCK_RAW);
}

} // namespace corvane
