#include "core/answer_dispatch.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/management_frame.h"

namespace torvek {

namespace {

// Result 8 carries one Hangul syllable (U+AC04), written here in UTF-8.
constexpr std::array<const char*, 13> kResultTexts = {
    " 1: Invalid IP address",
    " 2: Invalid Subnet mask",
    " 3: Invalid gateway address",
    " 4: IP can not be changed because DHCP Server enable status",
    " 5: only client mode supports scan command",
    " 6: not suppported",
    " 7: Paramter mismatched, check mac address",
    " 8: Paramter\xEA\xB0\x84 mismatch",
    " 9: only client mode supports",
    " 10: not suppported",
    " 11: Parameter is not valid",
    " 12: Flash file system is not stable",
    " 13: File size is too big",
};

constexpr int kSilentResult = 9;

}  // namespace

std::string ResultText(int result) {
  if (result < 1 || result > static_cast<int>(kResultTexts.size())) return {};
  return kResultTexts[static_cast<std::size_t>(result - 1)];
}

AnswerDecision DecideAnswer(std::uint8_t result, std::uint8_t command) {
  if (result == kSilentResult) return {AnswerRoute::Silent, {}};
  if (std::string text = ResultText(result); !text.empty())
    return {AnswerRoute::Refused, std::move(text)};
  switch (command) {
    case frame::kAnsModuleRecord: return {AnswerRoute::ModuleRecord, {}};
    case frame::kAnsAddressChanged:
      return {AnswerRoute::AddressChanged, " Module ip is changed !!!"};
    case frame::kAnsConfigBlock: return {AnswerRoute::ConfigBlock, {}};
    case frame::kAnsMacWrite53:
    case frame::kAnsMacWrite57:
    case frame::kAnsMacWrite82: return {AnswerRoute::MacWrite, {}};
    case frame::kAnsLogoBlock: return {AnswerRoute::LogoBlock, {}};
    case frame::kAnsSearchAgain: return {AnswerRoute::SearchAgain, {}};
    case frame::kAnsSystemLogBlock: return {AnswerRoute::LogBlock, {}};
    default: {
      char text[64];
      std::snprintf(text, sizeof text, "Unknown message (hex =%x   dec=%d)", command, command);
      return {AnswerRoute::Unknown, text};
    }
  }
}

MacWriteCopy CopyMacWriteAnswer(const std::uint8_t* frame, std::size_t length) {
  MacWriteCopy copy;
  copy.length = std::min(length, copy.bytes.size());
  std::copy_n(frame, copy.length, copy.bytes.begin());
  return copy;
}

}  // namespace torvek
