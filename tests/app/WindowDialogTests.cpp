// What opens in front of the window: alerts, the folder chooser, About.

#include "app/Dialogs.h"
#include "tests/app/Activate.h"
#include "tests/app/WindowFixture.h"
#include "tests/support/BuiltFiles.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What was set of a window of this name by the time it came up, where it would have been seen to change.
class AtShow : public QObject {
public:
    explicit AtShow(const char *name) : name(QString::fromUtf8(name)) { qApp->installEventFilter(this); }

    QSize size;
    Qt::WindowModality modality = Qt::NonModal;
    QLayout::SizeConstraint constraint = QLayout::SetDefaultConstraint;

    bool eventFilter(QObject *object, QEvent *event) override {
        if (event->type() == QEvent::Show && object->objectName() == name) {
            const auto *widget = static_cast<QWidget *>(object);
            size = widget->size();
            modality = widget->windowModality();
            constraint = widget->layout()->sizeConstraint();
        }
        return false;
    }

private:
    QString name;
};

/// An icon of which there is any size.
QIcon largeIcon() {
    QPixmap picture(512, 512);
    picture.fill(Qt::red);
    return {picture};
}

class DialogTest : public testing::Test {
protected:
    template <class Control>
    Control *opened(const char *name) {
        auto *found = parent.findChild<Control *>(QString::fromUtf8(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    bool isGone(const char *name) {
        return QTest::qWaitFor(
            [&] { return parent.findChild<QWidget *>(QString::fromUtf8(name)) == nullptr; }, 5000);
    }

    QWidget parent;
};

TEST_F(DialogTest, WhatIsClosedIsGone) {
    openAlert(&parent, {"Update Session", "It will close."}, [](std::size_t) {});
    openLines(&parent, "Plan", {"One"});
    openFolderChooser(&parent, "/", [](const auto &) {});
    openAbout(&parent, largeIcon(), "Some licence");
    opened<QAbstractButton>("licences")->click();
    for (const char *name : {"notices", "about", "folderChooser", "lines", "alert"}) {
        opened<QWidget>(name)->close();
        EXPECT_TRUE(isGone(name)) << name;
    }
}

TEST_F(DialogTest, WhatComesUpHasItsSizeAlready) {
    const AtShow alert("alert");
    const AtShow lines("lines");
    const AtShow about("about");
    const AtShow notices("notices");
    openLines(&parent, "Plan", {"One"});
    EXPECT_EQ(lines.size, QSize(560, 320));
    openAbout(&parent, largeIcon(), "Some licence");
    EXPECT_EQ(about.constraint, QLayout::SetFixedSize);
    opened<QAbstractButton>("licences")->click();
    EXPECT_EQ(notices.size, QSize(760, 520));
    openAlert(&parent, {"Update Session", "It will close."}, [](std::size_t) {});
    EXPECT_EQ(alert.modality, Qt::ApplicationModal);
}

TEST_F(DialogTest, LinesAreListedOneByOneAndClosedByTheirButton) {
    openLines(&parent, "Plan", {"One", "Two\nlines", "Three"});
    const auto *list = parent.findChild<QListWidget *>();
    QStringList texts;
    for (int row = 0; row < list->count(); ++row)
        texts << list->item(row)->text();
    EXPECT_EQ(texts, QStringList({"One", "Two lines", "Three"}));
    parent.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Close)->click();
    EXPECT_TRUE(isGone("lines"));
}

TEST_F(DialogTest, TheProgramsPictureHasItsSize) {
    const QIcon before = QApplication::windowIcon();
    QApplication::setWindowIcon(largeIcon());
    openAlert(&parent, {"Update Session", "It will close."}, [](std::size_t) {});
    QApplication::setWindowIcon(before);
    const QPixmap picture = opened<QMessageBox>("alert")->iconPixmap();
    EXPECT_EQ(picture.deviceIndependentSize(), QSizeF(56, 56));
    openAbout(&parent, largeIcon(), "");
    QSizeF largest;
    for (const QLabel *label : opened<QDialog>("about")->findChildren<QLabel *>())
        largest = largest.expandedTo(label->pixmap().deviceIndependentSize());
    EXPECT_EQ(largest, QSizeF(128, 128));
}

TEST_F(DialogTest, AboutIsBroughtToTheFrontWhenItIsOpenAlready) {
    openAbout(&parent, largeIcon(), "");
    auto *about = opened<QDialog>("about");
    ASSERT_TRUE(QTest::qWaitForWindowActive(about));
    QWidget other;
    other.show();
    activate(other);
    struct Raised : QObject {
        int times = 0;
        bool eventFilter(QObject *, QEvent *event) override {
            times += event->type() == QEvent::ZOrderChange ? 1 : 0;
            return false;
        }
    } raised;
    about->installEventFilter(&raised);
    openAbout(&parent, largeIcon(), "");
    EXPECT_EQ(raised.times, 1);
    EXPECT_TRUE(QTest::qWaitForWindowActive(about));
    EXPECT_EQ(parent.findChildren<QDialog *>("about").size(), 1);
}

TEST_F(DialogTest, TheFolderChooserIsShownAndSaysAlsoThatNothingWasChosen) {
    std::vector<std::optional<std::filesystem::path>> chosen;
    openFolderChooser(&parent, "/", [&](const auto &folder) { chosen.push_back(folder); });
    auto *panel = opened<QFileDialog>("folderChooser");
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
    panel->reject();
    EXPECT_THAT(chosen, ElementsAre(std::nullopt));
}

TEST_F(DialogTest, TheFolderChooserKeepsNothing) {
    openFolderChooser(&parent, "/", [](const auto &) {});
    EXPECT_EQ(QSettings(QSettings::NativeFormat, QSettings::UserScope, "QtProject").fileName(),
              "/dev/null/QtProject.conf");
}

// Alerts

TEST_F(DialogTest, EscapeChoosesTheLastOfManyButtons) {
    std::vector<std::size_t> answers;
    openAlert(&parent, {"Update Session", "It will close.", {"Update", "Show", "Cancel"}},
              [&](std::size_t button) { answers.push_back(button); });
    auto *box = opened<QMessageBox>("alert");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(box));
    QTest::keyClick(box, Qt::Key_Escape);
    EXPECT_THAT(answers, ElementsAre(2));
}

class AlertTest : public WindowFixture {
protected:
    QMessageBox *ask() {
        window.showAlert({"Update Session", "Path <b>/a</b>", {"Update", "Cancel"}},
                         [this](std::size_t button) { answers.push_back(button); });
        auto *box = window.findChild<QMessageBox *>("alert");
        EXPECT_TRUE(QTest::qWaitForWindowExposed(box));
        return box;
    }
    std::vector<std::size_t> answers;
};

TEST_F(AlertTest, ShowsItsTextsAsTheyAreAndBlocksTheWindow) {
    launch();
    QMessageBox *box = ask();
    EXPECT_EQ(box->text(), "Update Session");
    EXPECT_EQ(box->informativeText(), "Path <b>/a</b>");
    for (const QLabel *label : box->findChildren<QLabel *>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_TRUE(box->isModal());
    EXPECT_EQ(box->defaultButton()->text(), "Update");
    EXPECT_THAT(answers, IsEmpty()) << "showing it must not wait for the answer";
}

TEST_F(AlertTest, ReturnChoosesTheDefaultAndEscapeTheLastButton) {
    launch();
    QTest::keyClick(ask(), Qt::Key_Return);
    EXPECT_THAT(answers, ElementsAre(0));
    QTest::qWait(1); // lets the closed one be deleted
    QTest::keyClick(ask(), Qt::Key_Escape);
    EXPECT_THAT(answers, ElementsAre(0, 1));
}

TEST_F(AlertTest, AClickChoosesItsButton) {
    launch();
    for (QAbstractButton *button : ask()->buttons())
        if (button->text() == "Cancel")
            QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_THAT(answers, ElementsAre(1));
}

TEST_F(AlertTest, AnAlertWithOneButtonIsAnsweredOnceHoweverItIsClosed) {
    launch();
    window.showAlert({"Session was not updated", "Because."},
                     [this](std::size_t b) { answers.push_back(b); });
    window.findChild<QMessageBox *>("alert")->close();
    EXPECT_THAT(answers, ElementsAre(0));
}

// Folder chooser

class FolderTest : public WindowFixture {
protected:
    QFileDialog *open() {
        click("chooseButton");
        auto *panel = window.findChild<QFileDialog *>("folderChooser");
        EXPECT_NE(panel, nullptr);
        return panel;
    }
};

TEST_F(FolderTest, ChoosesFoldersAloneStartingFromTheOneThatIsSet) {
    launch();
    QFileDialog *panel = open();
    EXPECT_EQ(panel->fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(panel->testOption(QFileDialog::ShowDirsOnly));
    EXPECT_EQ(panel->directory().absolutePath().toStdString(), fakes.musicFolder->string());
}

TEST_F(FolderTest, CancellingLeavesThePathAsItWas) {
    launch();
    QFileDialog *panel = open();
    window.setOutputPath("/elsewhere");
    panel->reject();
    EXPECT_EQ(window.outputPath(), "/elsewhere");
}

TEST_F(FolderTest, NothingIsWrittenIntoTheHome) {
    launch();
    QFileDialog *panel = open();
    panel->reject();
    QTest::qWait(1); // lets it be deleted, which is when it would write
    EXPECT_EQ(window.findChild<QFileDialog *>("folderChooser"), nullptr);
    const QSettings file(QSettings::UserScope, "QtProject");
    EXPECT_FALSE(QFile::exists(file.fileName())) << file.fileName().toStdString();
}

TEST_F(FolderTest, TheChosenFolderIsShown) {
    launch();
    const auto chosen = fakes.folder.path() / "Tour 2026";
    std::filesystem::create_directories(chosen);
    QFileDialog *panel = open();
    panel->selectFile(QString::fromStdString(chosen.string()));
    panel->findChild<QLineEdit *>("fileNameEdit")->setText(QString::fromStdString(chosen.string()));
    static_cast<QDialog *>(panel)->accept();
    EXPECT_EQ(window.outputPath(), chosen.string());
}

// About

using AboutTest = WindowFixture;

TEST_F(AboutTest, NamesProgramVersionAndCredits) {
    launch();
    controller->showAbout();
    auto *about = window.findChild<QDialog *>("about");
    ASSERT_NE(about, nullptr);
    QStringList texts;
    for (const QLabel *label : about->findChildren<QLabel *>())
        texts << label->text();
    EXPECT_TRUE(texts.contains("Corvane"));
    EXPECT_TRUE(texts.contains("Version 1.2.3 (" CORVANE_BUILD ")")) << texts.join('\n').toStdString();
    EXPECT_TRUE(texts.join('\n').contains("ONLINE INTEGRATION FOR EMOTION LV1 + LIVETRAX\n\n"));
    controller->showAbout();
    EXPECT_EQ(window.findChildren<QDialog *>("about").size(), 1);
}

TEST_F(AboutTest, ShowsTheLicencesOfWhatTheProgramIsMadeOf) {
    fakes.resources->files["ThirdPartyNotices.txt"] = seedTemplate().parent_path() / "ThirdPartyNotices.txt";
    launch();
    controller->showAbout();
    auto *button = window.findChild<QAbstractButton *>("licences");
    ASSERT_NE(button, nullptr);
    button->click();
    const auto *notices = window.findChild<QPlainTextEdit *>();
    ASSERT_NE(notices, nullptr);
    for (const char *named : {"CLI11", "Asio", "nlohmann-json", "Qt 6", "libxml2", "Avahi"})
        EXPECT_TRUE(notices->toPlainText().contains(named)) << named;
    EXPECT_TRUE(notices->isReadOnly());
}
} // namespace

} // namespace corvane
