#pragma once

#include <QComboBox>

#include <string>
#include <vector>

namespace corvane {

/// The menu of hosts, as large and as round as the buttons beside it. A long name is cut off at its end
/// and whole on hover.
class HostMenu : public QComboBox {
public:
    explicit HostMenu(QWidget *parent = nullptr);

    /// Shows these hosts, also in a list that is open. A host that was selected stays so while it is in the
    /// menu. A console that has come back at another address is in it twice by the same title: then the
    /// position tells them apart.
    void refill(const std::vector<std::string> &titles);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    /// While the list is closed no key chooses a console: arrows open it, letters and the like do nothing.
    void keyPressEvent(QKeyEvent *event) override;
    /// Turning the wheel over the window must not choose another console by accident.
    void wheelEvent(QWheelEvent *event) override;

private:
    void setTitles(const std::vector<std::string> &titles);
    /// The new position of a host: `before` when its title is still there, else the first with that title; 0
    /// when the title is gone.
    int positionOf(const QString &title, int before) const;
    QRect textRoom() const;
    QString elidedText() const;
};

} // namespace corvane
