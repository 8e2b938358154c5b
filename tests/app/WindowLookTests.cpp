// The looks that no other test needs: shades, fonts and the room between the parts.

#include "app/BezelButton.h"
#include "app/Look.h"
#include "tests/app/WindowFixture.h"

#include <QDialog>
#include <QFileDialog>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>

namespace corvane {

namespace {

class WindowLookTest : public WindowFixture {
protected:
    QRect place(const QWidget *widget) const {
        return {widget->mapTo(window.centralWidget(), QPoint(0, 0)), widget->size()};
    }
    /// The points between two controls in a row.
    int between(const QWidget *left, const QWidget *right) const {
        return place(right).left() - place(left).right() - 1;
    }
    QLabel *captionOf(const char *field) const {
        for (auto *label : window.findChildren<QLabel *>())
            if (label->buddy() == control(field))
                return label;
        ADD_FAILURE() << field;
        return nullptr;
    }
};

TEST_F(WindowLookTest, EveryRoleOfThePaletteHasItsShadeWhateverTheDesktopHas) {
    QApplication::setPalette(QPalette(Qt::magenta, Qt::magenta));
    look::apply(*qApp);
    const QPalette palette = QApplication::palette();
    const std::vector<std::pair<QPalette::ColorRole, double>> shades{{QPalette::Window, look::windowGrey},
                                                                     {QPalette::WindowText, 0.90},
                                                                     {QPalette::Base, 0.075},
                                                                     {QPalette::AlternateBase, 0.135},
                                                                     {QPalette::Text, 0.90},
                                                                     {QPalette::PlaceholderText, 0.45},
                                                                     {QPalette::Button, 0.21},
                                                                     {QPalette::ButtonText, 0.92},
                                                                     {QPalette::BrightText, 1.0},
                                                                     {QPalette::ToolTipBase, 0.18},
                                                                     {QPalette::ToolTipText, 0.92},
                                                                     {QPalette::HighlightedText, 1.0}};
    for (const auto &[role, shade] : shades)
        EXPECT_NEAR(palette.color(QPalette::Active, role).lightnessF(), shade, 0.004) << role;
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        EXPECT_NEAR(palette.color(QPalette::Disabled, role).lightnessF(), 0.42, 0.004) << role;
    EXPECT_EQ(palette.color(QPalette::Link), QColor(74, 144, 226));
    EXPECT_EQ(palette.color(QPalette::Highlight), QColor(74, 144, 226).darker(150));
    EXPECT_EQ(QApplication::font().pixelSize(), 13);
}

TEST_F(WindowLookTest, AButtonHasRoomForItsShapeAndItsTitle) {
    BezelButton button("SYNC LV1");
    EXPECT_EQ(button.font().pixelSize(), 13);
    EXPECT_EQ(button.font().weight(), QFont::DemiBold);
    const int title = QFontMetrics(button.font()).horizontalAdvance(button.text());
    button.setLook({0.2, 0.2, 0.2, 1, ButtonLook::Tint::white, ButtonLook::Symbol::none});
    EXPECT_EQ(button.sizeHint(), QSize(title + 32, 30));
    button.setLook({0.2, 0.2, 0.2, 1, ButtonLook::Tint::white, ButtonLook::Symbol::check});
    EXPECT_EQ(button.sizeHint(), QSize(title + 32 + 19, 30));
}

TEST_F(WindowLookTest, ATriangleIsFilledAndACrossIsLines) {
    BezelButton button("");
    const auto lit = [&](ButtonLook::Symbol symbol) {
        button.setLook({0, 0, 0, 1, ButtonLook::Tint::white, symbol});
        button.resize(button.sizeHint());
        const QImage image = button.grab().toImage();
        int count = 0;
        for (int x = 0; x < image.width(); ++x)
            for (int y = 8; y < 22; ++y)
                count += image.pixelColor(x, y).lightness() > 128 ? 1 : 0;
        return count;
    };
    const int triangle = lit(ButtonLook::Symbol::triangle);
    const int cross = lit(ButtonLook::Symbol::cross);
    EXPECT_GT(triangle, 70);
    EXPECT_LT(cross, 70);
    EXPECT_GT(cross, 30);
}

TEST_F(WindowLookTest, TheTableFillsItsFrame) {
    launch();
    control("channelScroll")->setFixedHeight(100);
    control("channelScroll")->show();
    QTest::qWait(1);
    EXPECT_EQ(control("table")->geometry(), control("channelScroll")->rect());
}

TEST_F(WindowLookTest, ThePartsOfARowStandApart) {
    launch();
    QLabel *name = nullptr;
    QLabel *forWhat = nullptr;
    for (auto *label : window.findChildren<QLabel *>()) {
        name = label->text() == "CORVANE" ? label : name;
        forWhat = label->text() == "for LiveTrax" ? label : forWhat;
    }
    ASSERT_NE(name, nullptr);
    ASSERT_NE(forWhat, nullptr);
    EXPECT_EQ(between(control("icon"), name), 10);
    EXPECT_EQ(between(name, forWhat), 10);
    EXPECT_EQ(between(control("outputPath"), control("chooseButton")), 8);
    EXPECT_EQ(between(captionOf("sessionName"), control("sessionName")), 10);
    EXPECT_EQ(between(control("sceneLabel"), control("syncButton")), 12);
    EXPECT_EQ(place(control("outputPath")).top() - place(control("sessionName")).bottom() - 1, 6);
    EXPECT_EQ(captionOf("sessionName")->font().pixelSize(), 13);
    EXPECT_EQ(captionOf("outputPath")->font().pixelSize(), 13);
    EXPECT_EQ(control("sceneLabel")->font().pixelSize(), 13);
    EXPECT_EQ(control("statusLabel")->font().pixelSize(), 13);
}

TEST_F(WindowLookTest, TheBusyMarkStandsAtTheEndOfTheStatus) {
    launch();
    window.setUpdateUnderWay(true);
    QTest::qWait(1);
    EXPECT_EQ(control("busyMark")->size(), QSize(14, 14));
    EXPECT_EQ(between(control("statusLabel"), control("busyMark")), 8);
    EXPECT_EQ(place(control("busyMark")).right(), 739);
}

TEST_F(WindowLookTest, ANoticesActionStandsBeforeTheWayToPutItAway) {
    launch();
    window.showNotice(Notice{Notice::Kind::otherSession, "LiveTrax opened “Palau” last.", "Use “Palau”"});
    QTest::qWait(1);
    EXPECT_EQ(place(control("noticeText")).left() - place(control("noticeRow")).left(), 12);
    EXPECT_EQ(between(control("noticeText"), control("noticeAction")), 8);
    EXPECT_EQ(between(control("noticeAction"), control("noticeDismiss")), 8);
    EXPECT_EQ(place(control("noticeRow")).right() - place(control("noticeDismiss")).right(), 5);
    EXPECT_EQ(control("noticeText")->font().pixelSize(), 12);
    EXPECT_EQ(control("noticeAction")->font().pixelSize(), 12);
}

TEST_F(WindowLookTest, WhatOpensBesideTheWindowBearsItsTitleAndHasItsSize) {
    fakes.resources->files["ThirdPartyNotices.txt"] = fakes.folder.write("notices", "Some licence");
    launch();
    controller->showAbout();
    EXPECT_EQ(control("about")->windowTitle(), "About Corvane");
    control<QAbstractButton>("licences")->click();
    EXPECT_EQ(control("notices")->windowTitle(), "Licences");
    EXPECT_EQ(control("notices")->size(), QSize(760, 520));
    window.showLines("Plan", {"“Kick” is new"});
    EXPECT_EQ(control("lines")->windowTitle(), "Corvane");
    EXPECT_EQ(control("lines")->size(), QSize(560, 320));
    EXPECT_EQ(control("lines")->findChild<QListWidget *>()->accessibleName(), "Plan");
    click("chooseButton");
    auto *chooser = control<QFileDialog>("folderChooser");
    EXPECT_EQ(chooser->windowTitle(), "Choose a Folder");
    EXPECT_EQ(chooser->labelText(QFileDialog::Accept), "Choose");
    chooser->reject();
}

TEST_F(WindowLookTest, AnAlertHasThePictureOfTheProgramAndRoomForASentence) {
    launch();
    window.showAlert({"Session was not updated", "Because."}, [](std::size_t) {});
    auto *box = control<QMessageBox>("alert");
    EXPECT_EQ(box->windowTitle(), "Corvane");
    EXPECT_EQ(box->iconPixmap().isNull(), false);
    EXPECT_EQ(box->findChild<QLabel *>("qt_msgbox_informativelabel")->minimumWidth(), 380);
    box->close();
}

} // namespace

} // namespace corvane
