#include "app/AboutText.h"
#include "app/Dialogs.h"
#include "app/Look.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QVBoxLayout>

namespace corvane {

namespace {

QLabel *centred(const QString &text, const QFont &font, const QColor &color) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignHCenter);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

} // namespace

void openAbout(QWidget *parent, const QIcon &icon) {
    const QString name = QStringLiteral("about");
    if (auto *open = parent->findChild<QDialog *>(name)) {
        open->raise();
        open->activateWindow();
        return;
    }
    auto *panel = new QDialog(parent);
    panel->setObjectName(name);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowTitle("About " + QString::fromUtf8(applicationName));

    auto *picture = new QLabel;
    picture->setAlignment(Qt::AlignHCenter);
    picture->setPixmap(icon.pixmap(QSize(aboutIconSize, aboutIconSize), panel->devicePixelRatio()));
    const QString version = QApplication::applicationVersion();
    auto *rows = new QVBoxLayout(panel);
    rows->setContentsMargins(32, 24, 32, 24);
    rows->setSpacing(8);
    rows->addWidget(picture);
    rows->addWidget(
        centred(QString::fromUtf8(applicationName), look::font(17, QFont::Bold), look::grey(0.95)));
    rows->addWidget(centred("Version " + version + " (" + QStringLiteral(CORVANE_BUILD) + ")", look::font(11),
                            look::grey(look::statusGrey)));
    rows->addSpacing(6);
    rows->addWidget(
        centred(QString::fromUtf8(aboutCredits), look::font(11), look::grey(look::secondaryGrey)));
    rows->setSizeConstraint(QLayout::SetFixedSize);
    panel->show();
}

} // namespace corvane
