#pragma once

// The rows of a Traffic window as a Qt table model: a thin face on the
// core's TrafficView. Each batch announces the rows that leave at the front
// and those that come at the end, so that the table keeps its selection and
// scroll place while the bus runs.

#include <QAbstractTableModel>

#include "app/TrafficView.h"

namespace quorvel {

class TrafficTableModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  TrafficTableModel(TrafficView& view, QObject* parent = nullptr) : QAbstractTableModel(parent), view_(view) {}

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // Takes the log's new records; the number of rows added to the table.
  std::size_t Sync();
  void SetFilter(const TrafficFilter& filter);
  void Clear();

 private:
  TrafficView& view_;
};

}  // namespace quorvel
