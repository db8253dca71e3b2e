#include "controls/cell_sort.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <utility>

namespace torvek {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
// The blanks that strtod skips in the C locale.
bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// strtod gives +-HUGE_VAL on overflow and about 0 on underflow; from_chars
// leaves the value alone. Tell the two apart by where the first significant
// digit stands (in decimal digits, or in bits for a hexadecimal number).
double OutOfRangeValue(const char* p, const char* end, bool hex) {
  const char exponentMark = hex ? 'p' : 'e';
  const long digitWeight = hex ? 4 : 1;
  long magnitude = 0;
  bool point = false, significant = false;
  for (; p < end && Lower(*p) != exponentMark; ++p) {
    if (*p == '.') {
      point = true;
    } else if (!significant && *p == '0') {
      if (point) magnitude -= digitWeight;
    } else {
      significant = true;
      if (!point) magnitude += digitWeight;
    }
  }
  if (p < end) {
    ++p;
    const bool negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+')) ++p;
    long exponent = 0;
    for (; p < end && IsDigit(*p); ++p) exponent = std::min(exponent * 10 + (*p - '0'), 1000000L);
    magnitude += negative ? -exponent : exponent;
  }
  return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

// A small cursor over a date and time text.
struct Cursor {
  const char* p;
  const char* end;

  bool AtEnd() const { return p == end; }
  bool Take(char c) {
    if (p == end || *p != c) return false;
    ++p;
    return true;
  }
  bool TakeBlanks() {
    const char* from = p;
    while (p != end && (*p == ' ' || *p == '\t')) ++p;
    return p != from;
  }
  // minDigits to maxDigits decimal digits.
  std::optional<int> Number(int minDigits, int maxDigits) {
    int value = 0, digits = 0;
    while (digits < maxDigits && p != end && IsDigit(*p)) {
      value = value * 10 + (*p++ - '0');
      ++digits;
    }
    if (digits < minDigits) return {};
    return value;
  }
};

bool IsLeapYear(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeapYear(y) ? 29 : kDays[m - 1];
}

// Days since 1 Jan 1970 of a proleptic Gregorian date.
std::int64_t DaysFromCivil(int y, int m, int d) {
  y -= m <= 2 ? 1 : 0;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

const std::int64_t kDayZero = DaysFromCivil(1899, 12, 30);

// Days since 30 Dec 1899.
std::optional<std::int64_t> ParseDate(Cursor& c) {
  const Cursor start = c;
  int y = 0, m = 0, d = 0;
  auto year = c.Number(4, 4);
  char sep = c.p != c.end ? *c.p : '\0';
  if (year && (sep == '-' || sep == '/') && c.Take(sep)) {
    auto month = c.Number(1, 2);
    auto day = month && c.Take(sep) ? c.Number(1, 2) : std::nullopt;
    if (!day) return {};
    y = *year, m = *month, d = *day;
  } else {
    c = start;
    auto month = c.Number(1, 2);
    auto day = month && c.Take('/') ? c.Number(1, 2) : std::nullopt;
    year = day && c.Take('/') ? c.Number(4, 4) : std::nullopt;
    if (!year) return {};
    y = *year, m = *month, d = *day;
  }
  if (y < 100 || m < 1 || m > 12 || d < 1 || d > DaysInMonth(y, m)) return {};
  return DaysFromCivil(y, m, d) - kDayZero;
}

// Seconds since midnight.
std::optional<int> ParseTime(Cursor& c) {
  auto hour = c.Number(1, 2);
  auto minute = hour && c.Take(':') ? c.Number(2, 2) : std::nullopt;
  if (!minute) return {};
  int second = 0;
  if (c.Take(':')) {
    auto s = c.Number(2, 2);
    if (!s) return {};
    second = *s;
  }
  int h = *hour;
  const Cursor beforeMarker = c;
  c.TakeBlanks();
  if (c.end - c.p >= 2 && Lower(c.p[1]) == 'm' && (Lower(c.p[0]) == 'a' || Lower(c.p[0]) == 'p')) {
    if (h < 1 || h > 12) return {};
    h = h % 12 + (Lower(c.p[0]) == 'p' ? 12 : 0);
    c.p += 2;
  } else {
    c = beforeMarker;
  }
  if (h > 23 || *minute > 59 || second > 59) return {};
  return h * 3600 + *minute * 60 + second;
}

// What a sort needs of one text, worked out once per row.
struct SortKey {
  const std::string* text;
  std::optional<unsigned long> hex;
  std::optional<double> decimal;
  std::optional<std::int64_t> date;
};

SortKey KeyOf(const std::string& text) {
  return SortKey{&text, WholeHexValue(text), DecimalValue(text), DateTimeValue(text)};
}

template <typename T>
int Order(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

int CompareKeys(const SortKey& a, const SortKey& b) {
  if (a.hex && b.hex) return Order(*a.hex, *b.hex);
  if (a.decimal && b.decimal) return Order(*a.decimal, *b.decimal);
  if (a.date && b.date) return Order(*a.date, *b.date);
  // Unsigned bytes, as the multibyte compare of the list sees them.
  const int c = a.text->compare(*b.text);
  return c < 0 ? -1 : c > 0 ? 1 : 0;
}

// The comparison is antisymmetric and every key equals itself, so the pivot
// and each swapped pair stop both scans inside [lo, hi].
void QuickSort(std::vector<int>& rows, const std::vector<SortKey>& keys, int lo, int hi,
               int direction) {
  while (lo < hi) {
    const SortKey& pivot =
        keys[static_cast<std::size_t>(rows[static_cast<std::size_t>((lo + hi) / 2)])];
    const auto at = [&](int i) -> const SortKey& {
      return keys[static_cast<std::size_t>(rows[static_cast<std::size_t>(i)])];
    };
    int i = lo, j = hi;
    while (i <= j) {
      while (direction * CompareKeys(at(i), pivot) < 0) ++i;
      while (direction * CompareKeys(at(j), pivot) > 0) --j;
      if (i <= j) {
        std::swap(rows[static_cast<std::size_t>(i)], rows[static_cast<std::size_t>(j)]);
        ++i;
        --j;
      }
    }
    // The two parts are disjoint, so sorting the smaller one first gives the
    // same rows as left-first while the depth stays within log n.
    if (j - lo < hi - i) {
      if (lo < j) QuickSort(rows, keys, lo, j, direction);
      lo = i;
    } else {
      if (i < hi) QuickSort(rows, keys, i, hi, direction);
      hi = j;
    }
  }
}

}  // namespace

std::optional<unsigned long> WholeHexValue(const std::string& text) {
  if (text.empty()) return {};
  const char* begin = text.c_str();
  char* stop = nullptr;
  const unsigned long value = std::strtoul(begin, &stop, 16);
  if (stop == begin || stop != begin + text.size()) return {};
  return value;
}

std::optional<double> DecimalValue(const std::string& text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  while (p != end && IsSpace(*p)) ++p;
  bool negative = false;
  if (p != end && (*p == '+' || *p == '-')) negative = *p++ == '-';
  if (p == end || *p == '+' || *p == '-') return {};
  // from_chars knows no C locale to get wrong; it takes neither a sign nor
  // the "0x" of a hexadecimal number, which are handled here.
  const bool hex = end - p > 2 && p[0] == '0' && Lower(p[1]) == 'x' &&
                   (IsHexDigit(p[2]) || (p[2] == '.' && end - p > 3 && IsHexDigit(p[3])));
  const char* digits = hex ? p + 2 : p;
  double value = 0;
  const auto [stop, error] =
      std::from_chars(digits, end, value,
                      hex ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument) return {};
  if (error == std::errc::result_out_of_range) value = OutOfRangeValue(digits, stop, hex);
  if (stop != end && !(stop + 1 == end && *stop == '%')) return {};
  return negative ? -value : value;
}

std::optional<std::int64_t> DateTimeValue(const std::string& text) {
  Cursor c{text.data(), text.data() + text.size()};
  c.TakeBlanks();
  std::int64_t days = 0;
  int seconds = 0;
  if (auto date = ParseDate(c)) {
    days = *date;
    const Cursor afterDate = c;
    if (c.Take('T') || c.TakeBlanks()) {
      if (auto time = ParseTime(c))
        seconds = *time;
      else
        c = afterDate;
    }
  } else {
    c = Cursor{text.data(), text.data() + text.size()};
    c.TakeBlanks();
    auto time = ParseTime(c);
    if (!time) return {};
    seconds = *time;
  }
  c.TakeBlanks();
  if (!c.AtEnd()) return {};
  return days * 86400 + seconds;
}

int CompareCellTexts(const std::string& a, const std::string& b) {
  return CompareKeys(KeyOf(a), KeyOf(b));
}

std::vector<int> SortOrder(const std::vector<const std::string*>& texts, bool ascending) {
  std::vector<SortKey> keys;
  keys.reserve(texts.size());
  for (const std::string* text : texts) keys.push_back(KeyOf(*text));
  std::vector<int> rows(texts.size());
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<int>(i);
  if (rows.size() > 1)
    QuickSort(rows, keys, 0, static_cast<int>(rows.size()) - 1, ascending ? 1 : -1);
  return rows;
}

}  // namespace torvek
