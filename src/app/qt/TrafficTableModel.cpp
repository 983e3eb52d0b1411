#include "app/qt/TrafficTableModel.h"

#include <QBrush>
#include <QColor>
#include <QFontDatabase>

namespace quorvel {

int TrafficTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(view_.RowCount());
}

int TrafficTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kTrafficColumns; }

QVariant TrafficTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || static_cast<std::size_t>(index.row()) >= view_.RowCount()) return {};
  const auto row = static_cast<std::size_t>(index.row());
  const auto column = static_cast<TrafficColumn>(index.column());
  switch (role) {
    case Qt::DisplayRole:
      return QString::fromStdString(view_.Cell(row, column));
    case Qt::ToolTipRole:
      // The long cells are elided in the table; the whole of them on hover.
      if (column == TrafficColumn::Bytes || column == TrafficColumn::Summary)
        return QString::fromStdString(view_.Cell(row, column));
      return {};
    case Qt::BackgroundRole:
      // Light enough that the text stays as readable as on white.
      switch (view_.Row(row).kind) {
        case TrafficRowKind::Error:
          return QBrush(QColor(255, 214, 214));
        case TrafficRowKind::Exception:
          return QBrush(QColor(255, 240, 200));
        case TrafficRowKind::Ok:
          return {};
      }
      return {};
    case Qt::ForegroundRole:
      return view_.Row(row).kind == TrafficRowKind::Ok ? QVariant() : QBrush(Qt::black);
    case Qt::FontRole:
      // Bytes line up column under column only in a fixed-pitch font.
      if (column == TrafficColumn::Bytes) return QFontDatabase::systemFont(QFontDatabase::FixedFont);
      return {};
    case Qt::TextAlignmentRole:
      if (column == TrafficColumn::Slave) return int(Qt::AlignRight | Qt::AlignVCenter);
      return {};
    default:
      return {};
  }
}

QVariant TrafficTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= kTrafficColumns) return {};
  return QString::fromUtf8(TrafficView::ColumnName(static_cast<TrafficColumn>(section)));
}

std::size_t TrafficTableModel::Sync() {
  std::vector<TrafficRow> rows = view_.Fetch();
  if (rows.empty()) return 0;
  const TrafficView::Effect effect = view_.Preview(rows);
  if (effect.dropped > 0) beginRemoveRows({}, 0, static_cast<int>(effect.dropped) - 1);
  view_.MakeRoom(rows.size());
  if (effect.dropped > 0) endRemoveRows();
  const int first = static_cast<int>(view_.RowCount());
  if (effect.added > 0) beginInsertRows({}, first, first + static_cast<int>(effect.added) - 1);
  view_.Append(std::move(rows));
  if (effect.added > 0) endInsertRows();
  return effect.added;
}

void TrafficTableModel::SetFilter(const TrafficFilter& filter) {
  if (filter == view_.Filter()) return;
  beginResetModel();
  view_.SetFilter(filter);
  endResetModel();
}

void TrafficTableModel::Clear() {
  beginResetModel();
  view_.Clear();
  endResetModel();
}

}  // namespace quorvel
