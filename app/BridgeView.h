#pragma once

#include "app/ButtonLook.h"
#include "app/Notice.h"
#include "lv1/LV1Channel.h"

#include <chrono>
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

    // The controls. Some names are odd (`devicePopup`, `connectButton`, `syncButton`): see docs/Names.md.

    virtual void setStatusLabel(const std::string &text) = 0;
    /// A longer explanation of the status, one thing a line; empty when there is none.
    virtual void setStatusDetail(const std::string &text) = 0;
    virtual void setSceneLabel(const std::string &text) = 0;
    /// The scenes recalled last, one a line, and how they are marked.
    virtual void setSceneDetail(const std::string &text) = 0;
    /// Shows these hosts in the menu. The selected one stays selected while it is listed.
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
    /// Says in words what a press on Create LiveTrax Session would do now.
    virtual void setCreateMeaning(const std::string &meaning) = 0;

    // What the window says besides its status

    /// Shows this notice in place of the one before, or none. It never takes the focus; what a person does
    /// with it comes back through the controller's `noticeAction` and `dismissNotice`.
    virtual void showNotice(const std::optional<Notice> &notice) = 0;
    /// Whether an update of the session is under way, between the press and its end.
    virtual void setUpdateUnderWay(bool underWay) = 0;
    /// Draws the user's eye to the application without taking the focus from another one.
    virtual void requestAttention() = 0;
    /// Whether the application's icon bears a mark, where the system has a place for one.
    virtual void setBadge(bool shown) = 0;
    /// The desktop's double-click time: within it a second press on the same place is ignored.
    virtual std::chrono::milliseconds doubleClickTime() const = 0;
    /// Writes a line to standard error: for what happens once the window may be gone.
    virtual void writeError(const std::string &text) = 0;

    // The window

    /// Grows (or, negative, shrinks) the window's frame by so many points in height, its top edge staying in
    /// place, in a short animation. Starts from where an animation under way is going to, not from where it
    /// is.
    virtual void growWindow(int points) = 0;
    virtual void bringToFront() = 0;

    // Dialogues

    /// Shows a modal alert; `answered` is called once with the position of the button that was chosen.
    virtual void showAlert(const Alert &alert, std::function<void(std::size_t button)> answered) = 0;
    /// Shows lines to read, under a title; nothing is asked.
    virtual void showLines(const std::string &title, const std::vector<std::string> &lines) = 0;
    /// Lets the user choose or create a folder, starting from this one; none when the user cancels.
    virtual void chooseFolder(const std::filesystem::path &from,
                              std::function<void(std::optional<std::filesystem::path>)> chosen) = 0;
    /// The About panel, and the application to the front.
    virtual void showAbout() = 0;
};

} // namespace corvane
