#include "app/Dialogs.h"

#include "app/AboutText.h"
#include "app/Look.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>
#include <vector>

namespace corvane {

namespace {

constexpr int informativeWidth = 380;
constexpr int alertIconSize = 56;

/// A message holds names and paths as they are, never markup.
void showPlainly(const QMessageBox &box) {
    for (QLabel *label : box.findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    if (auto *informative = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
        informative->setMinimumWidth(informativeWidth);
}

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

void openAlert(QWidget *parent, const Alert &alert, std::function<void(std::size_t)> answered) {
    auto *box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("alert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QString::fromUtf8(applicationName));
    box->setIconPixmap(
        QApplication::windowIcon().pixmap(QSize(alertIconSize, alertIconSize), box->devicePixelRatio()));
    box->setText(QString::fromStdString(alert.message));
    box->setInformativeText(QString::fromStdString(alert.informativeText));
    std::vector<QAbstractButton *> buttons;
    for (const std::string &title : alert.buttons)
        buttons.push_back(box->addButton(QString::fromStdString(title), buttons.empty()
                                                                            ? QMessageBox::AcceptRole
                                                                            : QMessageBox::RejectRole));
    box->setDefaultButton(static_cast<QPushButton *>(buttons.front()));
    box->setEscapeButton(buttons.back());
    showPlainly(*box);
    QObject::connect(box, &QMessageBox::finished, box, [box, buttons, answered = std::move(answered)] {
        const auto chosen = std::find(buttons.begin(), buttons.end(), box->clickedButton());
        answered(chosen == buttons.end() ? buttons.size() - 1
                                         : static_cast<std::size_t>(chosen - buttons.begin()));
    });
    box->setWindowModality(Qt::ApplicationModal);
    box->show();
}

void openFolderChooser(QWidget *parent, const std::filesystem::path &current,
                       std::function<void(std::optional<std::filesystem::path>)> chosen) {
    auto *panel = new QFileDialog(parent, QStringLiteral("Choose a Folder"));
    panel->setObjectName(QStringLiteral("folderChooser"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    panel->setLabelText(QFileDialog::Accept, QStringLiteral("Choose"));
    std::error_code ignored;
    if (std::filesystem::is_directory(current, ignored))
        panel->setDirectory(QString::fromStdString(current.string()));
    QObject::connect(panel, &QFileDialog::finished, panel, [panel, chosen = std::move(chosen)](int result) {
        const QStringList folders = panel->selectedFiles();
        if (result == QDialog::Accepted && !folders.isEmpty())
            chosen(std::filesystem::path(folders.front().toStdString()));
        else
            chosen(std::nullopt);
    });
    panel->open();
}

#ifndef __APPLE__

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

#endif

} // namespace corvane
