#pragma once

#include "app/BridgeView.h"

#include <QIcon>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QWidget;

namespace corvane {

// The dialogues of the window. All of them return at once; what the user decides comes back through the
// callback, unless the parent goes away first.

/// A modal alert. Closing it without a choice counts as its last button.
void openAlert(QWidget *parent, const Alert &alert, std::function<void(std::size_t button)> answered);

/// Lines to read in a window of their own beside the parent; those that are open are replaced.
void openLines(QWidget *parent, const std::string &title, const std::vector<std::string> &lines);

/// Lets the user choose or make a folder, starting from `current` where that exists.
void openFolderChooser(QWidget *parent, const std::filesystem::path &current,
                       std::function<void(std::optional<std::filesystem::path>)> chosen);

/// The About panel: the system's own where it has one. A second call brings the open one to the front.
/// `notices` is what the licences of others' work ask to be told.
void openAbout(QWidget *parent, const QIcon &icon, const QString &notices);

} // namespace corvane
