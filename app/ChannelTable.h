#pragma once

#include "lv1/LV1Channel.h"

#include <QAbstractTableModel>
#include <QTableView>
#include <QTimer>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// The console's channels as rows of a table: a colour swatch, name, width and input.
class ChannelTableModel : public QAbstractTableModel {
public:
    struct Column {
        const char *identifier;
        const char *title;
        int width; ///< points
    };
    static const std::vector<Column> &columns();
    /// Header data of this role is the column's identifier.
    static constexpr int identifierRole = Qt::UserRole;
    /// Data of this role is the channel's colour, for any column.
    static constexpr int swatchRole = Qt::UserRole + 1;

    using QAbstractTableModel::QAbstractTableModel;

    /// Replaces the channels and signals the cells that change. Changed colours are signalled by
    /// reportColours.
    void setChannels(const std::vector<LV1Channel> &list);
    bool hasColoursToReport() const { return !recoloured.empty(); }
    void reportColours();

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    /// Nothing for no index; a row outside the channels stops the program.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// The console's source of a row's channel: its kind ("Mixer_Ch") and its number.
    std::pair<std::string, std::int32_t> source(int row) const;
    /// Whether row for row the channels are the same ones on the console as those of the list.
    bool holdsSourcesOf(const std::vector<LV1Channel> &list) const;

    /// The text of a cell: that of the input column for any identifier but "color", "name" and "format".
    static QString cellText(const QString &identifier, const LV1Channel &channel);

private:
    void setChannel(int row, const LV1Channel &channel);

    std::vector<LV1Channel> channels;
    std::set<int> recoloured; ///< rows whose colour has changed since colours were reported
};

/// The table itself. Reloading it keeps where it was scrolled to and which channels were selected. Colours
/// that arrive within one frame are painted together, and none while the table is hidden.
class ChannelTable : public QTableView {
public:
    explicit ChannelTable(QWidget *parent = nullptr);

    void reload(const std::vector<LV1Channel> &channels);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    using Source = std::pair<std::string, std::int32_t>;

    void keepColumnsInView(int column);
    void paintRows();
    std::vector<Source> selectedSources() const;
    void select(const std::vector<Source> &sources);

    ChannelTableModel *channelModel;
    QTimer frame{this}; ///< runs from the first colour that is to be shown until all are
};

} // namespace corvane
