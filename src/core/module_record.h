// A module record (answer 2) turned into the texts of one list row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/management_frame.h"

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

// A module as its search answer describes it. Addresses are in reading order.
struct Module {
  MacAddress mac{};
  std::string name;  // as sent; the list shows "None" for an empty one
  std::uint16_t modelCode = 0;
  std::uint8_t mode = 0;
  std::uint8_t dhcpServer = 0;
  std::array<std::uint8_t, 4> lanIp{}, lanMask{}, lanGateway{};
  std::string ssid;
  // The WAN side is in records of version 2 and later only.
  bool hasWan = false;
  std::array<std::uint8_t, 4> wanIp{}, wanMask{}, wanGateway{};
  MacAddress wanMac{};
  std::uint8_t ipType = 0;
  int version = 0;
  std::string firmware;  // up to the first zero, at most 8 characters

  // The major that the version gates compare: the first digit of the
  // version cell, which leads with the record's version.
  int FirmwareMajor() const;
  // "730", "740", "740P", or nothing for a model code the tool does not know.
  std::optional<std::string_view> ModelName() const;
};

// The record in the datagram: `length` bytes arrived, and nothing past them or
// past the record's own length (1213 bytes for version 1, 1225 otherwise) is
// read; what is missing reads as zero.
Module ModuleFromRecord(const std::uint8_t* datagram, std::size_t length);

struct ModuleRow {
  std::array<std::string, kModuleColumnCount> cells;
  // Background of the type cell; nothing for the list's default.
  std::optional<Color> typeBackground;
};

// The 14 texts of a module's row. `rowIndex` is the index the row will get;
// an unknown model shows its running number.
ModuleRow RowFromModule(const Module& module, int rowIndex);
ModuleRow RowFromRecord(const std::uint8_t* datagram, std::size_t length, int rowIndex);

std::string ModeText(std::uint8_t mode);
std::string IpTypeText(std::uint8_t ipType);

// Appends the row of a module unless its MAC is already listed; gives the new
// row's index or -1 when it was dropped as a repeat. The row carries
// `userData` through every sort.
int AddModuleRow(CellTable& list, const Module& module, std::intptr_t userData = 0);
int AddModuleRecord(CellTable& list, const std::uint8_t* datagram, std::size_t length);

}  // namespace torvek
