#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace corvane {

/// A small turning arc: something is under way. Turns while it is visible.
class BusyMark : public QWidget {
public:
    explicit BusyMark(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    QBasicTimer turn;
    int angle = 0; ///< degrees
};

} // namespace corvane
