#include "module_record.h"

#include <algorithm>
#include <cstring>

namespace modsim {

namespace {

// modelCode and frameLength turn around with the version: big-endian below 3.
void PutHeaderWord(std::uint8_t* at, std::uint16_t value, std::uint8_t version) {
  const auto high = static_cast<std::uint8_t>(value >> 8);
  const auto low = static_cast<std::uint8_t>(value & 0xFF);
  if (version < 3) {
    at[0] = high;
    at[1] = low;
  } else {
    at[0] = low;
    at[1] = high;
  }
}

template <std::size_t N>
void PutBytes(std::uint8_t* at, const std::array<std::uint8_t, N>& bytes) {
  std::memcpy(at, bytes.data(), N);
}

}  // namespace

std::size_t RecordLength(std::uint8_t version) {
  return version == 1 ? kRecordLengthV1 : kFrameLength;
}

std::size_t BuildAnswer(const VirtualModule& module, const MacAddress& peerMac,
                        std::uint8_t command, std::uint8_t result, std::uint8_t* out) {
  std::memset(out, 0, kHeaderLength);
  PutHeaderWord(out + offset::modelCode, module.modelCode, module.version);
  out[offset::command] = command;
  out[offset::version] = module.version;
  out[offset::result] = result;
  PutHeaderWord(out + offset::frameLength, static_cast<std::uint16_t>(kHeaderLength),
                module.version);
  PutBytes(out + offset::sourceMac, module.mac);
  PutBytes(out + offset::targetMac, peerMac);
  return kHeaderLength;
}

std::size_t BuildModuleRecord(const VirtualModule& module, const MacAddress& searcherMac,
                              std::uint8_t* out) {
  const std::size_t length = RecordLength(module.version);
  std::memset(out, 0, kFrameLength);

  PutHeaderWord(out + offset::modelCode, module.modelCode, module.version);
  out[offset::command] = kAnswerModuleRecord;
  out[offset::version] = module.version;
  out[offset::result] = module.result;
  // statusWord stays 0: no flash job running.
  PutHeaderWord(out + offset::frameLength, static_cast<std::uint16_t>(kFrameLength),
                module.version);
  PutBytes(out + offset::sourceMac, module.mac);
  PutBytes(out + offset::targetMac, searcherMac);

  out[offset::dhcpServer] = module.dhcpServer;
  PutBytes(out + offset::lanIp, module.lanIp);
  PutBytes(out + offset::lanSubnet, module.lanSubnet);
  PutBytes(out + offset::lanGateway, module.lanGateway);
  std::memcpy(out + offset::ssid, module.ssid.data(), std::min(module.ssid.size(), kSsidWidth));

  PutBytes(out + offset::wanIp, module.wanIp);
  PutBytes(out + offset::wanSubnet, module.wanSubnet);
  PutBytes(out + offset::wanGateway, module.wanGateway);
  out[offset::ipType] = module.ipType;
  PutBytes(out + offset::wanMac, module.wanMac);

  std::memcpy(out + offset::firmware, module.firmware.data(), module.firmware.size());
  out[offset::mode] = module.mode;

  const std::size_t room = length - offset::name;
  if (module.nameKind == NameKind::Fill) {
    for (std::size_t i = 0; i < room; ++i) {
      out[offset::name + i] = static_cast<std::uint8_t>('a' + i % 26);
    }
  } else {
    std::memcpy(out + offset::name, module.name.data(), std::min(module.name.size(), room));
  }
  return length;
}

}  // namespace modsim
