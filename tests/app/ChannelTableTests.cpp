#include "app/ChannelTable.h"

#include "app/Look.h"
#include "tests/app/Painting.h"
#include "tests/support/ProcessorTime.h"

#include <QAbstractItemDelegate>
#include <QAbstractItemModelTester>
#include <QDeadlineTimer>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionViewItem>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

LV1Channel channel(std::string name, std::int32_t input, bool stereo = false) {
    return {std::move(name), stereo, "Driver", input, "Mixer_Ch", input + 1};
}

std::vector<LV1Channel> many(std::int32_t count) {
    std::vector<LV1Channel> list;
    list.reserve(static_cast<std::size_t>(count));
    for (std::int32_t number = 0; number < count; ++number)
        list.push_back(channel("Channel " + std::to_string(number + 1), number));
    return list;
}

class ChannelTableTest : public testing::Test {
protected:
    ChannelTableTest() {
        table.resize(720, 230);
        table.show();
    }
    QString cell(int row, int column) const { return table.model()->index(row, column).data().toString(); }

    ChannelTable table;
};

TEST_F(ChannelTableTest, HasItsFourColumns) {
    struct Expected {
        const char *identifier;
        const char *title;
        int width;
    };
    const std::vector<Expected> expected{
        {"color", "", 28}, {"name", "LV1 Channel", 300}, {"format", "Format", 90}, {"input", "SG Input", 90}};
    ASSERT_EQ(table.model()->columnCount(), 4);
    for (int column = 0; column < 4; ++column) {
        const Expected &its = expected[static_cast<std::size_t>(column)];
        EXPECT_EQ(table.model()->headerData(column, Qt::Horizontal, ChannelTableModel::identifierRole),
                  its.identifier);
        EXPECT_EQ(table.model()->headerData(column, Qt::Horizontal), its.title);
        EXPECT_EQ(table.columnWidth(column), its.width);
    }
}

