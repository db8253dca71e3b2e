#include "controls/cell_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "controls/cell_table.h"

namespace torvek {
namespace {

int Sign(int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; }

// Each pair is chosen so that the rule that should decide gives another
// answer than the byte compare, or the other way round.
TEST(CellSort, TheFirstRuleThatFitsBothTextsDecides) {
  struct Case {
    const char* a;
    const char* b;
    int expected;
  };
  const Case cases[] = {
      // Hexadecimal: "10" is 16, "1F" is 31, in every column.
      {"2", "1F", -1},
      {"10", "9", 1},
      {"0x1A", "1b", -1},
      {"a", "B", -1},
      {" 7", "6", 1},
      {"-1", "2", 1},  // strtoul takes the sign and wraps it
      // "G" fits no number rule: bytes.
      {"2", "G", -1},
      {"", "0", -1},
      // Decimal, with at most one "%" at the very end.
      {"9.5", "10.5", -1},
      {"50%", "7.5", 1},
      {"50%x", "7.5", -1},
      {"50%%", "7.5", -1},
      {"5 %", "40.5", 1},
      {"-2.5", "-1.5", -1},
      {"1e400", "2.5", 1},
      {"1e-400", "0.5", -1},
      // Dates and times.
      {"1/5/2024", "12/31/2023", 1},
      {"9:05", "10:00", -1},
      {"2024-02-29 9:00", "2024-02-29 10:00:00", -1},
      {"11:59 PM", "12:00 PM", 1},
      {"2023-02-29", "2023-03-01", -1},  // no such day: bytes
      // Dotted addresses and MAC texts: bytes.
      {"10.0.0.9", "10.0.0.10", 1},
      {"00-0E-E3-00-00-0A", "00-0E-E3-00-00-09", 1},
      {"730:ap", "740:ap", -1},
      {"g", "H", 1},
      {"\xC3\xA9", "z", 1},  // bytes are unsigned
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Sign(CompareCellTexts(c.a, c.b)), c.expected) << c.a << " vs " << c.b;
    EXPECT_EQ(Sign(CompareCellTexts(c.b, c.a)), -c.expected) << c.b << " vs " << c.a;
  }
  EXPECT_EQ(CompareCellTexts("1F", "0x1f"), 0);
}

TEST(CellSort, NumberReadersTakeWholeTextsOnly) {
  EXPECT_EQ(WholeHexValue("ff"), 255u);
  EXPECT_EQ(WholeHexValue("1e5"), 0x1E5u);
  EXPECT_FALSE(WholeHexValue(""));
  EXPECT_FALSE(WholeHexValue(" "));
  EXPECT_FALSE(WholeHexValue("0x"));
  EXPECT_FALSE(WholeHexValue("12 "));
  EXPECT_FALSE(
      WholeHexValue(std::string("1\0"
                                "2",
                                3)));

  EXPECT_EQ(DecimalValue(" +2.5%"), 2.5);
  EXPECT_EQ(DecimalValue(".5"), 0.5);
  EXPECT_EQ(DecimalValue("0x1.8p1"), 3.0);
  EXPECT_EQ(DecimalValue("-1e999"), -HUGE_VAL);
  EXPECT_EQ(DecimalValue("1e-999"), 0.0);
  EXPECT_TRUE(DecimalValue("inf"));
  for (const char* bad : {"", "%", ".", "--5", "+-5", "5%%", "5%x", "5 ", "1,5", "e5", "5 %"})
    EXPECT_FALSE(DecimalValue(bad)) << bad;

  // The locale of the process does not move the decimal point.
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
    EXPECT_EQ(DecimalValue("1.5"), 1.5);
    EXPECT_FALSE(DecimalValue("1,5"));
    std::setlocale(LC_NUMERIC, before.c_str());
  }
}

