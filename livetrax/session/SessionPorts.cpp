#include "livetrax/session/SessionPorts.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace corvane::session {
namespace {

/// A port without a name is found by an empty one.
std::string_view orEmpty(const std::optional<std::string> &name) {
    return name ? std::string_view(*name) : std::string_view();
}

} // namespace

SessionPorts::Route::Route(XMLElement element) : element(element) {
    for (const XMLElement each : element.descendants({"Port", "Processor"})) {
        if (!each.hasName("Port")) {
            if (DirectOut::is(each))
                directOuts.push_back(each);
            continue;
        }
        Port &port = ports.emplace_back(Port{each, each.attribute("name"), {}, {}});
        forEachInnerConnection(each, [&](XMLElement connection, const std::string &other) {
            port.connections.push_back({connection, other});
        });
    }
}

void SessionPorts::Route::readNow() {
    for (Port &port : ports)
        if (auto name = port.element.attribute("name"); name != port.name)
            port.newName = std::move(name);
    claims = std::vector<SlotClaim>(directOuts.begin(), directOuts.end());
}

SessionPorts::Number SessionPorts::read(XMLElement route) {
    routes.emplace_back(route);
    return routes.size() - 1;
}

void SessionPorts::added(XMLElement route) {
    static_assert(std::is_nothrow_move_constructible_v<Route>, "views of its texts stay valid");
    Route &made = routes.emplace_back(route);
    made.isNew = true;
    for (const Port &port : made.ports) {
        auto &others = fresh[orEmpty(port.name)];
        for (const Connection &connection : port.connections)
            others.push_back(connection.other);
    }
}

void SessionPorts::removed(Number route) {
    routes[route].isGone = true;
    for (const Port &port : routes[route].ports)
        gone.insert(orEmpty(port.name));
}

void SessionPorts::noteNames() {
    for (const Route &route : routes) {
        if (route.isGone)
            continue;
        for (const Port &port : route.ports) {
            now.insert(orEmpty(port.nameNow()));
            if (!route.isNew) // of two of one name the first counts
                renamed.emplace(orEmpty(port.name), Fate{route.element, orEmpty(port.nameNow())});
        }
    }
}

std::optional<std::string> SessionPorts::following(const Connection &connection, const Port &port,
                                                   const Route &route) const {
    const auto fate = renamed.find(connection.other);
    if (fate != renamed.end() && fate->second.route != route.element)
        return std::string(fate->second.name);
    // It leads to a port that is gone, or led nowhere and would now lead to a stranger of that name.
    const bool isLost =
        fate == renamed.end() && gone.count(connection.other) + now.count(connection.other) != 0;
    if (!isLost)
        return connection.element.attribute("other"); // its own route's ports are named already
    // A new track may have taken name and connection over.
    const auto taken = fresh.find(connection.other);
    const bool connectedAnew = taken != fresh.end() && std::count(taken->second.begin(), taken->second.end(),
                                                                  orEmpty(port.nameNow())) != 0;
    return connectedAnew ? std::optional(connection.other) : std::nullopt;
}

bool SessionPorts::follow(const Port &port, const Route &route) const {
    std::vector<std::string> before;
    std::vector<std::string> after;
    std::vector<std::optional<std::string>> others;
    for (const Connection &connection : port.connections) {
        others.push_back(following(connection, port, route));
        before.push_back(connection.other);
        if (others.back())
            after.push_back(*others.back());
    }
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    const bool isUnchanged = before == after;
    bool tookElements = false;
    for (std::size_t index = 0; index < others.size(); ++index) {
        XMLElement connection = port.connections[index].element;
        // A track that feeds itself may have renamed its own one already.
        if (isUnchanged && connection.attribute("other") == port.connections[index].other)
            continue;
        if (isUnchanged) {
            connection.setExistingAttribute("other", port.connections[index].other);
        } else if (others[index]) {
            connection.setExistingAttribute("other", *others[index]);
        } else {
            const XMLFragment gone = connection.detach();
            tookElements = tookElements || gone.element().firstChild();
        }
    }
    return tookElements;
}

void SessionPorts::follow() {
    noteNames();
    std::vector<Route *> incomplete;
    for (Route &route : routes) {
        if (route.isNew || route.isGone)
            continue;
        // The last port first: what went with a connection that it stood in has been looked at by then.
        bool tookElements = false;
        for (auto port = route.ports.rbegin(); port != route.ports.rend(); ++port)
            tookElements = follow(*port, route) || tookElements;
        if (tookElements)
            incomplete.push_back(&route);
    }
    for (Route *const route : incomplete)
        *route = Route(route->element);
}

EnginePorts SessionPorts::all(XMLElement root) {
    EnginePorts all;
    const XMLElement list = root.firstChild("Routes");
    for (const XMLElement part : root.children()) {
        if (part == list)
            addRoutes(list, all);
        else
            all.add(part);
    }
    return all;
}

void SessionPorts::addRoutes(XMLElement list, EnginePorts &all) {
    auto known = routes.begin();
    for (const XMLElement element : list.children()) {
        while (known != routes.end() && known->isGone)
            ++known;
        if (known == routes.end() || known->element != element) {
            all.add(element);
            continue;
        }
        if (known->claims.size() != known->directOuts.size())
            known->readNow();
        for (const Port &port : known->ports)
            if (port.name)
                all.names.push_back(*port.nameNow());
        all.claims.insert(all.claims.end(), known->claims.begin(), known->claims.end());
        ++known;
    }
}

} // namespace corvane::session
