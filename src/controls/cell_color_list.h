// The report list of the main window: text cells with a background and a text
// colour each, over a CellTable. Rows appended in a burst reach the view in
// batches, so that thousands of them do not stall the window.
#pragma once

#include <QAbstractTableModel>
#include <QTableView>
#include <QTimer>
#include <memory>
#include <string>

#include "controls/cell_table.h"

namespace torvek {

class CellTableModel : public QAbstractTableModel, public CellTableObserver {
  Q_OBJECT
 public:
  explicit CellTableModel(CellTable& table, QObject* parent = nullptr);
  ~CellTableModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // Shows rows appended since the last flush; runs by itself after each burst.
  void FlushRows();

  void OnColumnsChanged() override;
  void OnRowsInserted(int first, int last) override;
  void OnRowsReset() override;
  void OnCellsChanged(int firstRow, int lastRow, int firstCol, int lastCol) override;
  void OnRowsAboutToMove() override;
  void OnRowsMoved(const std::vector<int>& newToOld) override;

 private:
  CellTable& table_;
  int shownRows_ = 0;
  QTimer flushTimer_;
};

QColor ToQColor(Color color);

class CCellColorList : public QTableView {
  Q_OBJECT
 public:
  explicit CCellColorList(QWidget* parent = nullptr);

  // Shows a table that someone else owns (and that outlives the list)
  // instead of the list's own.
  void ShowTable(CellTable& table);

  // format: 0 left, 1 right, 2 centred.
  int InsertColumn(int index, const QString& title, int format, int width, int subItem = -1);
  int InsertRow(int index, const QString& text, std::intptr_t userData = 0);
  bool SetCellText(int row, int column, const QString& text);
  QString GetItemText(int row, int column) const;
  int RowCount() const { return table_->RowCount(); }
  int DeleteAllRows();
  // A row or column outside the list means all; color kSystemColor (-1) is the
  // system's window colour. With `redraw` the list repaints at once.
  void SetCellBackground(int row, int column, Color color, bool redraw = false);
  Color GetCellBackground(int row, int column) const;
  void SetCellTextColor(int row, int column, Color color, bool redraw = false);
  // The value the row was inserted with; it follows the row through a sort.
  std::intptr_t GetRowData(int row) const { return table_->GetRowData(row); }

  // A click on a column header: sorts by that column, the same column again
  // in the other direction. Tells nobody: an index kept outside the list goes
  // on naming its old place, while the selection mark moves with its row.
  void OnHeaderClick(int column);

  // The row the control shows as selected, or -1.
  int SelectedRow() const;
  // Keeps the selection painted as selected while the list has no focus.
  void SetShowSelectionAlways(bool on);

  CellTable& table() { return *table_; }
  const CellTable& table() const { return *table_; }
  CellTableModel& model() { return *model_; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void ResizeSections();

  CellTable ownTable_;
  CellTable* table_ = &ownTable_;
  std::unique_ptr<CellTableModel> model_;
};

}  // namespace torvek
