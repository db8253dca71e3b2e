#include "controls/cell_table.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvek {
namespace {

CellTable ThreeColumns() {
  CellTable t;
  t.InsertColumn(0, "a", Align::Left, 10);
  t.InsertColumn(1, "key", Align::Center, 10);
  t.InsertColumn(2, "c", Align::Left, 10);
  t.SetKeyColumn(1);
  return t;
}

TEST(CellTable, IndexFollowsKeyChangesAndFindsTheFirstHolder) {
  CellTable t = ThreeColumns();
  t.AppendRow(std::vector<std::string>{"r0", "K1", ""});
  t.AppendRow(std::vector<std::string>{"r1", "K2", ""});
  t.AppendRow(std::vector<std::string>{"r2", "K1", ""});
  EXPECT_EQ(t.FindRow("K1"), 0);
  t.SetCellText(0, 1, "K9");
  EXPECT_EQ(t.FindRow("K1"), 2);
  EXPECT_EQ(t.FindRow("K9"), 0);
  t.SetCellText(2, 1, "K0");
  EXPECT_EQ(t.FindRow("K1"), -1);
  t.InsertRow(0, "front");  // shifts every row
  EXPECT_EQ(t.FindRow("K2"), 2);
  EXPECT_EQ(t.DeleteAllRows(), 4);
  EXPECT_EQ(t.FindRow("K2"), -1);
  EXPECT_EQ(t.RowCount(), 0);
}

TEST(CellTable, ColoursOutsideTheTableMeanAllOrNothing) {
  CellTable t = ThreeColumns();
  t.AppendRow(std::vector<std::string>{"x"});
  t.AppendRow(std::vector<std::string>{"y"});
  t.SetCellBackground(1, 99, 0x0000FF);  // whole row 1
  EXPECT_EQ(t.GetCellBackground(1, 0), 0x0000FFu);
  EXPECT_EQ(t.GetCellBackground(1, 2), 0x0000FFu);
  EXPECT_EQ(t.GetCellBackground(0, 2), kSystemColor);
  t.SetCellBackground(-1, -1, 0x123456);
  EXPECT_EQ(t.GetCellBackground(0, 0), 0x123456u);
  EXPECT_EQ(t.GetCellBackground(5, 0), kSystemColor);
  EXPECT_EQ(t.GetCellBackground(0, -1), kSystemColor);
  EXPECT_EQ(t.GetItemText(7, 7), "");
  EXPECT_FALSE(t.SetCellText(2, 0, "no such row"));
}

TEST(CellTable, NewColumnKeepsEveryRowWhole) {
  CellTable t = ThreeColumns();
  t.AppendRow(std::vector<std::string>{"a", "K", "c"});
  t.SetCellBackground(0, 2, 0xAA);
  t.InsertColumn(1, "new", Align::Left, 5);
  EXPECT_EQ(t.ColumnCount(), 4);
  EXPECT_EQ(t.GetItemText(0, 1), "");
  EXPECT_EQ(t.GetItemText(0, 3), "c");
  EXPECT_EQ(t.GetCellBackground(0, 3), 0xAAu);
  EXPECT_EQ(t.FindRow("K"), 0);  // the key column moved along
  EXPECT_TRUE(t.SetCellText(0, 2, "K2"));
  EXPECT_EQ(t.FindRow("K2"), 0);
}

TEST(CellTable, ContentChangesForgetTheLastSort) {
  CellTable t = ThreeColumns();
  t.sortColumn = 2;
  t.sortAscending = false;
  t.AppendRow(std::vector<std::string>{"a"});
  EXPECT_EQ(t.sortColumn, -1);
  EXPECT_TRUE(t.sortAscending);
  t.sortColumn = 1;
  t.SetCellText(0, 0, "b");
  EXPECT_EQ(t.sortColumn, -1);
}

}  // namespace
}  // namespace torvek