TEST(CellSort, DatesAndTimesInTheirFixedForms) {
  const auto day = [](const char* text) { return *DateTimeValue(text) / 86400; };
  EXPECT_EQ(day("1899-12-30"), 0);
  EXPECT_EQ(day("1900/01/01"), 2);
  EXPECT_EQ(day("12/31/1899"), 1);
  EXPECT_EQ(DateTimeValue(" 2024-1-5T7:05:09 "), DateTimeValue("01/05/2024 07:05:09"));
  EXPECT_EQ(DateTimeValue("12:00 AM"), 0);
  EXPECT_EQ(DateTimeValue("12:30 pm"), 12 * 3600 + 1800);
  EXPECT_EQ(DateTimeValue("2024-02-29"), DateTimeValue("2/29/2024 0:00"));
  for (const char* bad : {"", "10", "2023-02-29", "2024-13-01", "2024-1-32", "2024-01/05", "24:00",
                          "9:5", "9:05:60", "13:00 PM", "0:30 AM", "2024-01-05T", "2024-01-05 x",
                          "10.77.0.1", "00-0E-E3-00-00-01", "99-12-31"})
    EXPECT_FALSE(DateTimeValue(bad)) << bad;
}

std::vector<int> Order(const std::vector<std::string>& texts, bool ascending) {
  std::vector<const std::string*> p;
  for (const auto& t : texts) p.push_back(&t);
  return SortOrder(p, ascending);
}

TEST(CellSort, EqualTextsEndWhereTheQuicksortLeavesThem) {
  // Worked out by hand with the middle pivot and the Hoare partition: the
  // sort is not stable, and a stable one would give 1, 3, 6 for the "a"s.
  const std::vector<std::string> texts = {"b", "a", "b", "a", "b", "c", "a", "b"};
  EXPECT_EQ(Order(texts, true), (std::vector<int>{3, 6, 1, 0, 7, 2, 4, 5}));
  EXPECT_EQ(Order(texts, false), (std::vector<int>{5, 4, 2, 0, 7, 6, 1, 3}));
  EXPECT_TRUE(Order({}, true).empty());
  EXPECT_EQ(Order({"x"}, false), std::vector<int>{0});
}

TEST(CellSort, LargeInputsOfEveryShapeComeOutOrdered) {
  std::mt19937 random(7);
  const int n = 20000;
  std::vector<std::vector<std::string>> inputs(4);
  for (int i = 0; i < n; ++i) {
    inputs[0].push_back(std::to_string(random() % 1000));        // many repeats, hexadecimal
    inputs[1].push_back(std::to_string(i));                      // already in order
    inputs[2].push_back(std::to_string(i < n / 2 ? i : n - i));  // up, then down
    inputs[3].push_back("n" + std::to_string(random()));         // bytes
  }
  for (const auto& texts : inputs) {
    for (bool ascending : {true, false}) {
      const std::vector<int> order = Order(texts, ascending);
      std::vector<int> seen = order;
      std::sort(seen.begin(), seen.end());
      for (int i = 0; i < n; ++i) ASSERT_EQ(seen[static_cast<std::size_t>(i)], i);
      for (std::size_t i = 1; i < order.size(); ++i) {
        const int c = CompareCellTexts(texts[static_cast<std::size_t>(order[i - 1])],
                                       texts[static_cast<std::size_t>(order[i])]);
        ASSERT_TRUE(ascending ? c <= 0 : c >= 0) << i;
      }
    }
  }
}

// The table's side: records, colours and the key index go with the rows.
class RecordingObserver : public CellTableObserver {
 public:
  void OnColumnsChanged() override {}
  void OnRowsInserted(int, int) override {}
  void OnRowsReset() override {}
  void OnCellsChanged(int, int, int, int) override {}
  void OnRowsAboutToMove() override { events.push_back("about"); }
  void OnRowsMoved(const std::vector<int>& newToOld) override {
    events.push_back("moved");
    moved = newToOld;
  }
  std::vector<std::string> events;
  std::vector<int> moved;
};