TEST_F(ChannelTableTest, IsAListOfWholeRowsThatNobodyEditsOrSorts) {
    EXPECT_EQ(table.selectionBehavior(), QTableView::SelectRows);
    EXPECT_EQ(table.selectionMode(), QTableView::ExtendedSelection);
    EXPECT_EQ(table.editTriggers(), QTableView::NoEditTriggers);
    EXPECT_FALSE(table.showGrid());
    EXPECT_FALSE(table.wordWrap());
    EXPECT_FALSE(table.tabKeyNavigation());
    EXPECT_FALSE(table.isCornerButtonEnabled());
    EXPECT_EQ(table.verticalScrollMode(), QTableView::ScrollPerPixel);
    EXPECT_EQ(table.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    EXPECT_EQ(table.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(table.verticalHeader()->defaultSectionSize(), 24);
    QHeaderView *header = table.horizontalHeader();
    header->setFont(look::font(40)); // which would take more for itself
    EXPECT_EQ(header->sectionResizeMode(0), QHeaderView::Interactive);
    EXPECT_FALSE(header->highlightSections());
    EXPECT_FALSE(header->sectionsClickable());
    EXPECT_EQ(header->minimumSectionSize(), 28);
    const QAbstractItemModel *model = table.model();
    EXPECT_EQ(model->headerData(0, Qt::Horizontal, Qt::AccessibleTextRole), "Colour");
    EXPECT_EQ(model->headerData(1, Qt::Horizontal, Qt::AccessibleTextRole), "LV1 Channel");
    EXPECT_EQ(model->headerData(1, Qt::Horizontal, Qt::TextAlignmentRole).toInt(),
              int(Qt::AlignLeft | Qt::AlignVCenter));
    EXPECT_FALSE(model->headerData(0, Qt::Vertical).isValid());
    EXPECT_FALSE(model->headerData(-1, Qt::Horizontal).isValid());
    table.reload(many(1));
    EXPECT_EQ(table.verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
    EXPECT_EQ(model->index(0, 2).data(Qt::AccessibleTextRole), "Mono");
    EXPECT_FALSE(model->index(0, 2).data(Qt::ToolTipRole).isValid());
    EXPECT_FALSE(model->index(0, 2).data(Qt::DecorationRole).isValid());
}

TEST_F(ChannelTableTest, KeepsWhatAViewMayRelyOn) {
    const QAbstractItemModelTester tester(table.model(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    for (const std::int32_t count : {3, 10, 10, 4, 0, 1})
        table.reload(many(count));
    EXPECT_EQ(table.model()->rowCount(table.model()->index(0, 0)), 0);
    EXPECT_EQ(table.model()->columnCount(table.model()->index(0, 0)), 0);
}

TEST_F(ChannelTableTest, StartsWithoutRows) {
    EXPECT_EQ(table.model()->rowCount(), 0);
}

TEST_F(ChannelTableTest, ShowsOneRowForEachChannelInOrder) {
    table.reload({channel("Kick", 9), channel("Keys", 4, true)});
    ASSERT_EQ(table.model()->rowCount(), 2);
    EXPECT_EQ(cell(0, 1), "Kick");
    EXPECT_EQ(cell(0, 2), "Mono");
    EXPECT_EQ(cell(0, 3), "10");
    EXPECT_EQ(cell(1, 1), "Keys");
    EXPECT_EQ(cell(1, 2), "Stereo");
    EXPECT_EQ(cell(1, 3), "5–6");
}

TEST_F(ChannelTableTest, AnyOtherIdentifierGetsTheInput) {
    EXPECT_EQ(ChannelTableModel::cellText("whatever", channel("Kick", 9)), "10");
}

TEST_F(ChannelTableTest, WithoutAColumnThereIsNothing) {
    EXPECT_FALSE(table.model()->data(QModelIndex()).isValid());
    EXPECT_FALSE(table.model()->headerData(4, Qt::Horizontal).isValid());
}

TEST_F(ChannelTableTest, ARowOutsideTheChannelsStopsTheProgram) {
    table.reload(many(2));
    const QModelIndex second = table.model()->index(1, 1);
    EXPECT_DEATH(
        {
            table.reload(many(1));
            table.model()->data(second);
        },
        "Corvane stops: a table row without a channel\n");
}

TEST_F(ChannelTableTest, TheSwatchIsASquareOfTheChannelsColour) {
    LV1Channel red = channel("Kick", 0);
    red.red = 1;
    red.green = 0.2F;
    red.blue = 0;
    table.reload({red});
    const QImage image = table.viewport()->grab().toImage();
    const QColor expected(255, 51, 0);
    const QRect swatch(5, 3, 18, 18);
    EXPECT_EQ(image.pixelColor(swatch.center()), expected);
    EXPECT_EQ(image.pixelColor(swatch.left(), swatch.center().y()), expected);
    EXPECT_EQ(image.pixelColor(swatch.right(), swatch.center().y()), expected);
    EXPECT_NE(image.pixelColor(swatch.left() - 1, swatch.center().y()), expected);
    EXPECT_NE(image.pixelColor(swatch.right() + 1, swatch.center().y()), expected);
    EXPECT_NE(image.pixelColor(swatch.topLeft()), expected) << "its corners are round";
}

TEST_F(ChannelTableTest, AColourThatIsNoNumberIsDrawnAsBlack) {
    LV1Channel odd = channel("Kick", 0);
    odd.red = std::numeric_limits<float>::quiet_NaN();
    odd.green = -1;
    odd.blue = 7;
    table.reload({odd});
    EXPECT_EQ(table.model()->index(0, 0).data(ChannelTableModel::swatchRole).value<QColor>(),
              QColor::fromRgbF(0, 0, 1));
}

TEST_F(ChannelTableTest, ALongNameIsWholeOnHover) {
    table.reload({channel(std::string(300, 'x'), 0)});
    QString tip = table.model()->index(0, 1).data(Qt::ToolTipRole).toString();
    EXPECT_TRUE(tip.remove(QChar(0x200B)).contains(QString(300, 'x'))) << tip.toStdString();
    EXPECT_EQ(table.textElideMode(), Qt::ElideRight);
}

TEST_F(ChannelTableTest, ASelectedRowIsLitUnderItsSwatchAsWell) {
    table.setFocusPolicy(Qt::NoFocus);
    table.clearFocus();
    table.reload(many(2));
    table.selectRow(1);
    const QImage painted = table.viewport()->grab().toImage();
    for (const int x : {1, 400})
        EXPECT_NE(painted.pixelColor(x, 24 + 4), painted.pixelColor(x, 4)) << x;
    EXPECT_EQ(painted.pixelColor(1, 24 + 4), painted.pixelColor(400, 24 + 4));
}

TEST_F(ChannelTableTest, ASwatchStandsOnWhatAnyCellOfASelectedRowDoes) {
    table.reload(many(1));
    QStyleOptionViewItem option;
    option.initFrom(&table);
    option.rect = QRect(0, 0, 28, 24);
    option.state = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Selected;
    Painting cell(option.rect.size());
    {
        QPainter painter(&cell);
        table.itemDelegateForColumn(0)->paint(&painter, option, table.model()->index(0, 0));
    }
    EXPECT_THAT(
        cell.text(),
        testing::HasSubstr("filled " +
                           table.palette().color(QPalette::Highlight).name(QColor::HexArgb).toStdString()));
}

TEST_F(ChannelTableTest, AColumnThatIsMadeWiderByOnePointTooManyIsPutRight) {
    const int room = table.viewport()->width() - table.horizontalHeader()->length();
    table.setColumnWidth(1, 300 + room);
    EXPECT_EQ(table.columnWidth(1), 300 + room);
    table.setColumnWidth(1, 300 + room + 1);
    EXPECT_EQ(table.columnWidth(1), 300 + room);
}

TEST_F(ChannelTableTest, WhileItIsHiddenItsColumnsHaveAnyWidth) {
    ChannelTable hidden;
    hidden.setColumnWidth(1, 5000);
    EXPECT_EQ(hidden.columnWidth(1), 5000);
}

TEST_F(ChannelTableTest, AColumnThatIsMadeWiderLeavesTheOthersInView) {
    table.setColumnWidth(1, 5000);
    EXPECT_EQ(table.horizontalHeader()->length(), table.viewport()->width());
    EXPECT_EQ(table.columnWidth(3), 90);
    table.setColumnWidth(2, 5000);
    EXPECT_EQ(table.horizontalHeader()->length(), table.viewport()->width());
    table.setColumnWidth(1, 200);
    EXPECT_EQ(table.columnWidth(1), 200);
}

TEST_F(ChannelTableTest, ScreenReadersAreToldTheColour) {
    table.reload({channel("Kick", 0)});
    EXPECT_EQ(table.model()->index(0, 0).data(Qt::AccessibleTextRole), "Colour #408cd9");
}

TEST_F(ChannelTableTest, KeepsScrollPositionAndSelectionWhenReloaded) {
    table.reload(many(1000));
    table.selectRow(500);
    QTest::qWait(1);
    table.verticalScrollBar()->setValue(480 * 24);
    auto list = many(1000);
    for (LV1Channel &recoloured : list)
        recoloured.red = 1;
    table.reload(list);
    EXPECT_EQ(table.verticalScrollBar()->value(), 480 * 24);
    ASSERT_EQ(table.selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table.selectionModel()->selectedRows().front().row(), 500);
}

TEST_F(ChannelTableTest, TheSelectionFollowsWhatAChannelIsOnTheConsoleNotItsNumberAlone) {
    const LV1Channel channel("Kick", false, "Driver", 1, "Mixer_Ch", 1);
    const LV1Channel group("Drums", false, "Driver", 2, "Mixer_Grp", 1);
    table.reload({channel, group});
    table.selectRow(0);
    table.reload({group, channel});
    ASSERT_EQ(table.selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table.selectionModel()->selectedRows().front().row(), 1);
}

TEST_F(ChannelTableTest, RowsAreOfOneLookAndTheOtherByTurnsWhereverItIsScrolledTo) {
    table.viewport()->setAttribute(Qt::WA_Hover, false); // wherever the pointer is
    table.setFocusPolicy(Qt::NoFocus);
    table.clearFocus();
    table.reload(many(100));
    QTest::qWait(1);
    const QRgb even = table.palette().base().color().rgb();
    const QRgb odd = table.palette().alternateBase().color().rgb();
    EXPECT_NE(even, odd);
    for (const int offset : {0, 7, 24, 50, 100}) {
        table.verticalScrollBar()->setValue(offset);
        const QImage painted = table.viewport()->grab().toImage();
        for (int y = 0; y < painted.height(); ++y)
            for (const int x : {0, painted.width() - 1})
                ASSERT_EQ(painted.pixel(x, y), (y + offset) / 24 % 2 == 0 ? even : odd)
                    << offset << " " << x << " " << y;
    }
}

TEST_F(ChannelTableTest, TheSelectionFollowsToTheFirstRowAndInWhateverOrderItWasMade) {
    table.reload(many(6));
    for (const int row : {4, 1, 3})
        table.selectionModel()->select(table.model()->index(row, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    auto list = many(6);
    std::reverse(list.begin(), list.end());
    list.erase(list.begin()); // so that the fifth channel comes first
    table.reload(list);
    std::vector<int> rows;
    for (const QModelIndex &index : table.selectionModel()->selectedRows())
        rows.push_back(index.row());
    EXPECT_THAT(rows, testing::UnorderedElementsAre(0, 1, 3));
    EXPECT_TRUE(table.selectionModel()->isSelected(table.model()->index(0, 3))) << "the whole row";
}

TEST_F(ChannelTableTest, OfTwoRowsOfOneSourceTheOneThatWasSelectedStaysAlone) {
    auto list = many(3);
    list[2] = list[1];
    table.reload(list);
    table.selectRow(2);
    list[0].red = 1;
    table.reload(list);
    ASSERT_EQ(table.selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table.selectionModel()->selectedRows().front().row(), 2);
}

TEST_F(ChannelTableTest, StaysWhereItIsScrolledToWhenTheRowOfTheKeyboardGoes) {
    table.reload(many(1000));
    QTest::qWait(1);
    table.setCurrentIndex(table.model()->index(990, 1));
    table.verticalScrollBar()->setValue(0);
    table.reload(many(900));
    EXPECT_EQ(table.verticalScrollBar()->value(), 0);
}

TEST_F(ChannelTableTest, TheSelectionFollowsAChannelThatMoves) {
    table.reload(many(5));
    table.selectRow(2);
    auto list = many(5);
    list.insert(list.begin(), channel("New", 77));
    table.reload(list);
    ASSERT_EQ(table.selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table.selectionModel()->selectedRows().front().row(), 3);
    list.erase(list.begin() + 3);
    table.reload(list);
    EXPECT_TRUE(table.selectionModel()->selectedRows().isEmpty());
}

/// What the model reports while it exists: first row, last row, first column, last column.
class Reports {
public:
    explicit Reports(const QAbstractItemModel &model) {
        QObject::connect(&model, &QAbstractItemModel::dataChanged, &context,
                         [this](const QModelIndex &first, const QModelIndex &last) {
                             all.push_back({first.row(), last.row(), first.column(), last.column()});
                         });
    }
    std::vector<std::array<int, 4>> all;

private:
    QObject context;
};

std::vector<LV1Channel> recoloured(std::vector<LV1Channel> list, std::size_t row, float green) {
    list[row].green = green;
    return list;
}

TEST_F(ChannelTableTest, ReportsTheCellsThatDifferAlone) {
    table.reload(many(100));
    const Reports reports(*table.model());
    table.reload(many(100));
    EXPECT_THAT(reports.all, IsEmpty());
    auto list = many(100);
    list[7] = channel("Other", 7);
    list[50] = LV1Channel("Channel 51", true, "Driver", 50, "Mixer_Ch", 51);
    table.reload(list);
    using Cell = std::array<int, 4>;
    EXPECT_THAT(reports.all, ElementsAre(Cell{7, 7, 1, 1}, Cell{50, 50, 2, 2}, Cell{50, 50, 3, 3}));
}

TEST_F(ChannelTableTest, ColoursOfOneFrameAreReportedTogetherAndOnce) {
    table.reload(many(100));
    QTest::qWait(1);
    const Reports reports(*table.model());
    auto list = many(100);
    for (int step = 1; step <= 50; ++step) {
        list = recoloured(list, 3, float(step) / 64);
        list = recoloured(list, 90, float(step) / 64);
        table.reload(list);
    }
    EXPECT_THAT(reports.all, IsEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !reports.all.empty(); }, 3000));
    using Cell = std::array<int, 4>;
    EXPECT_THAT(reports.all, ElementsAre(Cell{3, 3, 0, 0}, Cell{90, 90, 0, 0}));
    EXPECT_EQ(table.model()->index(90, 0).data(ChannelTableModel::swatchRole).value<QColor>().greenF(),
              QColor::fromRgbF(0, 50.0F / 64, 0).greenF());
}

TEST_F(ChannelTableTest, ReportsTheRowsThatComeAndGo) {
    std::vector<std::string> reports;
    const auto report = [&](const char *what) {
        return [&reports, what](const QModelIndex &, int first, int last) {
            reports.push_back(what + std::to_string(first) + "-" + std::to_string(last));
        };
    };
    QObject::connect(table.model(), &QAbstractItemModel::rowsInserted, &table, report("new "));
    QObject::connect(table.model(), &QAbstractItemModel::rowsRemoved, &table, report("gone "));
    for (const std::int32_t count : {3, 10, 10, 4, 0, 1})
        table.reload(many(count));
    EXPECT_THAT(reports, ElementsAre("new 0-2", "new 3-9", "gone 4-9", "gone 0-3", "new 0-0"));
}

TEST_F(ChannelTableTest, ColoursThatNeverEndAreReportedWithinTheirFrameAllTheSame) {
    table.reload(many(2));
    QTest::qWait(1);
    const Reports reports(*table.model());
    auto *frame = table.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_NE(frame, nullptr);
    EXPECT_FALSE(frame->isActive());
    const QDeadlineTimer deadline(30'000);
    for (int step = 0; reports.all.empty() && !deadline.hasExpired(); ++step) {
        table.reload(recoloured(many(2), 1, float(step % 64) / 64));
        QCoreApplication::processEvents();
    }
    EXPECT_FALSE(reports.all.empty());
    EXPECT_FALSE(frame->isActive()) << "there is nothing more to report";
}

TEST_F(ChannelTableTest, WhileItIsHiddenColoursWaitUntilItIsShown) {
    table.reload(many(100));
    table.hide();
    const Reports reports(*table.model());
    table.reload(recoloured(many(100), 3, 1));
    QTest::qWait(50);
    EXPECT_THAT(reports.all, IsEmpty());
    table.show();
    EXPECT_EQ(reports.all.size(), 1U);
}

TEST_F(ChannelTableTest, AColourOfAChannelThatWentIsNotReported) {
    table.reload(many(10));
    const Reports reports(*table.model());
    table.reload(recoloured(many(10), 9, 1));
    table.reload(many(5));
    QTest::qWait(50);
    EXPECT_THAT(reports.all, IsEmpty());
}

TEST_F(ChannelTableTest, HeadersStandOverTheirColumns) {
    table.setStyleSheet(look::styleSheet());
    table.setObjectName("table");
    table.reload({channel("LV1 Channel", 0)});
    table.setFont(table.horizontalHeader()->font());
    // The same text in both: its first letter is in the same place.
    const auto firstLit = [&](const QImage &image) {
        for (int x = 29; x < 200; ++x)
            for (int y = 0; y < 24; ++y)
                if (image.pixelColor(x, y).lightness() > 120)
                    return x;
        return -1;
    };
    const int header = firstLit(table.horizontalHeader()->viewport()->grab().toImage());
    const int cell = firstLit(table.viewport()->grab().toImage());
    EXPECT_GT(cell, 28);
    EXPECT_EQ(header, cell);
}

TEST_F(ChannelTableTest, ANameWithALineBreakShowsWholeInOneLine) {
    table.reload({channel("Kick\nIn", 0)});
    EXPECT_EQ(cell(0, 1), "Kick In");
}

TEST_F(ChannelTableTest, AnEmptyTableSaysSo) {
    const auto lit = [&] {
        const QImage image = table.viewport()->grab().toImage();
        int count = 0;
        for (int x = 0; x < image.width(); ++x)
            for (int y = 30; y < image.height(); ++y)
                count += image.pixelColor(x, y).lightness() > 90 ? 1 : 0;
        return count;
    };
    EXPECT_GT(lit(), 100);
    const std::string words =
        "'No channels yet. They appear here once an LV1 console is connected.' #ff949494\n";
    EXPECT_THAT(Painting::of(*table.viewport()), testing::HasSubstr(words));
    table.reload(many(1));
    EXPECT_EQ(lit(), 0);
    EXPECT_THAT(Painting::of(*table.viewport()), testing::Not(testing::HasSubstr(words)));
}

TEST_F(ChannelTableTest, ANameOfAnyLengthHoldsNothingUp) {
    const auto start = processorTime();
    table.reload({channel(std::string(250000, 'x'), 0)});
    table.viewport()->grab();
    EXPECT_LT(table.model()->index(0, 1).data(Qt::ToolTipRole).toString().size(), 5000);
    EXPECT_LT(processorTime() - start, std::chrono::milliseconds(100));
}

TEST_F(ChannelTableTest, AShorterListKeepsWhatIsLeft) {
    table.reload(many(1000));
    table.reload(many(3));
    EXPECT_EQ(table.model()->rowCount(), 3);
    table.reload({});
    EXPECT_EQ(table.model()->rowCount(), 0);
}

} // namespace

} // namespace corvane
