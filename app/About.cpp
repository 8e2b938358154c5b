#include "app/AboutText.h"
#include "app/Dialogs.h"
#include "app/Look.h"
#include "app/PushButton.h"

#include <QApplication>
#include <QDialog>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace corvane {

namespace {

constexpr QSize noticesSize{760, 520};

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

void openNotices(QWidget *parent, const QString &text) {
    auto *window = new QDialog(parent);
    window->setObjectName(QStringLiteral("notices"));
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(QStringLiteral("Licences"));
    auto *view = new QPlainTextEdit(text);
    view->setReadOnly(true);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setAccessibleName(window->windowTitle());
    (new QVBoxLayout(window))->addWidget(view);
    window->resize(noticesSize);
    window->show();
}

} // namespace

void openAbout(QWidget *parent, const QIcon &icon, const QString &notices) {
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
    if (!notices.isEmpty()) {
        auto *button = new PushButton(QStringLiteral("Licences"));
        button->setObjectName(QStringLiteral("licences"));
        button->setAutoDefault(false);
        QObject::connect(button, &QPushButton::clicked, panel,
                         [panel, notices] { openNotices(panel, notices); });
        rows->addWidget(button, 0, Qt::AlignHCenter);
    }
    rows->setSizeConstraint(QLayout::SetFixedSize);
    panel->show();
}

} // namespace corvane