TEST(CellSort, RowsTakeTheirRecordsColoursAndKeysAlong) {
  CellTable t;
  for (int c = 0; c < 3; ++c) t.InsertColumn(c, "c", Align::Left, 10);
  t.SetKeyColumn(2);
  RecordingObserver observer;
  t.SetObserver(&observer);
  const char* values[] = {"30", "1F", "2"};
  for (int r = 0; r < 3; ++r) {
    t.InsertRow(r, values[r], 100 + r);
    t.SetCellText(r, 2, "mac" + std::to_string(r));
  }
  t.SetCellBackground(0, 1, 0x0000FF);
  t.SetCellTextColor(0, 2, 0xFF0000);

  EXPECT_TRUE(t.SortRows(0, true));
  EXPECT_EQ(observer.events, (std::vector<std::string>{"about", "moved"}));
  EXPECT_EQ(observer.moved, (std::vector<int>{2, 1, 0}));  // 2 < 0x1F < 0x30
  EXPECT_EQ(t.GetItemText(1, 0), "1F");
  EXPECT_EQ(t.GetRowData(0), 102);
  EXPECT_EQ(t.GetRowData(2), 100);
  EXPECT_EQ(t.GetCellBackground(2, 1), 0x0000FFu);
  EXPECT_EQ(t.GetCellTextColor(2, 2), 0xFF0000u);
  EXPECT_EQ(t.GetCellBackground(0, 1), kSystemColor);
  EXPECT_EQ(t.FindRow("mac2"), 0);
  EXPECT_EQ(t.FindRow("mac0"), 2);
  EXPECT_EQ(t.GetRowData(3), 0);

  // A key held by two rows names the first of them in the new order.
  t.InsertRow(3, "0", 103);
  t.SetCellText(3, 2, "mac1");
  EXPECT_EQ(t.FindRow("mac1"), 1);
  EXPECT_TRUE(t.SortRows(0, true));
  EXPECT_EQ(t.GetRowData(0), 103);
  EXPECT_EQ(t.FindRow("mac1"), 0);
  EXPECT_EQ(t.FindRow("mac2"), 1);
  EXPECT_EQ(t.FindRow("mac0"), 3);

  // Nothing to move: no event, but the click is remembered.
  observer.events.clear();
  EXPECT_FALSE(t.SortRows(7, true));
  CellTable empty;
  empty.InsertColumn(0, "c", Align::Left, 10);
  empty.SetObserver(&observer);
  EXPECT_FALSE(empty.SortRows(0, false));
  EXPECT_TRUE(observer.events.empty());
}

TEST(CellSort, HeaderClicksFlipTheDirectionUntilTheContentChanges) {
  CellTable t;
  for (int c = 0; c < 2; ++c) t.InsertColumn(c, "c", Align::Left, 10);
  for (const char* v : {"b", "c", "a"}) t.AppendRow(std::vector<std::string>{v, v});
  const auto firstColumn = [&] {
    std::string s;
    for (int r = 0; r < t.RowCount(); ++r) s += t.GetItemText(r, 0);
    return s;
  };
  t.SortByHeaderClick(0);
  EXPECT_EQ(firstColumn(), "abc");
  t.SortByHeaderClick(0);
  EXPECT_EQ(firstColumn(), "cba");
  EXPECT_FALSE(t.sortAscending);
  t.SortByHeaderClick(1);  // another column starts ascending
  EXPECT_EQ(firstColumn(), "abc");
  t.SortByHeaderClick(1);
  EXPECT_EQ(firstColumn(), "cba");
  // Any change of content: the next click sorts ascending, on any column.
  t.InsertRow(0, "d");
  EXPECT_EQ(t.sortColumn, -1);
  t.SortByHeaderClick(1);
  EXPECT_TRUE(t.sortAscending);
  EXPECT_EQ(firstColumn(), "dabc");  // the new row's empty cell sorts first
  t.SortByHeaderClick(1);
  t.SetCellText(0, 1, "z");
  t.SortByHeaderClick(1);
  EXPECT_EQ(t.sortColumn, 1);
  EXPECT_TRUE(t.sortAscending);
}

}  // namespace
}  // namespace torvek
