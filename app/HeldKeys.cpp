#include "app/HeldKeys.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <QWindow>

namespace corvane {

namespace {

/// A display repeats a held key sooner than this. One that was silent for longer has been let go of unheard.
constexpr quint64 longestDelay = 1000; // milliseconds

bool decides(const QKeyEvent &press) {
    const int key = press.key();
    if ((key == Qt::Key_Up || key == Qt::Key_Down) && press.modifiers().testFlag(Qt::AltModifier))
        return true; // opens a list, and chooses from it
    return key == Qt::Key_F4 || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space ||
           key == Qt::Key_Escape || key == Qt::Key_Select;
}

bool isWritten(int key) {
    const QWidget *focus = QApplication::focusWidget();
    return key == Qt::Key_Space && focus != nullptr && focus->testAttribute(Qt::WA_InputMethodEnabled);
}

} // namespace

HeldKeys::HeldKeys() {
    qApp->installEventFilter(this);
    // A key that is let go of while none of the windows has the keyboard is not heard of here.
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow *window) {
        if (window == nullptr)
            down.clear();
    });
}

/// Looks at keys only where they arrive at a window: when Qt passes one on from control to control it is
/// still the same press.
bool HeldKeys::eventFilter(QObject *receiver, QEvent *event) {
    if (!receiver->isWindowType())
        return false;
    if (event->type() == QEvent::KeyRelease)
        released(static_cast<const QKeyEvent &>(*event));
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto &press = static_cast<const QKeyEvent &>(*event);
    return isHeld(press) && decides(press) && !isWritten(press.key());
}

bool HeldKeys::isHeld(const QKeyEvent &press) {
    // A display may repeat a held key as releases and presses. A pair has one time, and only a pair has, even
    // where a change of window in between keeps it from being marked as a repetition.
    const auto release = releaseTimes.find(press.key());
    const bool repeated = release != releaseTimes.end() && press.timestamp() == release->second;
    const auto before = down.find(press.key());
    const bool wasDown = before != down.end() && press.timestamp() - before->second < longestDelay;
    down[press.key()] = press.timestamp();
    return press.isAutoRepeat() || repeated || wasDown;
}

void HeldKeys::released(const QKeyEvent &release) {
    releaseTimes[release.key()] = release.timestamp();
    if (!release.isAutoRepeat())
        down.erase(release.key());
}

} // namespace corvane
