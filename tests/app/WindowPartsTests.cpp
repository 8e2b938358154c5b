// How each part of the window and of what it opens is set up, and in what it is laid out.

#include "app/BezelButton.h"
#include "app/BusyMark.h"
#include "app/ChannelTable.h"
#include "app/HostMenu.h"
#include "tests/app/Activate.h"
#include "tests/app/Painting.h"
#include "tests/app/WindowFixture.h"

#include <QAbstractItemDelegate>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleOptionViewItem>

namespace corvane {

namespace {

/// A widget on one line and what is laid out in it on the lines below, further to the right.
class Description {
public:
    static std::string of(const QWidget *widget) {
        Description made;
        made.add(widget, 0, "");
        return made.text.replace(CORVANE_BUILD, "BUILD").toStdString();
    }

private:
    static QString size(QSize size) { return QString("%1x%2").arg(size.width()).arg(size.height()); }
    static QString quoted(const QString &text) { return " '" + text + "'"; }
    static QString wordsOf(const QWidget *widget) {
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            return label->text();
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            return button->text();
        if (const auto *field = qobject_cast<const QLineEdit *>(widget))
            return field->text();
        const auto *list = qobject_cast<const QComboBox *>(widget);
        return list != nullptr ? list->currentText() : QString();
    }
    static QString lookOf(const QWidget *widget) {
        if (qobject_cast<const QPlainTextEdit *>(widget) != nullptr)
            return widget->font() == QFontDatabase::systemFont(QFontDatabase::FixedFont) ? " fixed font" : "";
        QString look = QString(" %1px/%2").arg(widget->font().pixelSize()).arg(widget->font().weight());
        if (const auto *label = qobject_cast<const QLabel *>(widget)) {
            look += " " + label->palette().color(QPalette::WindowText).name();
            look +=
                QString(" format %1 align %2").arg(label->textFormat()).arg(int(label->alignment()), 0, 16);
            if (label->buddy() != nullptr)
                look += " for " + label->buddy()->objectName();
        }
        return look;
    }
    static QString boundsOf(const QWidget *widget) {
        const QSize endless(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        QString bounds;
        if (widget->isWindow()) // as large as its contents: that is up to the fonts
            return bounds;
        if (widget->minimumSize() != QSize(0, 0))
            bounds += " from " + size(widget->minimumSize());
        if (widget->maximumSize() != endless)
            bounds += " to " + size(widget->maximumSize());
        const QSizePolicy policy = widget->sizePolicy();
        return bounds + QString(" policy %1/%2").arg(policy.horizontalPolicy()).arg(policy.verticalPolicy());
    }
    void add(const QWidget *widget, int depth, const QString &where) {
        const QString name = widget->objectName();
        text += QString(depth, ' ') + (name.isEmpty() ? widget->metaObject()->className() : name) + where;
        text += quoted(wordsOf(widget)) + lookOf(widget) + boundsOf(widget);
        text += QString(" focus %1").arg(widget->focusPolicy());
        for (const QString &words : {widget->accessibleName(), widget->toolTip()})
            if (!words.isEmpty())
                text += quoted(words);
        text += QString(widget->isHidden() ? " hidden" : "") + (widget->isEnabled() ? "\n" : " disabled\n");
        if (widget->layout() != nullptr && qobject_cast<const QDialogButtonBox *>(widget) == nullptr)
            add(widget->layout(), depth + 1, "");
    }
    /// Of the columns, those that are empty at the end too.
    static QString stretches(const QGridLayout &grid) {
        QStringList all;
        for (int column = 0; column < grid.columnCount(); ++column)
            all << QString::number(grid.columnStretch(column));
        return all.join(",");
    }
    void add(const QLayout *layout, int depth, const QString &where) {
        const QMargins margins = layout->contentsMargins();
        text += QString(depth, ' ') + layout->metaObject()->className() + where +
                QString(" %1,%2,%3,%4")
                    .arg(margins.left())
                    .arg(margins.top())
                    .arg(margins.right())
                    .arg(margins.bottom());
        const auto *grid = qobject_cast<const QGridLayout *>(layout);
        const auto *box = qobject_cast<const QBoxLayout *>(layout);
        if (grid != nullptr)
            text += QString(" apart %1x%2 stretch %3")
                        .arg(grid->horizontalSpacing())
                        .arg(grid->verticalSpacing())
                        .arg(stretches(*grid));
        else
            text += QString(" apart %1").arg(layout->spacing());
        text += QString(" constraint %1\n").arg(layout->sizeConstraint());
        for (int index = 0; index < layout->count(); ++index) {
            QLayoutItem *item = layout->itemAt(index);
            QString place;
            if (grid != nullptr) {
                int row = 0;
                int column = 0;
                int rows = 0;
                int columns = 0;
                grid->getItemPosition(index, &row, &column, &rows, &columns);
                place = QString(" @%1,%2").arg(row).arg(column);
            } else if (box != nullptr && box->stretch(index) != 0) {
                place = QString(" *%1").arg(box->stretch(index));
            }
            if (item->alignment() != Qt::Alignment())
                place += QString(" align %1").arg(int(item->alignment()), 0, 16);
            if (item->widget() != nullptr)
                add(item->widget(), depth + 1, place);
            else if (item->layout() != nullptr)
                add(item->layout(), depth + 1, place);
            else
                text += QString(depth + 1, ' ') + "space " + size(item->sizeHint()) +
                        QString(" expands %1\n").arg(int(item->expandingDirections()));
        }
    }

    QString text;
};

using WindowPartsTest = WindowFixture;

TEST_F(WindowPartsTest, EachPartOfTheWindowHasItsPlaceItsLookAndItsWords) {
    window.buildUI();
    EXPECT_EQ(Description::of(window.centralWidget()), R"(content '' 13px/400 policy 5/5 focus 0
 QVBoxLayout 20,18,20,18 apart 10 constraint 0
  QWidget '' 13px/400 policy 5/5 focus 0
   QHBoxLayout 0,0,0,0 apart 10 constraint 0
    icon '' 13px/400 #e6e6e6 format 2 align 81 from 38x38 to 38x38 policy 5/5 focus 0
    QLabel 'CORVANE' 23px/700 #f7f7f7 format 2 align 81 policy 5/5 focus 0
    QLabel 'for LiveTrax' 23px/300 #c7c7c7 format 2 align 81 policy 5/5 focus 0
    space 0x0 expands 1
  subtitle 'ONLINE INTEGRATION · PATCH / NAMES / COLORS' 10px/400 #949494 format 2 align 81 policy 5/5 focus 0
  separator '' 13px/400 from 0x1 to 16777215x1 policy 5/5 focus 0
  QWidget '' 13px/400 policy 5/5 focus 0
   QHBoxLayout 0,0,0,0 apart 12 constraint 0
    QLabel 'LV1 HOST' 11px/400 #b8b8b8 format 2 align 81 for devicePopup policy 5/5 focus 0
    devicePopup *1 'Buscando en la red SoundGrid…' 13px/400 from 340x30 to 16777215x30 policy 5/0 focus 11 'The LV1 host to connect to; choosing another one connects to that'
    connectButton 'SYNC LV1' 13px/600 policy 0/0 focus 11 'SYNC LV1'
  QHBoxLayout 0,0,0,0 apart 8 constraint 0
   statusLabel *1 'Starting…' 13px/400 #b8b8b8 format 0 align 81 policy 13/0 focus 0
   busyMark '' 13px/400 from 14x14 to 14x14 policy 5/5 focus 0 'The session is being updated' hidden
  patchButton 'PATCH LV1 · waiting for sync  ▸' 12px/400 policy 1/0 focus 11 'Show or hide the console's channels'
  channelScroll '' 13px/400 to 16777215x0 policy 5/5 focus 0 hidden
   QVBoxLayout 0,0,0,0 apart 0 constraint 0
    table '' 13px/400 policy 7/7 focus 11 'LV1 channels'
  QWidget *1 '' 13px/400 from 0x26 policy 5/5 focus 0
   QVBoxLayout 0,0,0,0 apart 0 constraint 0
    noticeRow '' 13px/400 to 16777215x40 policy 5/5 focus 0 'Notice' hidden
     QHBoxLayout 11,1,4,1 apart 8 constraint 0
      noticeText *1 '' 12px/400 #f0dfb4 format 0 align 81 policy 13/7 focus 0
      noticeAction '' 12px/400 policy 1/0 focus 1
      noticeDismiss '✕' 12px/400 policy 1/0 focus 1 'Dismiss this notice' 'Put this away until there is something else to say'
  sessionFields '' 13px/400 from 0x58 to 16777215x58 policy 5/5 focus 0
   QGridLayout 0,0,0,0 apart 10x6 stretch 0,0,1 constraint 0
    QLabel @0,0 align 82 'Session name:' 13px/400 #e6e6e6 format 2 align 81 for sessionName policy 5/5 focus 0
    sessionName @0,1 'LV1 Session' 13px/400 from 500x26 to 500x26 policy 7/0 focus 11 'Session name'
    QLabel @1,0 align 82 'Save in:' 13px/400 #e6e6e6 format 2 align 81 for outputPath policy 5/5 focus 0
    QWidget @1,1 '' 13px/400 from 500x0 to 500x16777215 policy 5/5 focus 0
     QHBoxLayout 0,0,0,0 apart 8 constraint 0
      outputPath *1 '' 13px/400 from 0x26 to 16777215x26 policy 7/0 focus 11 'Save in folder'
      chooseButton 'Choose…' 13px/600 from 0x26 to 16777215x26 policy 0/0 focus 11 'Choose the folder to save in' 'Choose the folder that the session is saved in'
  QWidget '' 13px/400 policy 5/5 focus 0
   QHBoxLayout 0,0,0,0 apart 12 constraint 0
    sceneLabel *1 'Scene: —' 13px/400 #c7c7c7 format 0 align 81 policy 13/0 focus 0
    syncButton 'Create LiveTrax Session' 13px/600 policy 0/0 focus 11 'Create LiveTrax Session' 'Makes a LiveTrax session with one armed track for each channel and opens it. Possible once the console's channels are known.' disabled
)");
    EXPECT_EQ(window.objectName(), "window");
    const auto look = [this](const char *button) {
        return static_cast<BezelButton *>(control(button))->currentLook();
    };
    EXPECT_TRUE(look("connectButton") == redLook);
    EXPECT_TRUE(look("syncButton") == createLook);
}

TEST_F(WindowPartsTest, SoHasEachPartOfWhatItOpens) {
    fakes.resources->files["ThirdPartyNotices.txt"] = fakes.folder.write("notices", "Some licence");
    window.showAbout();
    EXPECT_EQ(Description::of(control("about")), R"(about '' 13px/400 focus 0
 QVBoxLayout 32,24,32,24 apart 8 constraint 3
  QLabel '' 13px/400 #e6e6e6 format 2 align 4 policy 5/5 focus 0
  QLabel 'Corvane' 17px/700 #f2f2f2 format 0 align 4 policy 5/5 focus 0
  QLabel 'Version 1.2.3 (BUILD)' 11px/400 #b8b8b8 format 0 align 4 policy 5/5 focus 0
  space 0x6 expands 0
  QLabel 'ONLINE INTEGRATION FOR EMOTION LV1 + LIVETRAX

Designed at the mixing position, for engineers who record every show
Made by the Corvane project' 11px/400 #949494 format 0 align 4 policy 5/5 focus 0
  licences align 4 'Licences' 13px/400 from 96x0 policy 1/0 focus 11
)");
    control<QAbstractButton>("licences")->click();
    EXPECT_TRUE(control("notices")->isVisible());
    EXPECT_EQ(Description::of(control("notices")), R"(notices '' 13px/400 focus 0
 QVBoxLayout 11,11,11,11 apart 6 constraint 0
  QPlainTextEdit '' fixed font policy 7/7 focus 11 'Licences'
)");
    EXPECT_EQ(control("notices")->findChild<QPlainTextEdit *>()->lineWrapMode(), QPlainTextEdit::NoWrap);
    window.showLines("What would\nchange", {"One", "Two\nlines"});
    EXPECT_TRUE(control("lines")->isVisible());
    EXPECT_EQ(Description::of(control("lines")), R"(lines '' 13px/400 focus 0
 QVBoxLayout 11,11,11,11 apart 6 constraint 0
  QLabel 'What would change' 13px/600 #e6e6e6 format 0 align 81 policy 5/5 focus 0
  QListWidget '' 13px/400 policy 7/7 focus 11 'What would
change'
  QDialogButtonBox '' 13px/400 policy 7/0 focus 0
)");
    EXPECT_TRUE(control("lines")->findChild<QListWidget *>()->wordWrap());
    EXPECT_FALSE(control<QPushButton>("licences")->autoDefault());
}

constexpr auto edgeOfAHundred =
    "0.0,6.0 0.0,2.7 2.7,0.0 6.0,0.0 94.0,0.0 97.3,0.0 100.0,2.7 100.0,6.0 100.0,24.0 100.0,27.3 97.3,30.0 "
    "94.0,30.0 6.0,30.0 2.7,30.0 0.0,27.3 0.0,24.0 0.0,6.0  no pen filled ";

TEST_F(WindowPartsTest, AButtonIsPaintedInTheColourOfItsState) {
    BezelButton button("Sync");
    const auto painted = [&](ButtonLook::Tint tint) {
        button.setLook({0.2, 0.4, 0.6, 1, tint, ButtonLook::Symbol::none});
        button.resize(100, 30);
        std::string lines = Painting::of(button);
        EXPECT_TRUE(lines.starts_with(edgeOfAHundred)) << lines;
        return lines.substr(lines.find("filled"));
    };
    const std::string noSymbol = " pen #ff000000 2.4 cap 20 join 80 smooth\n";
    EXPECT_EQ(painted(ButtonLook::Tint::black),
              "filled #ff336699 smooth\n" + noSymbol + "'Sync' #ff000000\n");
    button.setAttribute(Qt::WA_UnderMouse);
    EXPECT_EQ(painted(ButtonLook::Tint::black),
              "filled #ff3972ab smooth\n" + noSymbol + "'Sync' #ff000000\n");
    button.setDown(true);
    EXPECT_EQ(painted(ButtonLook::Tint::black),
              "filled #ff274e76 smooth\n" + noSymbol + "'Sync' #ff000000\n");
    button.setEnabled(false);
    EXPECT_EQ(painted(ButtonLook::Tint::white), "filled #59336699 smooth\n"
                                                " pen #80ffffff 2.4 cap 20 join 80 smooth\n"
                                                "'Sync' #80ffffff\n");
}

TEST_F(WindowPartsTest, AButtonsSymbolAndItsFocusAreLines) {
    BezelButton button("");
    button.setLook({0.2, 0.4, 0.6, 1, ButtonLook::Tint::white, ButtonLook::Symbol::triangle});
    button.resize(100, 30);
    button.show();
    activate(button);
    button.setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return button.hasFocus(); }, 30'000));
    const auto painted = [&] {
        const std::string lines = Painting::of(button);
        return lines.substr(lines.find("smooth\n") + 7);
    };
    const std::string ring =
        "2.0,6.5 2.0,4.0 4.0,2.0 6.5,2.0 93.5,2.0 96.0,2.0 98.0,4.0 98.0,6.5 98.0,23.5 98.0,26.0 "
        "96.0,28.0 93.5,28.0 6.5,28.0 4.0,28.0 2.0,26.0 2.0,23.5 2.0,6.5  pen #ffffffff 2 cap 10 "
        "join 40 smooth\n";
    const std::string lines = "  pen #ffffffff 2.4 cap 20 join 80";
    EXPECT_EQ(painted(),
              ring + "46.0,9.7 51.9,20.0 40.1,20.0 46.0,9.7" + lines + " filled #ffffffff smooth\n");
    button.setLook({0.2, 0.4, 0.6, 1, ButtonLook::Tint::white, ButtonLook::Symbol::cross});
    EXPECT_EQ(painted(), ring + "41.2,10.2 50.8,19.8 50.8,10.2 41.2,19.8" + lines + " smooth\n");
}

TEST_F(WindowPartsTest, TheHostMenuIsPaintedAsAFrameATextAndAnArrow) {
    HostMenu menu;
    menu.resize(340, 30);
    menu.refill({"FOH"});
    constexpr auto frame =
        "0.5,6.5 0.5,3.2 3.2,0.5 6.5,0.5 333.5,0.5 336.8,0.5 339.5,3.2 339.5,6.5 339.5,23.5 "
        "339.5,26.8 336.8,29.5 333.5,29.5 6.5,29.5 3.2,29.5 0.5,26.8 0.5,23.5 0.5,6.5  pen ";
    constexpr auto rest =
        " smooth\n'FOH' #ffebebeb\n320.5,13.0 325.0,17.5 329.5,13.0  pen #ffc7c7c7 1.6 cap 20 "
        "join 80 smooth\n";
    EXPECT_EQ(Painting::of(menu), std::string(frame) + "#ff474747 1 cap 10 join 40 filled #ff2d2d2d" + rest);
    menu.setAttribute(Qt::WA_UnderMouse);
    menu.show();
    activate(menu);
    menu.setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return menu.hasFocus(); }, 30'000));
    EXPECT_EQ(Painting::of(menu), std::string(frame) + "#ff4a90e2 1 cap 10 join 40 filled #ff343434" + rest);
}

TEST_F(WindowPartsTest, TheBusyMarkIsAnArcThatTurnsWhileItIsShown) {
    BusyMark busy;
    const std::string first = Painting::of(busy);
    EXPECT_EQ(first,
              "12.5,7.0 12.5,4.0 10.0,1.5 7.0,1.5 4.0,1.5 1.5,4.0 1.5,7.0 1.5,9.7 3.5,12.0 6.0,12.4  pen "
              "#ffc7c7c7 2 cap 20 join 40 smooth\n");
    busy.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Painting::of(busy) != first; }, 30'000));
    busy.hide();
    const std::string last = Painting::of(busy);
    QTest::qWait(100);
    EXPECT_EQ(Painting::of(busy), last);
}

