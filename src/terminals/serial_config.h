// The serial settings: the image of serial_config.dat, 24 bytes, six 32-bit
// little-endian row numbers of the setup dialog's combos.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace torvek {

struct SerialConfig {
  std::uint32_t port = 0;      // 0 is COM1
  std::uint32_t baud = 11;     // row of kBaudTable: 57600
  std::uint32_t dataBits = 3;  // row of kDataBitsTable: 8 bits
  std::uint32_t stopBits = 0;  // 0 "1 stop", 1 "2 stop"
  std::uint32_t parity = 0;    // 0 "no ", 1 "odd", 2 "even"
  std::uint32_t reserved = 0;
};

inline constexpr std::size_t kSerialConfigSize = 24;
inline constexpr std::array<std::uint32_t, 15> kBaudTable = {110,   300,   600,    1200,   2400,
                                                             4800,  9600,  14400,  19200,  38400,
                                                             56000, 57600, 115200, 128000, 256000};
inline constexpr std::array<int, 4> kDataBitsTable = {5, 6, 7, 8};
inline constexpr int kPortRows = 99;

std::array<std::uint8_t, kSerialConfigSize> EncodeSerialConfig(const SerialConfig& config);
SerialConfig DecodeSerialConfig(const std::array<std::uint8_t, kSerialConfigSize>& bytes);

// False when the file cannot be written.
bool SaveSerialConfig(const std::string& path, const SerialConfig& config);
// False, with the defaults in `config`, when the file cannot be opened. A file
// shorter than 24 bytes keeps the defaults behind its end.
bool LoadSerialConfig(const std::string& path, SerialConfig& config);

// The stored rows are not checked when read; these give what the line is
// brought up with. A row outside its table falls back to the default row.
std::uint32_t BaudOfRow(std::uint32_t row);
int DataBitsOfRow(std::uint32_t row);
// Port rows outside 0..98 open COM1.
std::uint32_t PortRowInRange(std::uint32_t row);

// "COM<row+1>".
std::string PortName(std::uint32_t portRow);
// The device a port name stands for: a file or link of that name in
// programDir wins; otherwise COM1-32 are ttyS0-31, COM33-64 ttyUSB0-31 and
// COM65-96 ttyACM0-31. Nothing for COM97-99 without such a file.
std::optional<std::string> SerialDevicePath(std::uint32_t portRow, const std::string& programDir);

}  // namespace torvek
