#pragma once

#include "livetrax/session/Track.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace corvane::session {

/// The connections between the routes of a session. The recorder keeps each at both of its ends: when a
/// track's ports are renamed, the other end must be renamed too, or it would connect to whichever port takes
/// over the old name. Made before tracks are changed. Internal to livetrax/session.
class PortConnections {
public:
    explicit PortConnections(XMLElement routes);

    /// Records a new track. Called once its ports have their names.
    void added(Track track);
    /// Records that a track goes. Called while it is still in the tree.
    void removed(Track track);
    /// Renames or removes the other ends for all changes at once. A port whose connections come out the same
    /// is not touched.
    void follow();

private:
    struct Connection {
        XMLElement element;
        std::string other; ///< as it was read
    };
    struct Port {
        XMLElement element;
        XMLElement route;
        std::string name; ///< as it was read
        std::vector<Connection> connections;
    };
    /// What became of the port that had a name.
    struct Fate {
        XMLElement route;
        std::string name;
    };

    void noteNames();
    /// Where a connection leads now; none when it led to a port that is gone.
    std::optional<std::string> following(const Connection &connection, const Port &port) const;
    void follow(const Port &port) const;

    std::vector<Port> ports;
    std::unordered_map<std::string, Fate> renamed; ///< by the names as they were read
    std::unordered_set<std::string> gone;          ///< the names of removed tracks' ports
    std::unordered_set<std::string> now;           ///< the names that ports have in the end
    /// The ports of new tracks: what each is connected to.
    std::unordered_map<std::string, std::vector<std::string>> fresh;
};

} // namespace corvane::session
