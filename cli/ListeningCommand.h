#pragma once

#include "cli/Commands.h"
#include "lv1/LV1Client.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane::cli {

/// What the commands have in common that listen to a console until they are interrupted or their time is
/// over. They connect by the window's own rules.
class ListeningCommand : public Command {
public:
    explicit ListeningCommand(const CommandContext &context) : context(context) {}

    void stop() override;

protected:
    using Services = std::vector<std::shared_ptr<NetService>>;

    void start() override;
    /// Sets the callbacks that the command wants, but for those that come here as a function.
    virtual void wire(LV1Client &console) = 0;
    /// The client's status changed, or a person has to choose among hosts.
    virtual void statusIs(const std::string &text) = 0;
    /// How long to listen; none until interrupted.
    virtual std::optional<std::chrono::milliseconds> listeningTime() const {
        return context.options.duration;
    }
    /// The time is over.
    virtual void timeIsOver(LV1Client & /*console*/) { end(); }
    /// Bonjour's hosts changed; told before anything follows from it.
    virtual void servicesAre(const Services & /*services*/) {}

    /// A callback that does nothing once the command has been stopped, and whose error ends it.
    template <class Action>
    auto whileListening(Action action) {
        return [this, weak = weak_from_this(), action](const auto &what) {
            const auto self = weak.lock();
            if (self && client)
                guarded([&] { action(what); });
        };
    }

    CommandContext context;

private:
    std::shared_ptr<LV1Client> client;
};

} // namespace corvane::cli
