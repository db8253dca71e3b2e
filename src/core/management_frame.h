// The UDP frame between the tool and the modules: layout, codes, stamping.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace torvek {

using MacAddress = std::array<std::uint8_t, 6>;

namespace frame {

inline constexpr std::uint16_t kModulePort = 7980;
inline constexpr std::uint16_t kToolPort = 7981;
inline constexpr std::size_t kHeaderLength = 23;
inline constexpr std::size_t kSearchLength = 23;
inline constexpr std::size_t kRequestLength = 1225;   // 0x4C9
inline constexpr std::size_t kRecordLengthV1 = 1213;  // 0x4BD
inline constexpr std::size_t kRecordLength = 1225;
inline constexpr std::size_t kBlockPayload = 1000;
inline constexpr std::size_t kReceiveLimit = 4096;

// Header offsets.
inline constexpr std::size_t kModelCode = 0;
inline constexpr std::size_t kCommand = 2;
inline constexpr std::size_t kVersion = 3;
inline constexpr std::size_t kResult = 4;
inline constexpr std::size_t kStatusWord = 5;
inline constexpr std::size_t kFrameLength = 9;
inline constexpr std::size_t kSourceMac = 11;
inline constexpr std::size_t kTargetMac = 17;

// Module record body offsets.
inline constexpr std::size_t kDhcpServer = 23;
inline constexpr std::size_t kLanIp = 24;
inline constexpr std::size_t kLanSubnet = 28;
inline constexpr std::size_t kLanGateway = 32;
inline constexpr std::size_t kSsid = 42;
inline constexpr std::size_t kSsidLength = 32;
inline constexpr std::size_t kWanIp = 74;
inline constexpr std::size_t kWanSubnet = 78;
inline constexpr std::size_t kWanGateway = 82;
inline constexpr std::size_t kIpType = 86;
inline constexpr std::size_t kWanMac = 87;
inline constexpr std::size_t kFirmware = 93;
inline constexpr std::size_t kFirmwareLength = 8;
inline constexpr std::size_t kMode = 101;
inline constexpr std::size_t kName = 102;

// Commands, tool to module.
inline constexpr std::uint8_t kCmdSearch = 1;
inline constexpr std::uint8_t kCmdSetNetwork = 3;
inline constexpr std::uint8_t kCmdUploadConfig = 48;
inline constexpr std::uint8_t kCmdGetConfig = 50;
inline constexpr std::uint8_t kCmdUploadLogo = 52;
inline constexpr std::uint8_t kCmdGetLogo = 54;
inline constexpr std::uint8_t kCmdUploadFirmware = 56;
inline constexpr std::uint8_t kCmdReboot = 58;
inline constexpr std::uint8_t kCmdFactoryDefault = 59;
inline constexpr std::uint8_t kCmdGetSystemLog = 61;
inline constexpr std::uint8_t kCmdSetCompanyId = 63;
inline constexpr std::uint8_t kCmdWriteMac = 80;

// Answers, module to tool.
inline constexpr std::uint8_t kAnsModuleRecord = 2;
inline constexpr std::uint8_t kAnsAddressChanged = 5;
inline constexpr std::uint8_t kAnsConfigBlock = 51;
inline constexpr std::uint8_t kAnsMacWrite53 = 53;
inline constexpr std::uint8_t kAnsLogoBlock = 55;
inline constexpr std::uint8_t kAnsMacWrite57 = 57;
inline constexpr std::uint8_t kAnsSearchAgain = 60;
inline constexpr std::uint8_t kAnsSystemLogBlock = 62;
inline constexpr std::uint8_t kAnsMacWrite82 = 82;

}  // namespace frame

// Model codes of the type word.
inline constexpr std::uint16_t kModel730 = 0x4855;
inline constexpr std::uint16_t kModel740 = 0x4856;
inline constexpr std::uint16_t kModel740P = 0x4857;

// The word rule: modelCode and frameLength are big-endian below version 3,
// little-endian from version 3 on. Everything else is always little-endian.
void PutWord(std::uint8_t* at, std::uint16_t value, int version);
std::uint16_t GetWord(const std::uint8_t* at, int version);
void PutU32(std::uint8_t* at, std::uint32_t value);
std::uint32_t GetU32(const std::uint8_t* at);

// The model code of a list type text ("730:ap", "740P:gw", ...). Substrings are
// tried in the order "730", "740P", "740"; the first hit decides.
std::optional<std::uint16_t> ModelCodeOf(std::string_view typeText);
// "Invalid Type String %s"
std::string InvalidTypeStringText(std::string_view typeText);

// Short form of a model code: "730", "740", "740P", or nothing for an unknown code.
std::optional<std::string_view> ModelShortForm(std::uint16_t modelCode);

// The process-wide frame with a ready header: all zero, 48 55 at 0, 00 1F at 9,
// the PC's MAC as the source.
using FrameBuffer = std::array<std::uint8_t, frame::kRequestLength>;
FrameBuffer MakeFrameTemplate(const MacAddress& pcMac);

// Prepares the template for a search: zero target, command 1, version 2.
void PrepareSearch(FrameBuffer& frame);

// The last step before a frame other than a file block goes out. The model code
// is that of the selected module's type text; when that text names no model the
// field keeps what it held, so the frame still goes out with a defined header.
void StampFrame(std::uint8_t* frame, std::size_t lengthOnWire, int selectedFirmwareMajor,
                std::optional<std::uint16_t> modelCode);

// Addresses. In a module record an address is in reading order; in a Set request
// it is reversed (the u32 whose top byte is the first number, little-endian).
std::string DottedFromRecord(const std::uint8_t* at);
std::optional<std::array<std::uint8_t, 4>> ParseDotted(std::string_view text);
void PutAddressReversed(std::uint8_t* at, const std::array<std::uint8_t, 4>& address);

// "%02X-%02X-%02X-%02X-%02X-%02X"
std::string MacText(const std::uint8_t* mac);
// Scans "%X-%X-%X-%X-%X-%X": fields that do not scan leave zero bytes, as the
// selection has always done with a short text.
MacAddress ParseMacText(std::string_view text);

}  // namespace torvek