TEST_F(WindowPartsTest, ASwatchIsPaintedAndLeavesThePainterAsItWas) {
    ChannelTable table;
    table.reload({LV1Channel("Kick", false, "Driver", 1, "Mixer_Ch", 1, 1, 0.2F, 0)});
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 28, 24);
    Painting swatch(option.rect.size());
    QPainter painter(&swatch);
    table.itemDelegateForColumn(0)->paint(&painter, option, table.model()->index(0, 0));
    EXPECT_EQ(swatch.text(),
              "5.0,7.0 5.0,4.8 6.8,3.0 9.0,3.0 19.0,3.0 21.2,3.0 23.0,4.8 23.0,7.0 23.0,17.0 "
              "23.0,19.2 21.2,21.0 19.0,21.0 9.0,21.0 6.8,21.0 5.0,19.2 5.0,17.0 5.0,7.0  no pen "
              "filled #ffff3300 smooth\n");
    EXPECT_FALSE(painter.testRenderHint(QPainter::Antialiasing));
    EXPECT_NE(painter.pen().style(), Qt::NoPen);
}

TEST_F(WindowPartsTest, WithoutAMenuTheWindowMakesNone) {
    window.buildUI();
    EXPECT_EQ(window.findChild<QMenuBar *>(), nullptr);
    EXPECT_EQ(window.minimumHeight(), 350);
    EXPECT_EQ(window.focusWidget(), control("devicePopup"));
    EXPECT_TRUE(window.close()) << "nobody has anything to finish";
}

} // namespace

} // namespace corvane
