// What opens in front of the window: alerts, the folder chooser, About.

#include "tests/app/WindowFixture.h"

#include "tests/support/BuiltFiles.h"

#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Alerts

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
