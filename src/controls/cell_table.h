// The data behind a report list: columns, rows of text cells and a background
// and text colour per cell. The list control paints from it; the rest of the
// tool reads and writes cells by row and column.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace torvek {

// 0x00BBGGRR; kSystemColor stands for the system's colour at paint time.
using Color = std::uint32_t;
inline constexpr Color kSystemColor = 0xFFFFFFFFu;

enum class Align { Left = 0, Right = 1, Center = 2 };

struct Column {
  std::string title;
  Align align = Align::Left;
  int width = 0;
};

struct Cell {
  std::string text;
  Color textColor = kSystemColor;
  Color backColor = kSystemColor;
};

// Everything that belongs to one row and follows it through a sort: its cells
// with their colours, and the value its owner gave it when it was inserted.
struct RowRecord {
  std::vector<Cell> cells;
  std::intptr_t userData = 0;
};

// Told of every change, so that a view can follow. Appended rows may be
// reported late and in batches by the view itself; see CCellColorList.
class CellTableObserver {
 public:
  virtual ~CellTableObserver() = default;
  virtual void OnColumnsChanged() = 0;
  virtual void OnRowsInserted(int first, int last) = 0;
  virtual void OnRowsReset() = 0;
  virtual void OnCellsChanged(int firstRow, int lastRow, int firstCol, int lastCol) = 0;
  // Around a sort: rows keep their content and change places. newToOld[i] is
  // the old index of the row now at i.
  virtual void OnRowsAboutToMove() = 0;
  virtual void OnRowsMoved(const std::vector<int>& newToOld) = 0;
};

class CellTable {
 public:
  void SetObserver(CellTableObserver* observer) { observer_ = observer; }
  const CellTableObserver* Observer() const { return observer_; }

  // Rows are found by the text of this column through an index, not a scan.
  void SetKeyColumn(int column);

  int InsertColumn(int index, std::string title, Align align, int width);
  int ColumnCount() const { return static_cast<int>(columns_.size()); }
  const Column& ColumnAt(int column) const { return columns_[static_cast<std::size_t>(column)]; }

  // Inserts a row with `text` in its first cell; gives its index, -1 on failure.
  int InsertRow(int index, std::string text, std::intptr_t userData = 0);
  // Appends a row with all its texts at once (missing cells stay empty).
  template <typename Texts>
  int AppendRow(Texts&& texts, std::intptr_t userData = 0) {
    std::vector<Cell> row(columns_.size());
    std::size_t i = 0;
    for (auto& t : texts) {
      if (i >= row.size()) break;
      row[i++].text = std::move(t);
    }
    return AppendRecord(RowRecord{std::move(row), userData});
  }
  bool SetCellText(int row, int column, std::string text);
  // Empty for a cell outside the table.
  const std::string& GetItemText(int row, int column) const;
  int RowCount() const { return static_cast<int>(rows_.size()); }
  // Gives the number of rows there were.
  int DeleteAllRows();

  // A row or column outside the table means all of them.
  void SetCellBackground(int row, int column, Color color);
  void SetCellTextColor(int row, int column, Color color);
  // kSystemColor (-1) for a cell outside the table.
  Color GetCellBackground(int row, int column) const;
  Color GetCellTextColor(int row, int column) const;

  // The value given to a row at its insertion; 0 outside the table.
  std::intptr_t GetRowData(int row) const;

  // The first row whose key cell is exactly `text` (case-sensitive), or -1.
  int FindRow(const std::string& text) const;

  // A click on a column's header: the same column again flips the direction,
  // another one sorts ascending.
  void SortByHeaderClick(int column);
  // Sorts the rows by the texts of `column` and remembers it as the last
  // sort. Rows take their records and colours along. False when nothing moved
  // (no such column, or fewer than two rows).
  bool SortRows(int column, bool ascending);

  // The last sort; any change of content forgets it.
  int sortColumn = -1;
  bool sortAscending = true;

 private:
  int AppendRecord(RowRecord row);
  Cell& CellAt(int row, int column) {
    return rows_[static_cast<std::size_t>(row)].cells[static_cast<std::size_t>(column)];
  }
  const Cell& CellAt(int row, int column) const {
    return rows_[static_cast<std::size_t>(row)].cells[static_cast<std::size_t>(column)];
  }
  bool Inside(int row, int column) const;
  void ForgetSort();
  void IndexKey(int row);
  void UnindexKey(int row);
  void RebuildIndex();
  template <typename Fn>
  void PaintCells(int row, int column, Fn&& paint);

  std::vector<Column> columns_;
  std::vector<RowRecord> rows_;
  int keyColumn_ = -1;
  std::unordered_map<std::string, int> firstRowByKey_;
  CellTableObserver* observer_ = nullptr;
};

}  // namespace torvek
