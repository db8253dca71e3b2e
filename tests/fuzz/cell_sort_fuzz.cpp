// Arbitrary cell texts, one a line: the comparison is antisymmetric, and a
// sort either way ends, reads nothing outside the column and gives every row
// once. Texts of different rules need not compare transitively, so the order
// itself is the unit tests' business.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "controls/cell_sort.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> texts;
  std::string line;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      texts.push_back(line);
      line.clear();
    } else {
      line += static_cast<char>(data[i]);
    }
  }
  texts.push_back(line);
  std::vector<const std::string*> column;
  for (const std::string& t : texts) column.push_back(&t);

  for (std::size_t i = 0; i + 1 < texts.size(); ++i) {
    const int ab = CompareCellTexts(texts[i], texts[i + 1]);
    const int ba = CompareCellTexts(texts[i + 1], texts[i]);
    if ((ab < 0) != (ba > 0) || (ab == 0) != (ba == 0)) std::abort();
  }
  for (bool ascending : {true, false}) {
    const std::vector<int> order = SortOrder(column, ascending);
    std::vector<bool> seen(texts.size());
    for (int row : order) {
      if (row < 0 || static_cast<std::size_t>(row) >= texts.size() ||
          seen[static_cast<std::size_t>(row)])
        std::abort();
      seen[static_cast<std::size_t>(row)] = true;
    }
    if (order.size() != texts.size()) std::abort();
  }
  return 0;
}
