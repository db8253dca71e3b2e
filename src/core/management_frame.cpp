#include "core/management_frame.h"

#include <algorithm>
#include <cstdio>

namespace torvek {

void PutWord(std::uint8_t* at, std::uint16_t value, int version) {
  const auto hi = static_cast<std::uint8_t>(value >> 8);
  const auto lo = static_cast<std::uint8_t>(value & 0xFF);
  if (version < 3) {
    at[0] = hi;
    at[1] = lo;
  } else {
    at[0] = lo;
    at[1] = hi;
  }
}

std::uint16_t GetWord(const std::uint8_t* at, int version) {
  if (version < 3) return static_cast<std::uint16_t>((at[0] << 8) | at[1]);
  return static_cast<std::uint16_t>((at[1] << 8) | at[0]);
}

void PutU32(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t GetU32(const std::uint8_t* at) {
  return static_cast<std::uint32_t>(at[0]) | (static_cast<std::uint32_t>(at[1]) << 8) |
         (static_cast<std::uint32_t>(at[2]) << 16) | (static_cast<std::uint32_t>(at[3]) << 24);
}

std::optional<std::uint16_t> ModelCodeOf(std::string_view typeText) {
  if (typeText.find("730") != std::string_view::npos) return kModel730;
  if (typeText.find("740P") != std::string_view::npos) return kModel740P;
  if (typeText.find("740") != std::string_view::npos) return kModel740;
  return std::nullopt;
}

std::string InvalidTypeStringText(std::string_view typeText) {
  return "Invalid Type String " + std::string(typeText);
}

std::optional<std::string_view> ModelShortForm(std::uint16_t modelCode) {
  switch (modelCode) {
    case kModel730: return "730";
    case kModel740: return "740";
    case kModel740P: return "740P";
    default: return std::nullopt;
  }
}

FrameBuffer MakeFrameTemplate(const MacAddress& pcMac) {
  FrameBuffer frame{};
  frame[0] = 0x48;
  frame[1] = 0x55;
  frame[frame::kFrameLength] = 0x00;
  frame[frame::kFrameLength + 1] = 0x1F;
  std::copy(pcMac.begin(), pcMac.end(), frame.begin() + frame::kSourceMac);
  return frame;
}

void PrepareSearch(FrameBuffer& frame) {
  std::fill_n(frame.begin() + frame::kTargetMac, 6, std::uint8_t{0});
  frame[frame::kCommand] = frame::kCmdSearch;
  frame[frame::kVersion] = 2;
}

void StampFrame(std::uint8_t* frame, std::size_t lengthOnWire, int selectedFirmwareMajor,
                std::optional<std::uint16_t> modelCode) {
  if (frame[frame::kCommand] == frame::kCmdSearch) {
    frame[frame::kVersion] = 2;
    return;
  }
  if (modelCode) PutWord(frame + frame::kModelCode, *modelCode, selectedFirmwareMajor);
  PutWord(frame + frame::kFrameLength, static_cast<std::uint16_t>(lengthOnWire),
          selectedFirmwareMajor);
  frame[frame::kVersion] = static_cast<std::uint8_t>(selectedFirmwareMajor & 0xFF);
}

std::string DottedFromRecord(const std::uint8_t* at) {
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", at[0], at[1], at[2], at[3]);
  return text;
}

std::optional<std::array<std::uint8_t, 4>> ParseDotted(std::string_view text) {
  std::array<std::uint8_t, 4> out{};
  std::size_t pos = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0) {
      if (pos >= text.size() || text[pos] != '.') return std::nullopt;
      ++pos;
    }
    unsigned value = 0;
    std::size_t digits = 0;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9' && digits < 3) {
      value = value * 10 + static_cast<unsigned>(text[pos] - '0');
      ++pos;
      ++digits;
    }
    if (digits == 0 || value > 255) return std::nullopt;
    out[static_cast<std::size_t>(part)] = static_cast<std::uint8_t>(value);
  }
  if (pos != text.size()) return std::nullopt;
  return out;
}

void PutAddressReversed(std::uint8_t* at, const std::array<std::uint8_t, 4>& address) {
  for (std::size_t i = 0; i < 4; ++i) at[i] = address[3 - i];
}

std::string MacText(const std::uint8_t* mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02X-%02X-%02X-%02X-%02X-%02X", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

MacAddress ParseMacText(std::string_view text) {
  MacAddress mac{};
  std::size_t pos = 0;
  for (std::size_t field = 0; field < mac.size(); ++field) {
    if (field > 0) {
      if (pos >= text.size() || text[pos] != '-') break;
      ++pos;
    }
    unsigned value = 0;
    std::size_t digits = 0;
    while (pos < text.size()) {
      const char c = text[pos];
      int nibble = -1;
      if (c >= '0' && c <= '9')
        nibble = c - '0';
      else if (c >= 'a' && c <= 'f')
        nibble = c - 'a' + 10;
      else if (c >= 'A' && c <= 'F')
        nibble = c - 'A' + 10;
      if (nibble < 0) break;
      value = (value << 4) | static_cast<unsigned>(nibble);
      ++pos;
      ++digits;
    }
    if (digits == 0) break;
    mac[field] = static_cast<std::uint8_t>(value & 0xFF);
  }
  return mac;
}

}  // namespace torvek
