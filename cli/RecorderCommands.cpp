#include "cli/Commands.h"
#include "cli/Json.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/remote/LiveTraxOSC.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/Markers.h"
#include "platform/files/Files.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane::cli {

namespace {

/// What the commands that speak to a running LiveTrax have in common.
class RecorderCommand : public Command {
public:
    explicit RecorderCommand(const CommandContext &context) : context(context) {}

    void stop() override { osc.reset(); }

protected:
    /// Sends the command's messages. The connection has been opened.
    virtual void speak(LiveTraxOSC &liveTrax) = 0;

    void start() override {
        Platform &platform = context.platform;
        osc = std::make_unique<LiveTraxOSC>(platform.main, platform.queues->make("Corvane.LiveTraxOSC"),
                                            *platform.network);
        osc->onFailure = [this](const std::error_code &error, const std::string &reason) {
            if (error == std::errc::address_in_use)
                end({status::noAnswer, reason + ownHolder(context.portHolders(liveTraxSurface::replyPort))});
        };
        context.output.progress("Asking LiveTrax…");
        osc->start();
        speak(*osc);
    }

    CommandContext context;

private:
    std::unique_ptr<LiveTraxOSC> osc;
};

class TransportCommand : public RecorderCommand {
    using RecorderCommand::RecorderCommand;

    void speak(LiveTraxOSC &liveTrax) override {
        liveTrax.queryTransport(
            [this](const std::optional<TransportState> &state) { guarded([&] { report(state); }); });
    }

    void report(const std::optional<TransportState> &state) {
        if (!state)
            throw CommandFailure(status::noAnswer, LiveTraxOSC::noAnswer);
        if (context.options.json) {
            context.output.print(document({{"speed", state->speed},
                                           {"recordEnabled", state->recordEnabled},
                                           {"isRecording", state->isRecording}}));
        } else {
            const auto yesOrNo = [](bool value) { return value ? "yes" : "no"; };
            context.output.print("speed          " + number(state->speed) + "\nrecord enabled " +
                                 yesOrNo(state->recordEnabled) + "\nrecording      " +
                                 yesOrNo(state->isRecording) + "\n");
        }
        end();
    }

    static std::string number(float value) { return line(Json(static_cast<double>(value))); }
};

/// A command that has LiveTrax do something, which it does not answer.
class SendingCommand : public RecorderCommand {
protected:
    using RecorderCommand::RecorderCommand;

    virtual void send(LiveTraxOSC &liveTrax, LiveTraxOSC::SendCompletion done) = 0;

private:
    void speak(LiveTraxOSC &liveTrax) override {
        if (!context.options.confirm)
            return sendAndReport(liveTrax);
        liveTrax.queryTransport([this, &liveTrax](const std::optional<TransportState> &state) {
            guarded([&] {
                if (!state)
                    throw CommandFailure(status::noAnswer, LiveTraxOSC::noAnswer);
                sendAndReport(liveTrax);
            });
        });
    }

    void sendAndReport(LiveTraxOSC &liveTrax) {
        send(liveTrax, [this](const SendReport &sent) { guarded([&] { report(sent); }); });
    }

    void report(const SendReport &sent) {
        if (!sent.problem.empty())
            throw CommandFailure(status::noAnswer, sent.problem);
        std::string text = "Sent:";
        for (const auto &address : sent.addresses)
            text += " " + address;
        context.output.print(context.options.json ? document({{"sent", sent.addresses}}) : text + "\n");
        end();
    }
};

class SaveCommand : public SendingCommand {
    using SendingCommand::SendingCommand;

    void send(LiveTraxOSC &liveTrax, LiveTraxOSC::SendCompletion done) override {
        liveTrax.save(std::move(done));
    }
};

class MarkerCommand : public SendingCommand {
    using SendingCommand::SendingCommand;

    void send(LiveTraxOSC &liveTrax, LiveTraxOSC::SendCompletion done) override {
        liveTrax.markerStyle = context.options.markerStyle;
        learnNames(liveTrax);
        liveTrax.addSceneMarker(context.options.name, std::move(done));
    }

    /// The markers of the session, as it was last saved. One that cannot be read may have any; the marker
    /// matters more than that.
    void learnNames(LiveTraxOSC &liveTrax) const {
        const Platform &platform = context.platform;
        const auto session = LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders);
        std::error_code missing;
        if (!session || !std::filesystem::exists(LiveTraxGenerator::sessionFile(*session), missing))
            return;
        liveTrax.forgetSessionMarkers();
        try {
            liveTrax.setSessionMarkers(readMarkNames(*session));
        } catch (const FileError &) {
        } catch (const XMLError &) {
        }
    }
};

} // namespace

std::shared_ptr<Command> makeTransportCommand(const CommandContext &context) {
    return std::make_shared<TransportCommand>(context);
}

std::shared_ptr<Command> makeSaveCommand(const CommandContext &context) {
    return std::make_shared<SaveCommand>(context);
}

std::shared_ptr<Command> makeMarkerCommand(const CommandContext &context) {
    return std::make_shared<MarkerCommand>(context);
}

} // namespace corvane::cli
