#pragma once

#include <QObject>

#include <map>

class QKeyEvent;

namespace corvane {

/// Makes a held key one press: of the keys that press a button or answer a question, the application's
/// windows get neither a repeated press nor one of a key that was down before, whichever window had the
/// keyboard then. Writing in a field repeats as it should. Main thread only.
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
