#pragma once

#include "livetrax/session/EnginePorts.h"
#include "livetrax/session/XMLTree.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace corvane::session {

/// The ports of a session's routes and the connections between them. The recorder keeps each connection at
/// both of its ends: when a track's ports are renamed, the other end must be renamed too, or it would connect
/// to whichever port takes over the old name. Each route is read before it is changed, and what has changed
/// in it right after: a tree is larger than any cache. Internal to livetrax/session.
class SessionPorts {
public:
    /// A route by its place among those that were read.
    using Number = std::size_t;

    /// Reads a route of the session; called for all, in document order.
    Number read(XMLElement route);
    /// Reads a route again that has been mended, also before it is changed.
    void readAgain(Number route) { routes[route] = Route(routes[route].element); }
    /// Records that a track has been configured for its channel.
    void changed(Number route) { routes[route].readNow(); }
    /// Records a new track's route, the session's last. Called once it is configured.
    void added(XMLElement route);
    /// Records that a route goes. Called while it is still in the tree.
    void removed(Number route);
    /// Renames or removes the other ends for all changes at once. A port whose connections come out the same
    /// is not touched. Called once, when all else is recorded.
    void follow();
    /// Those of the whole tree, the parts beside the routes included. Called after `follow`.
    EnginePorts all(XMLElement root);

private:
    struct Connection {
        XMLElement element;
        std::string other; ///< as it was read
    };
    struct Port {
        XMLElement element;
        std::optional<std::string> name;    ///< as it was read
        std::optional<std::string> newName; ///< where it has become another one
        std::vector<Connection> connections;

        const std::optional<std::string> &nameNow() const { return newName ? newName : name; }
    };
    struct Route {
        explicit Route(XMLElement element);
        /// Reads names and slots as they are now.
        void readNow();

        XMLElement element;
        std::vector<Port> ports;
        std::vector<XMLElement> directOuts;
        std::vector<SlotClaim> claims; ///< of the direct outs, once they are read
        bool isNew = false;
        bool isGone = false;
    };
    /// What became of the port that had a name.
    struct Fate {
        XMLElement route;
        std::string_view name;
    };

    void noteNames();
    /// Where a connection leads now; none when it led to a port that is gone.
    std::optional<std::string> following(const Connection &connection, const Port &port,
                                         const Route &route) const;
    /// Whether elements went that stood within a connection.
    bool follow(const Port &port, const Route &route) const;
    void addRoutes(XMLElement list, EnginePorts &all);

    std::vector<Route> routes;                          ///< in document order
    std::unordered_map<std::string_view, Fate> renamed; ///< by the names as they were read
    std::unordered_set<std::string_view> gone;          ///< the names of removed tracks' ports
    std::unordered_set<std::string_view> now;           ///< the names that ports have in the end
    /// The ports of new tracks: what each is connected to.
    std::unordered_map<std::string_view, std::vector<std::string_view>> fresh;
};

} // namespace corvane::session
