#include "app/ChannelTable.h"

#include "app/Look.h"
#include "app/ShownText.h"
#include "base/Preconditions.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>
#include <utility>

namespace corvane {

namespace {

constexpr int rowPoints = 24;
constexpr int swatchSize = 18;
constexpr QPoint swatchPosition{5, 3};
constexpr qreal swatchRadius = 4;
constexpr int framePeriod = 16; // milliseconds
constexpr auto emptyText = "No channels yet. They appear here once an LV1 console is connected.";

const QString colorColumn = QStringLiteral("color");

/// Draws the colour of a channel as a rounded square.
class SwatchDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override {
        QStyledItemDelegate::paint(painter, option, index);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(index.data(ChannelTableModel::swatchRole).value<QColor>());
        const QRect swatch(option.rect.topLeft() + swatchPosition, QSize(swatchSize, swatchSize));
        painter->drawRoundedRect(swatch, swatchRadius, swatchRadius);
        painter->restore();
    }
};

/// A colour component as Qt takes it; one that is not a number, and so not more than 0, counts as none.
float component(float value) {
    return std::min(std::max(0.0F, value), 1.0F);
}

QColor swatchColor(const LV1Channel &channel) {
    return QColor::fromRgbF(component(channel.red), component(channel.green), component(channel.blue));
}

} // namespace

const std::vector<ChannelTableModel::Column> &ChannelTableModel::columns() {
    static const std::vector<Column> all{
        {"color", "", 28}, {"name", "LV1 Channel", 300}, {"format", "Format", 90}, {"input", "SG Input", 90}};
    return all;
}

void ChannelTableModel::setChannels(const std::vector<LV1Channel> &list) {
    // The rows that stay are changed in place: the view then keeps its position.
    const int before = rowCount();
    const int after = static_cast<int>(list.size());
    for (int row = 0; row < std::min(before, after); ++row)
        setChannel(row, list[static_cast<std::size_t>(row)]);
    if (after > before) {
        beginInsertRows({}, before, after - 1);
        channels.insert(channels.end(), list.begin() + before, list.end());
        endInsertRows();
    } else if (after < before) {
        beginRemoveRows({}, after, before - 1);
        channels.erase(channels.begin() + after, channels.end());
        recoloured.erase(recoloured.lower_bound(after), recoloured.end());
        endRemoveRows();
    }
}

/// Reports the cells whose text differs; of another colour it only keeps the row.
void ChannelTableModel::setChannel(int row, const LV1Channel &channel) {
    LV1Channel &shown = channels[static_cast<std::size_t>(row)];
    if (shown == channel)
        return;
    if (swatchColor(shown) != swatchColor(channel))
        recoloured.insert(row);
    const LV1Channel before = std::exchange(shown, channel);
    int column = 0;
    for (const Column &each : columns()) {
        if (cellText(each.identifier, before) != cellText(each.identifier, channel))
            emit dataChanged(index(row, column), index(row, column));
        ++column;
    }
}

void ChannelTableModel::reportColours() {
    for (const int row : std::exchange(recoloured, {}))
        emit dataChanged(index(row, 0), index(row, 0));
}

bool ChannelTableModel::holdsSourcesOf(const std::vector<LV1Channel> &list) const {
    return std::equal(channels.begin(), channels.end(), list.begin(), list.end(),
                      [](const LV1Channel &one, const LV1Channel &other) {
                          return one.sourceIndex() == other.sourceIndex() &&
                                 one.sourceType() == other.sourceType();
                      });
}

int ChannelTableModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(channels.size());
}

int ChannelTableModel::columnCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns().size());
}

QString ChannelTableModel::cellText(const QString &identifier, const LV1Channel &channel) {
    if (identifier == colorColumn)
        return {};
    if (identifier == QLatin1String("name"))
        return QString::fromStdString(channel.name());
    if (identifier == QLatin1String("format"))
        return QString::fromStdString(channel.format());
    return QString::fromStdString(channel.inputText());
}

std::pair<std::string, std::int32_t> ChannelTableModel::source(int row) const {
    const LV1Channel &channel = channels.at(static_cast<std::size_t>(row));
    return {channel.sourceType(), channel.sourceIndex()};
}

