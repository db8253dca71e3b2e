#include "terminals/serial_config.h"

#include <cstdio>
#include <filesystem>

namespace torvek {

std::array<std::uint8_t, kSerialConfigSize> EncodeSerialConfig(const SerialConfig& config) {
  const std::uint32_t fields[6] = {config.port,     config.baud,   config.dataBits,
                                   config.stopBits, config.parity, config.reserved};
  std::array<std::uint8_t, kSerialConfigSize> bytes{};
  for (std::size_t f = 0; f < 6; ++f)
    for (std::size_t b = 0; b < 4; ++b)
      bytes[f * 4 + b] = static_cast<std::uint8_t>(fields[f] >> (8 * b));
  return bytes;
}

SerialConfig DecodeSerialConfig(const std::array<std::uint8_t, kSerialConfigSize>& bytes) {
  std::uint32_t fields[6];
  for (std::size_t f = 0; f < 6; ++f) {
    fields[f] = 0;
    for (std::size_t b = 0; b < 4; ++b)
      fields[f] |= static_cast<std::uint32_t>(bytes[f * 4 + b]) << (8 * b);
  }
  return {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]};
}

bool SaveSerialConfig(const std::string& path, const SerialConfig& config) {
  std::FILE* file = std::fopen(path.c_str(), "w+b");
  if (!file) return false;
  const auto bytes = EncodeSerialConfig(config);
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

bool LoadSerialConfig(const std::string& path, SerialConfig& config) {
  // "r+b": a file that cannot be written counts as missing.
  std::FILE* file = std::fopen(path.c_str(), "r+b");
  if (!file) {
    config = SerialConfig{};
    return false;
  }
  auto bytes = EncodeSerialConfig(SerialConfig{});
  std::fread(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  config = DecodeSerialConfig(bytes);
  return true;
}

std::uint32_t BaudOfRow(std::uint32_t row) {
  return row < kBaudTable.size() ? kBaudTable[row] : kBaudTable[SerialConfig{}.baud];
}

int DataBitsOfRow(std::uint32_t row) {
  return row < kDataBitsTable.size() ? kDataBitsTable[row]
                                     : kDataBitsTable[SerialConfig{}.dataBits];
}

std::uint32_t PortRowInRange(std::uint32_t row) { return row < kPortRows ? row : 0; }

std::string PortName(std::uint32_t portRow) { return "COM" + std::to_string(portRow + 1ull); }

std::optional<std::string> SerialDevicePath(std::uint32_t portRow, const std::string& programDir) {
  const std::string local = programDir + PortName(portRow);
  std::error_code error;
  if (std::filesystem::exists(std::filesystem::symlink_status(local, error))) return local;
  static constexpr const char* kFamilies[] = {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM"};
  if (portRow >= 96) return std::nullopt;
  return kFamilies[portRow / 32] + std::to_string(portRow % 32);
}

}  // namespace torvek
