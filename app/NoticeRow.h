#pragma once

#include <QElapsedTimer>
#include <QFrame>

#include <functional>

class QPushButton;

namespace corvane {

class ElidedLabel;

/// One notice: its text, at most one action, and a button that dismisses it. Hidden while there is none. It
/// never takes the keyboard focus when it appears, changes or goes.
class NoticeRow : public QFrame {
public:
    /// Points; with less room the words are cut to one line.
    static constexpr int leastHeight = 26;
    static constexpr int fullHeight = 40;

    explicit NoticeRow(QWidget *parent = nullptr);

    /// Shows this in place of what was shown; no button for no action, no row for no text. The detail is
    /// shown on hover over either.
    void setNotice(const QString &text, const QString &action, const QString &detail = {});

    std::function<void()> onAction;
    std::function<void()> onDismissal;

private:
    QPushButton *button(const char *name);
    void pressed(const std::function<void()> &reaction) const;

    ElidedLabel *words;
    QPushButton *action;
    QPushButton *dismissal;
    QElapsedTimer replaced; ///< since one notice took the place of another
};

} // namespace corvane