QVariant ChannelTableModel::data(const QModelIndex &index, int role) const {
    if (!index.isValid())
        return {};
    if (index.row() >= rowCount())
        preconditionFailure("a table row without a channel");
    const LV1Channel &channel = channels[static_cast<std::size_t>(index.row())];
    const QString identifier = headerData(index.column(), Qt::Horizontal, identifierRole).toString();
    switch (role) {
    case Qt::DisplayRole:
        return oneLine(cellText(identifier, channel));
    case Qt::ToolTipRole:
        return identifier == QLatin1String("name") ? plainToolTip(cellText(identifier, channel)) : QVariant();
    case Qt::AccessibleTextRole:
        return identifier == colorColumn ? "Colour " + swatchColor(channel).name()
                                         : cellText(identifier, channel);
    case swatchRole:
        return swatchColor(channel);
    default:
        return {};
    }
}

QVariant ChannelTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const Column &column = columns()[static_cast<std::size_t>(section)];
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromUtf8(column.title);
    case identifierRole:
        return QString::fromUtf8(column.identifier);
    case Qt::AccessibleTextRole:
        return section == 0 ? QStringLiteral("Colour") : QString::fromUtf8(column.title);
    case Qt::TextAlignmentRole:
        return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

ChannelTable::ChannelTable(QWidget *parent) : QTableView(parent), channelModel(new ChannelTableModel(this)) {
    setModel(channelModel);
    setItemDelegateForColumn(0, new SwatchDelegate(this));
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setShowGrid(false);
    setWordWrap(false);
    setVerticalScrollMode(ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabKeyNavigation(false); // Tab goes on to the next control
    setCornerButtonEnabled(false);
    QHeaderView *rows = verticalHeader();
    rows->setVisible(false);
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(rowPoints);
    QHeaderView *titles = horizontalHeader();
    titles->setHighlightSections(false);
    titles->setSectionsClickable(false);
    titles->setMinimumSectionSize(ChannelTableModel::columns().front().width);
    int column = 0;
    for (const auto &each : ChannelTableModel::columns())
        setColumnWidth(column++, each.width);
    connect(titles, &QHeaderView::sectionResized, this, &ChannelTable::keepColumnsInView);
    frame.setSingleShot(true);
    connect(&frame, &QTimer::timeout, channelModel, &ChannelTableModel::reportColours);
}

/// There is no scrolling sideways: a column that is made wider leaves the others in the table.
void ChannelTable::keepColumnsInView(int column) {
    const int beyond = horizontalHeader()->length() - viewport()->width();
    if (isVisible() && beyond > 0)
        setColumnWidth(column,
                       std::max(columnWidth(column) - beyond, horizontalHeader()->minimumSectionSize()));
}

void ChannelTable::reload(const std::vector<LV1Channel> &channels) {
    const bool follow = selectionModel()->hasSelection() && !channelModel->holdsSourcesOf(channels);
    const std::vector<Source> selected = follow ? selectedSources() : std::vector<Source>();
    const int position = verticalScrollBar()->value();
    channelModel->setChannels(channels);
    if (follow)
        select(selected);
    verticalScrollBar()->setValue(position);
    if (isVisible() && channelModel->hasColoursToReport() && !frame.isActive())
        frame.start(framePeriod);
}

/// What changed while nobody could see it.
void ChannelTable::showEvent(QShowEvent *event) {
    channelModel->reportColours();
    QTableView::showEvent(event);
}

/// What the selected channels are on the console, so that they can be found again.
std::vector<ChannelTable::Source> ChannelTable::selectedSources() const {
    std::vector<Source> sources;
    for (const QModelIndex &index : selectionModel()->selectedRows())
        sources.push_back(channelModel->source(index.row()));
    std::sort(sources.begin(), sources.end());
    return sources;
}

void ChannelTable::select(const std::vector<Source> &sources) {
    QItemSelection selection;
    for (int row = 0; row < channelModel->rowCount(); ++row)
        if (std::binary_search(sources.begin(), sources.end(), channelModel->source(row)))
            selection.select(channelModel->index(row, 0), channelModel->index(row, 0));
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void ChannelTable::paintEvent(QPaintEvent *event) {
    paintRows();
    QTableView::paintEvent(event);
}

/// Alternating rows reach over the whole width and go on below the last channel.
void ChannelTable::paintRows() {
    QPainter painter(viewport());
    const int offset = verticalScrollBar()->value();
    for (int row = offset / rowPoints; row * rowPoints - offset < viewport()->height(); ++row)
        painter.fillRect(0, row * rowPoints - offset, viewport()->width(), rowPoints,
                         row % 2 == 0 ? palette().base() : palette().alternateBase());
    if (channelModel->rowCount() == 0) {
        painter.setPen(look::grey(look::secondaryGrey));
        painter.drawText(viewport()->rect(), Qt::AlignCenter, QString::fromUtf8(emptyText));
    }
}

} // namespace corvane
