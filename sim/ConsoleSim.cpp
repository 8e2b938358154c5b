#include "sim/ConsoleSim.h"

#include "sim/ConsoleAnnouncer.h"
#include "sim/ConsoleCommands.h"
#include "sim/ConsoleVisitor.h"

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace corvane::sim {

using asio::ip::tcp;

namespace {

ConsoleState stateOf(const ConsoleSimOptions &options) {
    auto state = bandOnStage();
    if (options.channels)
        state.channels = *options.channels;
    return state;
}

/// The bytes that a text of hexadecimal digits and blanks stands for; none when it is something else.
std::optional<Bytes> bytesOf(const std::string &text) {
    Bytes bytes;
    std::string digits;
    for (const char c : text) {
        if (c == ' ')
            continue;
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return std::nullopt;
        digits += c;
        if (digits.size() == 2) {
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return digits.empty() ? std::optional(bytes) : std::nullopt;
}

} // namespace

class ConsoleSim::Server {
public:
    Server(ConsoleSim &sim, ConsoleSimOptions given);

    asio::io_context loop;
    std::vector<std::shared_ptr<ConsoleVisitor>> visitors;
    bool trickles = false;

    std::uint16_t port() const { return acceptor.local_endpoint().port(); }
    std::optional<std::string> command(const std::string &line);
    void readCommands(int descriptor);
    void quitOnSignals();
    void drop();
    void reset();

private:
    void listen();
    void accept();
    void welcome(tcp::socket socket);
    void pingLater();
    void announceNow();
    void readMore();
    void takeLines(const char *bytes, std::size_t count);
    void takeLine();
    template <class Tell>
    void tellAll(Tell tell);

    ConsoleSim &sim;
    ConsoleSimOptions options;
    ConsoleState state;
    ConsoleCommands commands{state};
    tcp::acceptor acceptor{loop};
    std::optional<ConsoleAnnouncer> announcer;
    std::string announcementFault;
    asio::steady_timer announceTimer{loop};
    asio::steady_timer pingTimer{loop};
    asio::posix::stream_descriptor input{loop};
    asio::signal_set signals{loop};
    std::array<char, 4096> typed{};
    std::string line;
};

ConsoleSim::Server::Server(ConsoleSim &sim, ConsoleSimOptions given)
    : sim(sim), options(std::move(given)), state(stateOf(options)) {
    commands.onPatchChanged = [this] { tellAll([](ConsoleSession &each) { each.sendPatch(); }); };
    commands.onSceneRecalled = [this] { tellAll([](ConsoleSession &each) { each.sendScene(); }); };
    commands.onColourChanged = [this](const LV1Channel &channel) {
        tellAll([&](ConsoleSession &each) { each.sendColour(channel); });
    };
    listen();
    accept();
    pingLater();
    // Posted, because the owner has not set onReport yet.
    if (announcer)
        asio::post(loop, [this] { announceNow(); });
}

void ConsoleSim::Server::listen() {
    acceptor.open(tcp::v4());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    // This announcer only tells which address to bind to; the one below needs the port that is bound.
    const bool beyondLoopback =
        options.announce && !ConsoleAnnouncer(loop, *options.announce, "", 0).staysOnLoopback();
    acceptor.bind(
        {beyondLoopback ? asio::ip::address_v4::any() : asio::ip::address_v4::loopback(), options.port});
    acceptor.listen();
    if (options.announce)
        announcer.emplace(loop, *options.announce, options.name, port());
}

void ConsoleSim::Server::accept() {
    acceptor.async_accept([this](const asio::error_code &error, tcp::socket socket) {
        if (!error)
            welcome(std::move(socket));
        if (acceptor.is_open())
            accept();
    });
}

void ConsoleSim::Server::welcome(tcp::socket socket) {
    const auto visitor = std::make_shared<ConsoleVisitor>(std::move(socket), state);
    visitor->trickles = trickles;
    visitor->session.onReport = [this](const std::string &text) {
        if (sim.onReport)
            sim.onReport(text);
    };
    visitor->session.onNote = [this](const std::string &text) {
        if (sim.onNote)
            sim.onNote(text);
    };
    visitor->onEnd = [this](ConsoleVisitor &gone) {
        std::erase_if(visitors, [&](const auto &each) { return each.get() == &gone; });
        if (sim.onNote)
            sim.onNote("client disconnected");
    };
    visitors.push_back(visitor);
    if (sim.onNote)
        sim.onNote("client connected");
    visitor->start();
}

template <class Tell>
void ConsoleSim::Server::tellAll(Tell tell) {
    for (const auto &each : visitors)
        tell(each->session);
}

void ConsoleSim::Server::pingLater() {
    pingTimer.expires_after(options.pingInterval);
    pingTimer.async_wait([this](const asio::error_code &error) {
        if (error)
            return;
        tellAll([](ConsoleSession &each) { each.ping(); });
        pingLater();
    });
}

void ConsoleSim::Server::announceNow() {
    const auto fault = announcer->announce();
    if (fault != announcementFault && !fault.empty() && sim.onReport)
        sim.onReport("cannot announce: " + fault);
    announcementFault = fault;
    announceTimer.expires_after(options.announceInterval);
    announceTimer.async_wait([this](const asio::error_code &error) {
        if (!error)
            announceNow();
    });
}

void ConsoleSim::Server::drop() {
    for (const auto &each : visitors)
        each->close();
}

void ConsoleSim::Server::reset() {
    for (const auto &each : std::vector(visitors)) // each leaves the list
        each->reset();
}

std::optional<std::string> ConsoleSim::Server::command(const std::string &text) {
    std::string rest = text;
    if (!rest.empty() && rest.back() == '\r')
        rest.pop_back();
    const auto word = takeWord(rest);
    std::optional<std::string> fault;
    if (word.empty() || commands.execute(word, rest, fault))
        return fault;
    if (word == "drop") {
        drop();
    } else if (word == "quit") {
        loop.stop();
    } else if (word == "reset") {
        reset();
    } else if (word == "trickle" && (rest == "on" || rest == "off")) {
        sim.trickle(rest == "on");
    } else if (word == "raw") {
        const auto bytes = bytesOf(rest);
        if (!bytes)
            return "raw bytes are pairs of hexadecimal digits";
        sim.sendRaw(*bytes);
    } else {
        return "unknown command";
    }
    return std::nullopt;
}

void ConsoleSim::Server::quitOnSignals() {
    signals.add(SIGINT);
    signals.add(SIGTERM);
    signals.async_wait([this](const asio::error_code &error, int) {
        if (!error)
            loop.stop();
    });
}

void ConsoleSim::Server::readCommands(int descriptor) {
    const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (own < 0)
        return;
    asio::error_code error;
    input.assign(own, error);
    if (error)
        ::close(own);
    else
        readMore();
}

void ConsoleSim::Server::readMore() {
    input.async_read_some(asio::buffer(typed), [this](const asio::error_code &error, std::size_t count) {
        takeLines(typed.data(), count);
        if (error)
            takeLine();
        else
            readMore();
    });
}

void ConsoleSim::Server::takeLines(const char *bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\n')
            takeLine();
        else
            line += bytes[i];
    }
}

void ConsoleSim::Server::takeLine() {
    const auto complete = std::exchange(line, {});
    const auto fault = command(complete);
    if (fault && sim.onReport)
        sim.onReport(complete + ": " + *fault);
}

ConsoleSim::ConsoleSim(ConsoleSimOptions options)
    : server(std::make_unique<Server>(*this, std::move(options))) {}

ConsoleSim::~ConsoleSim() {
    onReport = nullptr;
    onNote = nullptr;
}

std::uint16_t ConsoleSim::port() const {
    return server->port();
}

std::size_t ConsoleSim::clients() const {
    return server->visitors.size();
}

std::size_t ConsoleSim::acceptedClients() const {
    return static_cast<std::size_t>(
        std::count_if(server->visitors.begin(), server->visitors.end(),
                      [](const auto &each) { return each->session.isAccepted(); }));
}

void ConsoleSim::run() {
    server->loop.restart();
    server->loop.run();
}

void ConsoleSim::poll() {
    server->loop.restart();
    server->loop.poll();
}

void ConsoleSim::quitOnSignals() {
    server->quitOnSignals();
}

void ConsoleSim::readCommands(int descriptor) {
    server->readCommands(descriptor);
}

std::optional<std::string> ConsoleSim::command(const std::string &line) {
    return server->command(line);
}

const char *ConsoleSim::commandHelp() {
    return "Commands on standard input, one a line; channels N count from 1:\n"
           "  scene NAME          recall the scene of this name\n"
           "  next                recall the next scene of the list\n"
           "  rename N NAME       rename a channel\n"
           "  move N INPUT        patch a channel to another input, counted from 1\n"
           "  stereo N on|off     make a channel stereo or mono\n"
           "  color N R G B       colour a channel, each from 0 to 1\n"
           "  patch FILE          take the channels of a patch file\n"
           "  drop                close every connection\n"
           "  quit                end\n"
           "To see how a client stands it:\n"
           "  raw HEX             send these bytes as they are\n"
           "  reset               break every connection\n"
           "  trickle on|off      send each byte in a segment of its own";
}

void ConsoleSim::sendRaw(const Bytes &bytes) {
    for (const auto &each : server->visitors)
        each->send(bytes);
}

void ConsoleSim::reset() {
    server->reset();
}

void ConsoleSim::trickle(bool on) {
    server->trickles = on;
    for (const auto &each : server->visitors)
        each->trickles = on;
}

} // namespace corvane::sim
