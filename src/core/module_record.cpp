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

Module ModuleFromRecord(const std::uint8_t* datagram, std::size_t length) {
  // Work on a zero-filled copy of exactly one record, so that a short datagram
  // reads as zeros and a long one is cut at the record's end.
  std::array<std::uint8_t, frame::kRecordLength> record{};
  const int version = length > frame::kVersion ? datagram[frame::kVersion] : 0;
  const std::size_t recordLength = version == 1 ? frame::kRecordLengthV1 : frame::kRecordLength;
  std::copy_n(datagram, std::min(length, recordLength), record.begin());
  const std::uint8_t* r = record.data();
  const auto address = [r](std::size_t at) {
    std::array<std::uint8_t, 4> a{};
    std::copy_n(r + at, 4, a.begin());
    return a;
  };

  Module m;
  m.version = version;
  std::copy_n(r + frame::kSourceMac, 6, m.mac.begin());
  m.lanIp = address(frame::kLanIp);
  m.lanMask = address(frame::kLanSubnet);
  m.lanGateway = address(frame::kLanGateway);
  m.dhcpServer = r[frame::kDhcpServer];
  m.ssid = FieldText(r + frame::kSsid, frame::kSsidLength);
  if (version >= 2) {
    m.hasWan = true;
    m.wanIp = address(frame::kWanIp);
    m.wanMask = address(frame::kWanSubnet);
    m.wanGateway = address(frame::kWanGateway);
    std::copy_n(r + frame::kWanMac, 6, m.wanMac.begin());
    m.ipType = r[frame::kIpType];
  }
  // Zeros pad a short version.
  m.firmware = FieldText(r + frame::kFirmware, frame::kFirmwareLength);
  m.modelCode = GetWord(r + frame::kModelCode, version);
  m.mode = r[frame::kMode];
  // The name runs to its terminator or to the end of the record.
  m.name = FieldText(r + frame::kName, recordLength - frame::kName);
  return m;
}

int Module::FirmwareMajor() const { return std::to_string(version)[0] - '0'; }

std::optional<std::string_view> Module::ModelName() const { return ModelShortForm(modelCode); }

ModuleRow RowFromModule(const Module& m, int rowIndex) {
  ModuleRow row;
  auto& c = row.cells;
  c[kColLanIp] = DottedFromRecord(m.lanIp.data());
  c[kColLanSubnet] = DottedFromRecord(m.lanMask.data());
  c[kColLanGateway] = DottedFromRecord(m.lanGateway.data());
  c[kColDhcp] = std::to_string(m.dhcpServer);
  c[kColMac] = MacText(m.mac.data());
  c[kColSsid] = m.ssid;
  if (m.hasWan) {
    c[kColWanIp] = DottedFromRecord(m.wanIp.data());
    c[kColWanSubnet] = DottedFromRecord(m.wanMask.data());
    c[kColWanGateway] = DottedFromRecord(m.wanGateway.data());
    c[kColWanMac] = MacText(m.wanMac.data());
    c[kColIpType] = IpTypeText(m.ipType);
  }
  c[kColVersion] = std::to_string(m.version) + " : " + m.firmware +
                   (m.firmware.size() == frame::kFirmwareLength ? " " : "");

  std::string shortForm;
  if (auto known = m.ModelName()) {
    shortForm = std::string(*known);
    if (m.modelCode == kModel740) row.typeBackground = kColor740;
    if (m.modelCode == kModel740P) row.typeBackground = kColor740P;
  } else {
    char number[16];
    std::snprintf(number, sizeof number, "%3d", rowIndex + 1);
    shortForm = number;
  }
  c[kColType] = shortForm + ":" + ModeText(m.mode);
  c[kColName] = m.name.empty() ? "None" : m.name;
  return row;
}

ModuleRow RowFromRecord(const std::uint8_t* datagram, std::size_t length, int rowIndex) {
  return RowFromModule(ModuleFromRecord(datagram, length), rowIndex);
}

int AddModuleRow(CellTable& list, const Module& module, std::intptr_t userData) {
  const int rowIndex = list.RowCount();
  ModuleRow row = RowFromModule(module, rowIndex);
  if (list.FindRow(row.cells[kColMac]) >= 0) return -1;
  list.AppendRow(std::move(row.cells), userData);
  if (row.typeBackground) list.SetCellBackground(rowIndex, kColType, *row.typeBackground);
  return rowIndex;
}

int AddModuleRecord(CellTable& list, const std::uint8_t* datagram, std::size_t length) {
  return AddModuleRow(list, ModuleFromRecord(datagram, length));
}

}  // namespace torvek
