#include "controls/cell_table.h"

#include "controls/cell_sort.h"

#include <algorithm>
#include <utility>

namespace torvek {

namespace {
const std::string kEmpty;
}

void CellTable::SetKeyColumn(int column) {
  keyColumn_ = column;
  RebuildIndex();
}

int CellTable::InsertColumn(int index, std::string title, Align align, int width) {
  if (index < 0) return -1;
  const bool keyExisted = keyColumn_ >= 0 && keyColumn_ < ColumnCount();
  const auto at = std::min(static_cast<std::size_t>(index), columns_.size());
  columns_.insert(columns_.begin() + static_cast<std::ptrdiff_t>(at),
                  Column{std::move(title), align, width});
  // Every row keeps one cell, with its colours, per column.
  for (auto& row : rows_)
    row.cells.insert(row.cells.begin() + static_cast<std::ptrdiff_t>(at), Cell{});
  // A key column that exists moves with its cells; one named before the
  // columns are made stays where it was named.
  if (keyExisted && keyColumn_ >= static_cast<int>(at)) ++keyColumn_;
  if (observer_) observer_->OnColumnsChanged();
  return static_cast<int>(at);
}

int CellTable::InsertRow(int index, std::string text, std::intptr_t userData) {
  if (index < 0 || columns_.empty()) return -1;
  std::vector<Cell> cells(columns_.size());
  cells[0].text = std::move(text);
  if (static_cast<std::size_t>(index) >= rows_.size())
    return AppendRecord(RowRecord{std::move(cells), userData});
  rows_.insert(rows_.begin() + index, RowRecord{std::move(cells), userData});
  ForgetSort();
  RebuildIndex();
  if (observer_) observer_->OnRowsInserted(index, index);
  return index;
}

int CellTable::AppendRecord(RowRecord row) {
  if (columns_.empty()) return -1;
  row.cells.resize(columns_.size());
  const int index = RowCount();
  rows_.push_back(std::move(row));
  ForgetSort();
  IndexKey(index);
  if (observer_) observer_->OnRowsInserted(index, index);
  return index;
}

bool CellTable::SetCellText(int row, int column, std::string text) {
  if (!Inside(row, column)) return false;
  const bool key = column == keyColumn_;
  if (key) UnindexKey(row);
  CellAt(row, column).text = std::move(text);
  if (key) IndexKey(row);
  ForgetSort();
  if (observer_) observer_->OnCellsChanged(row, row, column, column);
  return true;
}

const std::string& CellTable::GetItemText(int row, int column) const {
  if (!Inside(row, column)) return kEmpty;
  return CellAt(row, column).text;
}

int CellTable::DeleteAllRows() {
  const int count = RowCount();
  rows_.clear();
  firstRowByKey_.clear();
  if (observer_) observer_->OnRowsReset();
  return count;
}

template <typename Fn>
void CellTable::PaintCells(int row, int column, Fn&& paint) {
  if (rows_.empty() || columns_.empty()) return;
  const bool allRows = row < 0 || row >= RowCount();
  const bool allColumns = column < 0 || column >= ColumnCount();
  const int r0 = allRows ? 0 : row, r1 = allRows ? RowCount() - 1 : row;
  const int c0 = allColumns ? 0 : column, c1 = allColumns ? ColumnCount() - 1 : column;
  for (int r = r0; r <= r1; ++r)
    for (int c = c0; c <= c1; ++c) paint(CellAt(r, c));
  if (observer_) observer_->OnCellsChanged(r0, r1, c0, c1);
}

void CellTable::SetCellBackground(int row, int column, Color color) {
  PaintCells(row, column, [color](Cell& cell) { cell.backColor = color; });
}

void CellTable::SetCellTextColor(int row, int column, Color color) {
  PaintCells(row, column, [color](Cell& cell) { cell.textColor = color; });
}

Color CellTable::GetCellBackground(int row, int column) const {
  if (!Inside(row, column)) return kSystemColor;
  return CellAt(row, column).backColor;
}

Color CellTable::GetCellTextColor(int row, int column) const {
  if (!Inside(row, column)) return kSystemColor;
  return CellAt(row, column).textColor;
}

std::intptr_t CellTable::GetRowData(int row) const {
  if (row < 0 || row >= RowCount()) return 0;
  return rows_[static_cast<std::size_t>(row)].userData;
}

void CellTable::SortByHeaderClick(int column) {
  SortRows(column, column == sortColumn ? !sortAscending : true);
}

bool CellTable::SortRows(int column, bool ascending) {
  sortColumn = column;
  sortAscending = ascending;
  if (column < 0 || column >= ColumnCount() || RowCount() < 2) return false;
  std::vector<const std::string*> texts;
  texts.reserve(rows_.size());
  for (const RowRecord& row : rows_)
    texts.push_back(&row.cells[static_cast<std::size_t>(column)].text);
  const std::vector<int> newToOld = SortOrder(texts, ascending);
  if (observer_) observer_->OnRowsAboutToMove();
  std::vector<RowRecord> sorted;
  sorted.reserve(rows_.size());
  for (int old : newToOld) sorted.push_back(std::move(rows_[static_cast<std::size_t>(old)]));
  rows_ = std::move(sorted);
  if (firstRowByKey_.size() == rows_.size()) {
    // Every key is held by one row, as MACs are: move each entry along
    // instead of hashing every key anew.
    std::vector<int> oldToNew(newToOld.size());
    for (std::size_t i = 0; i < newToOld.size(); ++i)
      oldToNew[static_cast<std::size_t>(newToOld[i])] = static_cast<int>(i);
    for (auto& entry : firstRowByKey_)
      entry.second = oldToNew[static_cast<std::size_t>(entry.second)];
  } else {
    RebuildIndex();
  }
  if (observer_) observer_->OnRowsMoved(newToOld);
  return true;
}

int CellTable::FindRow(const std::string& text) const {
  if (keyColumn_ < 0) return -1;
  const auto it = firstRowByKey_.find(text);
  return it == firstRowByKey_.end() ? -1 : it->second;
}

bool CellTable::Inside(int row, int column) const {
  return row >= 0 && row < RowCount() && column >= 0 && column < ColumnCount();
}

void CellTable::ForgetSort() {
  sortColumn = -1;
  sortAscending = true;
}

void CellTable::IndexKey(int row) {
  if (keyColumn_ < 0 || keyColumn_ >= ColumnCount()) return;
  const auto& text = GetItemText(row, keyColumn_);
  auto [it, inserted] = firstRowByKey_.try_emplace(text, row);
  if (!inserted && it->second > row) it->second = row;
}

void CellTable::UnindexKey(int row) {
  if (keyColumn_ < 0 || keyColumn_ >= ColumnCount()) return;
  const auto& text = GetItemText(row, keyColumn_);
  const auto it = firstRowByKey_.find(text);
  if (it == firstRowByKey_.end() || it->second != row) return;
  // Rare: the first holder of a key changes its key; find the next holder.
  for (int r = row + 1; r < RowCount(); ++r) {
    if (GetItemText(r, keyColumn_) == text) {
      it->second = r;
      return;
    }
  }
  firstRowByKey_.erase(it);
}

void CellTable::RebuildIndex() {
  firstRowByKey_.clear();
  for (int r = 0; r < RowCount(); ++r) IndexKey(r);
}

}  // namespace torvek
