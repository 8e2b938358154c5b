#pragma once

#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainterPath>
#include <QWidget>

#include <string>

namespace corvane {

/// Writes down what is painted on it instead of painting: one line for each shape, with its bounds, pen and
/// brush. Where a letter stands is up to the fonts, so of texts only the words and their colour are kept.
class Painting : public QPaintDevice {
public:
    explicit Painting(QSize size) : size(size), engine(*this) {}

    /// A widget as it paints itself, without its background and what is in it.
    static std::string of(QWidget &widget) {
        Painting painting(widget.size());
        widget.render(&painting, QPoint(), QRegion(), QWidget::RenderFlags());
        return painting.lines.toStdString();
    }

    QPaintEngine *paintEngine() const override { return &engine; }
    std::string text() const { return lines.toStdString(); }

protected:
    int metric(PaintDeviceMetric metric) const override {
        switch (metric) {
        case PdmWidth:
        case PdmWidthMM:
            return size.width();
        case PdmHeight:
        case PdmHeightMM:
            return size.height();
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return 96;
        case PdmDepth:
            return 32;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(devicePixelRatioFScale());
        default:
            return QPaintDevice::metric(metric);
        }
    }

private:
    class Engine : public QPaintEngine {
    public:
        explicit Engine(Painting &on) : QPaintEngine(AllFeatures), on(on) {}
        bool begin(QPaintDevice *) override { return true; }
        bool end() override { return true; }
        Type type() const override { return User; }
        void updateState(const QPaintEngineState &) override {}
        void drawPath(const QPainterPath &path) override {
            on.lines += shape(path) + pen() + brush();
            on.lines += painter()->testRenderHint(QPainter::Antialiasing) ? " smooth\n" : "\n";
        }
        void drawRects(const QRectF *rects, int count) override {
            for (int each = 0; each < count; ++each) {
                QPainterPath path;
                path.addRect(rects[each]);
                on.lines += shape(path) + pen() + brush() + "\n";
            }
        }
        void drawRects(const QRect *rects, int count) override {
            for (int each = 0; each < count; ++each) {
                const QRectF rect(rects[each]);
                drawRects(&rect, 1);
            }
        }
        void drawTextItem(const QPointF &, const QTextItem &item) override {
            on.lines += "'" + item.text() + "' " + painter()->pen().color().name(QColor::HexArgb) + "\n";
        }
        void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override { on.lines += "picture\n"; }

    private:
        /// The corners that it goes through, as they come to stand.
        QString shape(const QPainterPath &path) const {
            const QPainterPath mapped = painter()->combinedTransform().map(path);
            QString corners;
            for (int each = 0; each < mapped.elementCount(); ++each) {
                const auto point = mapped.elementAt(each);
                corners += QStringLiteral("%1,%2 ").arg(point.x, 0, 'f', 1).arg(point.y, 0, 'f', 1);
            }
            return corners;
        }
        QString pen() const {
            const QPen pen = painter()->pen();
            return pen.style() == Qt::NoPen ? QStringLiteral(" no pen")
                                            : QStringLiteral(" pen %1 %2 cap %3 join %4")
                                                  .arg(pen.color().name(QColor::HexArgb))
                                                  .arg(pen.widthF())
                                                  .arg(int(pen.capStyle()), 0, 16)
                                                  .arg(int(pen.joinStyle()), 0, 16);
        }
        QString brush() const {
            const QBrush brush = painter()->brush();
            return brush.style() == Qt::NoBrush ? QString()
                                                : " filled " + brush.color().name(QColor::HexArgb);
        }
        Painting &on;
    };

    QSize size;
    QString lines;
    mutable Engine engine;
};

} // namespace corvane
