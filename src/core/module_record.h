// A module record (answer 2) turned into the texts of one list row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "controls/cell_table.h"

namespace torvek {

enum ModuleColumn : int {
  kColName = 0,
  kColType = 1,
  kColLanIp = 2,
  kColLanSubnet = 3,
  kColLanGateway = 4,
  kColDhcp = 5,
  kColMac = 6,
  kColSsid = 7,
  kColWanIp = 8,
  kColWanSubnet = 9,
  kColWanGateway = 10,
  kColWanMac = 11,
  kColIpType = 12,
  kColVersion = 13,
  kModuleColumnCount = 14,
};

struct ColumnSpec {
  const char* header;
  int width;
};
// Headers and pixel widths of the module list; all columns are centred.
extern const std::array<ColumnSpec, kModuleColumnCount> kModuleColumns;

inline constexpr Color kColor740 = 0x00C8C8C8;
inline constexpr Color kColor740P = 0x00969696;

struct ModuleRow {
  std::array<std::string, kModuleColumnCount> cells;
  // Background of the type cell; nothing for the list's default.
  std::optional<Color> typeBackground;
};

// The record in the receive buffer: `length` bytes arrived, everything behind
// them reads as zero. Nothing past the record's own length (1213 bytes for
// version 1, 1225 otherwise) or past what arrived is read. `rowIndex` is the
// index the row will get; an unknown model shows its running number.
ModuleRow RowFromRecord(const std::uint8_t* datagram, std::size_t length, int rowIndex);

std::string ModeText(std::uint8_t mode);
std::string IpTypeText(std::uint8_t ipType);

// Appends the row for a record unless its MAC is already listed; gives the new
// row's index or -1 when the record was dropped as a repeat.
int AddModuleRecord(CellTable& list, const std::uint8_t* datagram, std::size_t length);

}  // namespace torvek
