#pragma once

#include <QPushButton>

namespace corvane {

/// A button that Return and Enter press while it has the keyboard, as the space bar does; once, however long
/// the key is held.
class PushButton : public QPushButton {
public:
    using QPushButton::QPushButton;

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace corvane
