// One virtual module: everything it would tell a searcher, plus the state that
// decides how it behaves.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

namespace modsim {

using MacAddress = std::array<std::uint8_t, 6>;
using Ipv4 = std::array<std::uint8_t, 4>;  // in reading order: 192.168.1.254 is C0 A8 01 FE

enum class NameKind {
  Text,  // zero-terminated, or cut at the record's end
  Fill,  // non-zero bytes up to the record's last byte, no terminator
};

struct VirtualModule {
  int index = 0;  // from 0, in the order of the command line's lists
  std::uint16_t modelCode = 0x4855;
  std::uint8_t version = 3;
  std::uint8_t result = 0;
  std::uint8_t mode = 0;
  std::uint8_t dhcpServer = 0;
  std::uint8_t ipType = 0;
  MacAddress mac{};

  // The lab address it answers from. lanIp starts as the same address and
  // follows a Set; the module keeps answering from here.
  Ipv4 labAddress{};
  Ipv4 lanIp{};
  Ipv4 lanSubnet{};
  Ipv4 lanGateway{};

  Ipv4 wanIp{};
  Ipv4 wanSubnet{};
  Ipv4 wanGateway{};
  MacAddress wanMac{};

  std::string ssid;  // at most 32 bytes
  std::array<char, 8> firmware{};
  NameKind nameKind = NameKind::Text;
  std::string name;

  // A module that has just rebooted keeps quiet until then.
  std::chrono::steady_clock::time_point hiddenUntil{};
  std::uint32_t companyId = 0;
};

}  // namespace modsim
