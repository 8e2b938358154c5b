#pragma once

#include <QComboBox>

namespace corvane {

/// The menu of hosts, as large and as round as the buttons beside it. A long name is cut off at its end
/// and whole on hover.
class HostMenu : public QComboBox {
public:
    explicit HostMenu(QWidget *parent = nullptr);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    /// Turning the wheel over the window must not choose another console by accident.
    void wheelEvent(QWheelEvent *event) override;

private:
    QRect textRoom() const;
    QString elidedText() const;
};

} // namespace corvane
