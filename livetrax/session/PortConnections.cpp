#include "livetrax/session/PortConnections.h"

#include <algorithm>

namespace corvane::session {
namespace {

std::string nameOf(XMLElement port) {
    return port.attribute("name").value_or("");
}

} // namespace

PortConnections::PortConnections(XMLElement routes) {
    for (const XMLElement route : routes.children("Route")) {
        for (const XMLElement port : portsOf(route)) {
            ports.push_back({port, route, nameOf(port), {}});
            forEachInnerConnection(port, [&](XMLElement connection, const std::string &other) {
                ports.back().connections.push_back({connection, other});
            });
        }
    }
}

void PortConnections::added(Track track) {
    for (const XMLElement port : portsOf(track.element())) {
        auto &others = fresh[nameOf(port)];
        forEachInnerConnection(port, [&](XMLElement, const std::string &other) { others.push_back(other); });
    }
}

void PortConnections::removed(Track track) {
    const auto isIts = [&](const Port &port) { return port.route == track.element(); };
    for (const Port &port : ports)
        if (isIts(port))
            gone.insert(port.name);
    ports.erase(std::remove_if(ports.begin(), ports.end(), isIts), ports.end());
}

void PortConnections::noteNames() {
    for (const Port &port : ports) {
        const std::string name = nameOf(port.element);
        now.insert(name);
        renamed.emplace(port.name, Fate{port.route, name}); // of two of one name the first counts
    }
    for (const auto &[name, others] : fresh)
        now.insert(name);
}

std::optional<std::string> PortConnections::following(const Connection &connection, const Port &port) const {
    const auto fate = renamed.find(connection.other);
    if (fate != renamed.end() && fate->second.route != port.route)
        return fate->second.name;
    // It leads to a port that is gone, or led nowhere and would now lead to a stranger of that name.
    const bool isLost =
        fate == renamed.end() && gone.count(connection.other) + now.count(connection.other) != 0;
    if (!isLost)
        return connection.element.attribute("other"); // its own route's ports are named already
    // A new track may have taken name and connection over.
    const auto taken = fresh.find(connection.other);
    const bool connectedAnew = taken != fresh.end() && std::count(taken->second.begin(), taken->second.end(),
                                                                  nameOf(port.element)) != 0;
    return connectedAnew ? std::optional(connection.other) : std::nullopt;
}

void PortConnections::follow(const Port &port) const {
    std::vector<std::string> before;
    std::vector<std::string> after;
    std::vector<std::optional<std::string>> others;
    for (const Connection &connection : port.connections) {
        others.push_back(following(connection, port));
        before.push_back(connection.other);
        if (others.back())
            after.push_back(*others.back());
    }
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    const bool isUnchanged = before == after;
    for (std::size_t index = 0; index < others.size(); ++index) {
        XMLElement connection = port.connections[index].element;
        // A track that feeds itself may have renamed its own one already.
        if (isUnchanged && connection.attribute("other") == port.connections[index].other)
            continue;
        if (isUnchanged)
            connection.setExistingAttribute("other", port.connections[index].other);
        else if (others[index])
            connection.setExistingAttribute("other", *others[index]);
        else
            connection.remove();
    }
}

void PortConnections::follow() {
    noteNames();
    for (const Port &port : ports)
        follow(port);
}

} // namespace corvane::session
