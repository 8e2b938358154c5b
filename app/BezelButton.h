#pragma once

#include "app/ButtonLook.h"
#include "app/PushButton.h"

namespace corvane {

/// A large push button with a rounded bezel in a colour of its own, and a shape beside its title where the
/// look has one; dimmed while disabled.
class BezelButton : public PushButton {
public:
    explicit BezelButton(const QString &title, QWidget *parent = nullptr);

    /// Also what the button says to those who do not see the colour: `meaning`, as tooltip and for screen
    /// readers.
    void setLook(const ButtonLook &newLook, const QString &meaning = {});
    const ButtonLook &currentLook() const { return look; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor bezel() const;
    int contentWidth() const;

    ButtonLook look{0.24, 0.24, 0.24};
};

} // namespace corvane
