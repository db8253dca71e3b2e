#include "production/jig_rules.h"

#include <algorithm>
#include <cstdio>

namespace torvek {

// The port rows answer with fields of their own; USB and WLAN write theirs
// in DecideJigAnswer. The first row says "GOOD" where the others say "OK".
const std::array<JigRow, 11> kJigRows = {{
    {0x10, 1052, 1062, "port0 GOOD", "port0 Fail", "GOOD"},
    {0x11, 1053, 1063, "port1 GOOD", "port1 Fail", "OK"},
    {0x12, 1054, 1064, "port2 GOOD", "port2 Fail", "OK"},
    {0x13, 1055, 1065, "port3 GOOD", "port3 Fail", "OK"},
    {0x14, 1056, 1066, "port4 GOOD", "port4 Fail", "OK"},
    {0x15, 1072, 1073, "port5 GOOD", "port5 Fail", "OK"},
    {kJigUsbItem, 1057, 1067, "", "", ""},
    {0x17, 1058, 1068, "SPI GOOD", "SPI Fail", "OK"},
    {0x18, 1059, 1069, "UART1 GOOD", "UART1 Fail", "OK"},
    {0x19, 1074, 1075, "UART2 GOOD", "UART2 Fail", "OK"},
    {kJigWlanItem, 1060, 1070, "", "", ""},
}};

const JigRow* JigRowOfItem(std::uint8_t item) {
  const auto row = std::find_if(kJigRows.begin(), kJigRows.end(),
                                [item](const JigRow& r) { return r.item == item; });
  return row == kJigRows.end() ? nullptr : &*row;
}

JigRequest BuildJigRequest(std::uint8_t item) {
  JigRequest request{};
  request[0] = item;
  request[1] = 1;
  return request;
}

JigTarget ChooseJigTarget(bool haveAddress, int rowCount) {
  if (haveAddress) return JigTarget::Selected;
  if (rowCount == 1) return JigTarget::FirstRow;
  return rowCount <= 0 ? JigTarget::NoModule : JigTarget::NotSelected;
}

std::string_view JigTargetRefusal(JigTarget target) {
  switch (target) {
    case JigTarget::NoModule: return kJigNoModuleText;
    case JigTarget::NotSelected: return kJigNotSelectedText;
    default: return {};
  }
}

JigAnswer ReadJigAnswer(const std::uint8_t* data, std::size_t length) {
  length = data ? std::min(length, kJigAnswerArea) : 0;
  JigAnswer answer;
  if (length > 0) answer.code = data[0];
  if (length > 1) answer.result = data[1];
  if (length > 3) {
    const auto* begin = reinterpret_cast<const char*>(data) + 3;
    const auto* end = reinterpret_cast<const char*>(data) + length;
    answer.text.assign(begin, std::find(begin, end, '\0'));
  }
  return answer;
}

JigAnswerEffect DecideJigAnswer(const JigAnswer& answer, std::string_view firstRowMac) {
  JigAnswerEffect effect;
  if (answer.code < kJigAnswerOffset) return effect;
  const JigRow* row = JigRowOfItem(static_cast<std::uint8_t>(answer.code - kJigAnswerOffset));
  if (!row) return effect;
  effect.known = true;
  effect.resultId = row->resultId;
  const bool good = answer.result == 0;
  effect.label = answer.text;
  switch (row->item) {
    case kJigUsbItem:
      // Every USB answer vouches for the LAN as well: the request reached it.
      effect.fields = {std::string(firstRowMac), "LAN GOOD", good ? "USB GOOD" : "USB Fail"};
      break;
    case kJigWlanItem: effect.fields = {good ? "WLAN GOOD" : "WLAN Fail"}; break;
    default:
      effect.fields = {std::string(good ? row->goodField : row->failField)};
      if (good) effect.label = row->goodLabel;
  }
  return effect;
}

std::string JigReportWrite(std::string_view text) {
  std::string write = "\t";
  write += text;
  return write;
}

std::string JigRunDateLine(int year, int month, int day, int hour, int minute, int second) {
  char line[96];
  std::snprintf(line, sizeof line, "\n%d-%d-%d %2d:%2d:%2d", year, month, day, hour, minute,
                second);
  return line;
}

namespace {

constexpr JigStep kPressSteps[] = {
    {JigStepKind::SetAllWaiting},          {JigStepKind::Search},   {JigStepKind::Repaint},
    {JigStepKind::Pause, kJigStepPauseMs}, {JigStepKind::DateLine}, {JigStepKind::PostStep},
};

constexpr JigStep kStepSteps[] = {
    {JigStepKind::Pause, kJigStepPauseMs},
    {JigStepKind::Request, kJigUsbItem},
    {JigStepKind::Pause, kJigStepPauseMs},
    {JigStepKind::Request, kJigWlanItem},
};

}  // namespace

std::span<const JigStep> AllTestPressSteps() { return kPressSteps; }

std::span<const JigStep> AllTestStepSteps(long long wParam) {
  if (wParam != 1) return {};
  return kStepSteps;
}

}  // namespace torvek
