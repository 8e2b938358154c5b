#pragma once

#include <QLabel>

namespace corvane {

/// A label of one line that is cut off with "…" at its end when there is no room for it. The full text is
/// then its tooltip, unless there is a longer explanation.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(const QString &text = {}, QWidget *parent = nullptr);

    /// Shown as the tooltip instead of the text; empty for none.
    void setDetail(const QString &text);
    bool isElided() const;

    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QString elidedText() const;

    QString detail;
};

} // namespace corvane
