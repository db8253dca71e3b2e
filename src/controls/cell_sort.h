// How the report list orders its rows when a column header is clicked: the
// rules that compare two cell texts, and the quicksort that applies them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace torvek {

// The value of a text that strtoul with base 16 reads to its very end
// (leading blanks, a sign and "0x" included, as strtoul takes them).
std::optional<unsigned long> WholeHexValue(const std::string& text);

// The value of a decimal number as strtod reads it in the C locale, with
// nothing behind it but at most one "%".
std::optional<double> DecimalValue(const std::string& text);

// Seconds since 30 Dec 1899 for a date and time in one of these forms, with
// blanks around: YYYY-MM-DD, YYYY/MM/DD or MM/DD/YYYY, optionally followed by
// a blank or "T" and a time; or a time alone, which falls on 30 Dec 1899.
// A time is H:MM or H:MM:SS, optionally with AM or PM after a blank.
std::optional<std::int64_t> DateTimeValue(const std::string& text);

// Negative, zero or positive. The first rule that fits both texts decides:
// both wholly hexadecimal compare as unsigned numbers, both decimal as
// doubles, both dates as dates, and anything else byte by byte.
int CompareCellTexts(const std::string& a, const std::string& b);

// The order of rows sorted by their texts: element i is the index of the row
// that goes to place i. A quicksort with the middle element as pivot and a
// Hoare partition; it is not stable, and equal texts end where the
// partitions leave them.
std::vector<int> SortOrder(const std::vector<const std::string*>& texts, bool ascending);

}  // namespace torvek
