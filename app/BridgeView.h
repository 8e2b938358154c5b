#pragma once

#include "app/ButtonLook.h"
#include "lv1/LV1Channel.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// A question or a message that the user must answer before going on.
struct Alert {
    std::string message;
    std::string informativeText;
    /// In order; the first is the default button, the last is what closing the alert without a choice means.
    std::vector<std::string> buttons{"OK"};

    bool operator==(const Alert &) const = default;
};

/// What the controller asks of the window. Called on the main queue only. No operation waits for the user:
/// what the user answers comes back later through a callback. All texts are UTF-8.
class BridgeView {
public:
    virtual ~BridgeView() = default;

    // Built once, in this order

    /// Makes the brand icon, if there is a valid one, the application's.
    virtual void useBrandIcon() = 0;
    virtual void buildMainMenu() = 0;
    /// Builds and shows the window and brings the application to the front.
    virtual void buildUI() = 0;

    // The controls, by their names

    virtual void setStatusLabel(const std::string &text) = 0;
    /// A longer explanation of the status, one thing a line; empty when there is none.
    virtual void setStatusDetail(const std::string &text) = 0;
    virtual void setSceneLabel(const std::string &text) = 0;
    /// Empties the host menu and refills it.
    virtual void setDevicePopup(const std::vector<std::string> &titles) = 0;
    /// The selected position in the host menu; negative when nothing is selected.
    virtual int selectedDevice() const = 0;
    /// Colours the SYNC LV1 button; `meaning` says in words what the colour says.
    virtual void setConnectButton(const ButtonLook &look, const std::string &meaning) = 0;
    virtual std::string sessionName() const = 0;
    virtual std::string outputPath() const = 0;
    virtual void setOutputPath(const std::string &path) = 0;
    /// Shows these channels in the table.
    virtual void reloadTable(const std::vector<LV1Channel> &channels) = 0;
    virtual void setChannelScrollShown(bool shown) = 0;
    virtual void setPatchButton(const std::string &title) = 0;
    virtual void setSyncButtonEnabled(bool enabled) = 0;

    // The window

    /// Grows (or, negative, shrinks) the window's frame by so many points in height, its top edge staying in
    /// place, in a short animation. Starts from where an animation under way is going to, not from where it
    /// is.
    virtual void growWindow(int points) = 0;
    virtual void bringToFront() = 0;

    // Dialogues

    /// Shows a modal alert; `answered` is called once with the position of the button that was chosen.
    virtual void showAlert(const Alert &alert, std::function<void(std::size_t button)> answered) = 0;
    /// Lets the user choose a folder or make one; none when the user thinks better of it.
    virtual void chooseFolder(std::function<void(std::optional<std::filesystem::path>)> chosen) = 0;
    /// The About panel, and the application to the front.
    virtual void showAbout() = 0;
};

} // namespace corvane
