#pragma once

#include <QObject>

#include <map>

class QKeyEvent;

namespace corvane {

/// Makes a held key count as one press. Of the keys that press a button or answer a question, windows get
/// neither an auto-repeat nor a press while the key is still down from before, even if another window had the
/// focus then. Typing in a field repeats as usual. Main thread only.
class HeldKeys : public QObject {
public:
    HeldKeys();

    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    /// Remembers that the key went down; whether it was down already.
    bool isHeld(const QKeyEvent &press);
    void released(const QKeyEvent &release);

    // By key, in milliseconds of the display's clock
    std::map<int, quint64> down; ///< last pressed or repeated, not let go of since
    std::map<int, quint64> releaseTimes;
};

} // namespace corvane
