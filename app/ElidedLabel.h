#pragma once

#include <QLabel>

namespace corvane {

/// A label of as many lines as it has room for, one at least, that is cut off with "…" at its end when the
/// text is longer. The full text is then its tooltip, above a longer explanation if there is one.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(const QString &text = {}, QWidget *parent = nullptr);

    /// An explanation, shown on hover; empty for none.
    void setDetail(const QString &text);
    bool isElided() const;

    /// Of one line, whatever the text: measuring that might take long.
    QSize sizeHint() const override { return {0, fontMetrics().height()}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    /// As they are painted.
    QStringList lines() const;

    QString detail;
};

} // namespace corvane
