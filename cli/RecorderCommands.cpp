#include "cli/Commands.h"
#include "cli/Json.h"
#include "livetrax/remote/LiveTraxOSC.h"
#include "platform/rehearsal/Rehearsal.h"

#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane::cli {

namespace {

/// What the commands that speak to a running LiveTrax have in common.
class RecorderCommand : public Command {
public:
    explicit RecorderCommand(const Surroundings &surroundings) : surroundings(surroundings) {}

    void stop() override {
        if (osc)
            osc->stop();
        osc.reset();
    }

protected:
    /// Says what is to be said. The connection is open.
    virtual void speak(LiveTraxOSC &liveTrax) = 0;

    void start() override {
        Platform &platform = surroundings.platform;
        osc = std::make_unique<LiveTraxOSC>(platform.main, platform.queues->make("Corvane.LiveTraxOSC"),
                                            *platform.network);
        osc->onFailure = [this](const std::string &error) {
            if (error == std::make_error_code(std::errc::address_in_use).message())
                end({status::noAnswer, PortInUse(LiveTraxOSC::replyPort).what()});
            failure = error;
        };
        osc->start();
        speak(*osc);
    }

    /// Ends a command that sent something, once everything has left.
    LiveTraxOSC::SendCompletion reportSent(std::vector<std::string> expected) {
        return [this, expected = std::move(expected)](const std::vector<std::string> &left) {
            guarded([&] {
                if (left != expected)
                    throw CommandFailure(status::noAnswer, whatIsMissing(left));
                std::string text = "Sent:";
                for (const auto &address : left)
                    text += " " + address;
                surroundings.output.print(surroundings.options.json ? document({{"sent", left}})
                                                                    : text + "\n");
                end();
            });
        };
    }

    Surroundings surroundings;

private:
    std::string whatIsMissing(const std::vector<std::string> &left) const {
        if (!failure.empty())
            return failure;
        return left.empty() ? "Nothing could be sent to LiveTrax." : "Not all could be sent to LiveTrax.";
    }

    std::unique_ptr<LiveTraxOSC> osc;
    std::string failure;
};

class TransportCommand : public RecorderCommand {
    using RecorderCommand::RecorderCommand;

    void speak(LiveTraxOSC &liveTrax) override {
        liveTrax.queryTransport(
            [this](const std::optional<TransportState> &state) { guarded([&] { report(state); }); });
    }

    void report(const std::optional<TransportState> &state) {
        if (!state)
            throw CommandFailure(status::noAnswer, "LiveTrax does not answer.");
        if (surroundings.options.json) {
            surroundings.output.print(document({{"speed", state->speed},
                                                {"recordEnabled", state->recordEnabled},
                                                {"isRecording", state->isRecording}}));
        } else {
            const auto yesOrNo = [](bool value) { return value ? "yes" : "no"; };
            surroundings.output.print("speed          " + number(state->speed) + "\nrecord enabled " +
                                      yesOrNo(state->recordEnabled) + "\nrecording      " +
                                      yesOrNo(state->isRecording) + "\n");
        }
        end();
    }

    static std::string number(float value) { return line(Json(static_cast<double>(value))); }
};

class SaveCommand : public RecorderCommand {
    using RecorderCommand::RecorderCommand;

    void speak(LiveTraxOSC &liveTrax) override { liveTrax.save(reportSent({"/save_state"})); }
};

class MarkerCommand : public RecorderCommand {
    using RecorderCommand::RecorderCommand;

    void speak(LiveTraxOSC &liveTrax) override {
        liveTrax.addSceneMarker(surroundings.options.name, reportSent({"/add_marker", "/marker"}));
    }
};

} // namespace

std::shared_ptr<Command> makeTransportCommand(const Surroundings &surroundings) {
    return std::make_shared<TransportCommand>(surroundings);
}

std::shared_ptr<Command> makeSaveCommand(const Surroundings &surroundings) {
    return std::make_shared<SaveCommand>(surroundings);
}

std::shared_ptr<Command> makeMarkerCommand(const Surroundings &surroundings) {
    return std::make_shared<MarkerCommand>(surroundings);
}

} // namespace corvane::cli
