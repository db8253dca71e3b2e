#include "core/module_record.h"

#include <algorithm>
#include <cstdio>

#include "core/management_frame.h"

namespace torvek {

const std::array<ColumnSpec, kModuleColumnCount> kModuleColumns = {{
    {"name", 80},
    {"type", 65},
    {"lan ip", 96},
    {"lan subnet", 0},
    {"lan gw", 0},
    {"Dhcp", 50},
    {"mac", 0},
    {"ssid", 100},
    {"wan ip", 96},
    {"wan subnet", 0},
    {"wan gw", 1},
    {"wan mac", 0},
    {"ip type ", 50},
    {"version", 80},
}};

std::string ModeText(std::uint8_t mode) {
  static const char* const kModes[] = {"ap", "gw", "cm", "apc", "adh"};
  return mode < std::size(kModes) ? kModes[mode] : "none";
}

std::string IpTypeText(std::uint8_t ipType) {
  static const char* const kTypes[] = {"static", "dhcp", "pppoe", "l2tp", "pptp", "3G"};
  return ipType < std::size(kTypes) ? kTypes[ipType] : "None";
}

namespace {

// Text of a zero-padded field: up to the first zero, at most `width` bytes.
std::string FieldText(const std::uint8_t* at, std::size_t width) {
  const auto* end = std::find(at, at + width, std::uint8_t{0});
  return std::string(reinterpret_cast<const char*>(at), static_cast<std::size_t>(end - at));
}

}  // namespace

ModuleRow RowFromRecord(const std::uint8_t* datagram, std::size_t length, int rowIndex) {
  // Work on a zero-filled copy of exactly one record, so that a short datagram
  // reads as zeros and a long one is cut at the record's end.
  std::array<std::uint8_t, frame::kRecordLength> record{};
  const int version = length > frame::kVersion ? datagram[frame::kVersion] : 0;
  const std::size_t recordLength = version == 1 ? frame::kRecordLengthV1 : frame::kRecordLength;
  std::copy_n(datagram, std::min(length, recordLength), record.begin());
  const std::uint8_t* r = record.data();

  ModuleRow row;
  auto& c = row.cells;
  c[kColLanIp] = DottedFromRecord(r + frame::kLanIp);
  c[kColLanSubnet] = DottedFromRecord(r + frame::kLanSubnet);
  c[kColLanGateway] = DottedFromRecord(r + frame::kLanGateway);
  c[kColDhcp] = std::to_string(r[frame::kDhcpServer]);
  c[kColMac] = MacText(r + frame::kSourceMac);
  c[kColSsid] = FieldText(r + frame::kSsid, frame::kSsidLength);
  if (version >= 2) {
    c[kColWanIp] = DottedFromRecord(r + frame::kWanIp);
    c[kColWanSubnet] = DottedFromRecord(r + frame::kWanSubnet);
    c[kColWanGateway] = DottedFromRecord(r + frame::kWanGateway);
    c[kColWanMac] = MacText(r + frame::kWanMac);
    c[kColIpType] = IpTypeText(r[frame::kIpType]);
  }
  // Firmware characters are shown up to the first zero: zeros pad a short version.
  const std::string firmware = FieldText(r + frame::kFirmware, frame::kFirmwareLength);
  c[kColVersion] = std::to_string(version) + " : " + firmware +
                   (firmware.size() == frame::kFirmwareLength ? " " : "");

  const std::uint16_t code = GetWord(r + frame::kModelCode, version);
  std::string shortForm;
  if (auto known = ModelShortForm(code)) {
    shortForm = std::string(*known);
    if (code == kModel740) row.typeBackground = kColor740;
    if (code == kModel740P) row.typeBackground = kColor740P;
  } else {
    char number[16];
    std::snprintf(number, sizeof number, "%3d", rowIndex + 1);
    shortForm = number;
  }
  c[kColType] = shortForm + ":" + ModeText(r[frame::kMode]);

  // The name runs to its terminator or to the end of the record.
  c[kColName] = FieldText(r + frame::kName, recordLength - frame::kName);
  if (c[kColName].empty()) c[kColName] = "None";
  return row;
}

int AddModuleRecord(CellTable& list, const std::uint8_t* datagram, std::size_t length) {
  const int rowIndex = list.RowCount();
  ModuleRow row = RowFromRecord(datagram, length, rowIndex);
  if (list.FindRow(row.cells[kColMac]) >= 0) return -1;
  list.AppendRow(std::move(row.cells));
  if (row.typeBackground) list.SetCellBackground(rowIndex, kColType, *row.typeBackground);
  return rowIndex;
}

}  // namespace torvek
