#include "app/Dialogs.h"

#include "app/AboutText.h"
#include "app/Desktop.h"
#include "app/Look.h"
#include "app/ShownText.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>
#include <vector>

namespace corvane {

namespace {

constexpr int informativeWidth = 380;
constexpr int alertIconSize = 56;
constexpr QSize linesSize{560, 320};

/// A message holds names and paths as they are, never markup.
void showPlainly(const QMessageBox &box) {
    for (QLabel *label : box.findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    if (auto *informative = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
        informative->setMinimumWidth(informativeWidth);
}

} // namespace

void openAlert(QWidget *parent, const Alert &alert, std::function<void(std::size_t)> answered) {
    auto *box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("alert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QString::fromUtf8(applicationName));
    box->setIconPixmap(
        applicationIcon().pixmap(QSize(alertIconSize, alertIconSize), box->devicePixelRatio()));
    box->setText(QString::fromStdString(alert.message));
    box->setInformativeText(readable(QString::fromStdString(alert.informativeText)));
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

void openLines(QWidget *parent, const std::string &title, const std::vector<std::string> &lines) {
    const QString name = QStringLiteral("lines");
    delete parent->findChild<QDialog *>(name);
    auto *window = new QDialog(parent);
    window->setObjectName(name);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(QString::fromUtf8(applicationName));
    auto *heading = new QLabel(oneLine(QString::fromStdString(title)));
    heading->setTextFormat(Qt::PlainText);
    heading->setFont(look::font(13, QFont::DemiBold));
    auto *list = new QListWidget;
    list->setAccessibleName(QString::fromStdString(title));
    list->setWordWrap(true);
    for (const std::string &line : lines)
        list->addItem(oneLine(QString::fromStdString(line)));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(buttons, &QDialogButtonBox::rejected, window, &QDialog::reject);
    auto *rows = new QVBoxLayout(window);
    rows->addWidget(heading);
    rows->addWidget(list);
    rows->addWidget(buttons);
    window->resize(linesSize);
    window->show();
}

void openFolderChooser(QWidget *parent, const std::filesystem::path &current,
                       std::function<void(std::optional<std::filesystem::path>)> chosen) {
    // The chooser would keep its size and history in a file of the home.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
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

} // namespace corvane
