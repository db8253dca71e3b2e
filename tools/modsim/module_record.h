// The wire layout of management frames as a module sees them, written out
// field by field so that nothing here depends on the tool's own code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "virtual_module.h"

namespace modsim {

inline constexpr std::uint16_t kCommandPort = 7980;

inline constexpr std::size_t kHeaderLength = 23;
inline constexpr std::size_t kFrameLength = 1225;
inline constexpr std::size_t kRecordLengthV1 = 1213;

inline constexpr std::uint8_t kCommandSearch = 1;
inline constexpr std::uint8_t kAnswerModuleRecord = 2;
inline constexpr std::uint8_t kCommandSetNetwork = 3;
inline constexpr std::uint8_t kAnswerNetworkChanged = 5;
inline constexpr std::uint8_t kCommandReboot = 58;
inline constexpr std::uint8_t kCommandFactoryDefault = 59;
inline constexpr std::uint8_t kAnswerSearchAgain = 60;
inline constexpr std::uint8_t kCommandSetCompanyId = 63;
inline constexpr std::uint8_t kCommandWriteMac = 80;
inline constexpr std::size_t kNewMacOffset = 23;

inline constexpr std::uint16_t kModelOrb730 = 0x4855;
inline constexpr std::uint16_t kModelOrb740 = 0x4856;
inline constexpr std::uint16_t kModelOrb740P = 0x4857;

// Offsets from the first byte of a frame.
namespace offset {
inline constexpr std::size_t modelCode = 0;
inline constexpr std::size_t command = 2;
inline constexpr std::size_t version = 3;
inline constexpr std::size_t result = 4;
inline constexpr std::size_t statusWord = 5;
inline constexpr std::size_t frameLength = 9;
inline constexpr std::size_t sourceMac = 11;
inline constexpr std::size_t targetMac = 17;
// Module record body.
inline constexpr std::size_t dhcpServer = 23;
inline constexpr std::size_t lanIp = 24;
inline constexpr std::size_t lanSubnet = 28;
inline constexpr std::size_t lanGateway = 32;
inline constexpr std::size_t ssid = 42;
inline constexpr std::size_t wanIp = 74;
inline constexpr std::size_t wanSubnet = 78;
inline constexpr std::size_t wanGateway = 82;
inline constexpr std::size_t ipType = 86;
inline constexpr std::size_t wanMac = 87;
inline constexpr std::size_t firmware = 93;
inline constexpr std::size_t mode = 101;
inline constexpr std::size_t name = 102;
// Short commands.
inline constexpr std::size_t companyRow = 23;
}  // namespace offset

inline constexpr std::size_t kSsidWidth = 32;
inline constexpr std::size_t kLongestName = kFrameLength - offset::name;

// Length of a module's record on the wire: version 1 records are 12 bytes short.
std::size_t RecordLength(std::uint8_t version);

// Writes a bare 23-byte answer header from module to peerMac; returns its length.
std::size_t BuildAnswer(const VirtualModule& module, const MacAddress& peerMac,
                        std::uint8_t command, std::uint8_t result, std::uint8_t* out);

// Writes the module record (answer 2) that answers a search from searcherMac.
// out must hold kFrameLength bytes. Returns the record's length.
std::size_t BuildModuleRecord(const VirtualModule& module, const MacAddress& searcherMac,
                              std::uint8_t* out);

}  // namespace modsim
