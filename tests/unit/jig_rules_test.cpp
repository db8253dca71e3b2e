#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "production/jig_rules.h"
#include "production/radio_choices.h"

namespace torvek {
namespace {

std::vector<std::uint8_t> Answer(std::uint8_t code, std::uint8_t result, std::string_view text,
                                 bool nul = true) {
  std::vector<std::uint8_t> bytes{code, result, 0xEE};
  for (const char c : text) bytes.push_back(static_cast<std::uint8_t>(c));
  if (nul) bytes.push_back(0);
  return bytes;
}

JigAnswerEffect Decide(std::uint8_t code, std::uint8_t result, std::string_view text,
                       std::string_view mac = "00-0E-E3-00-00-01") {
  const auto bytes = Answer(code, result, text);
  return DecideJigAnswer(ReadJigAnswer(bytes.data(), bytes.size()), mac);
}

TEST(JigRules, RequestIsTheItemAOneAnd128Zeros) {
  const JigRequest request = BuildJigRequest(0x30);
  ASSERT_EQ(request.size(), 130u);
  EXPECT_EQ(request[0], 0x30);
  EXPECT_EQ(request[1], 1);
  for (std::size_t i = 2; i < request.size(); ++i) ASSERT_EQ(request[i], 0) << i;
}

TEST(JigRules, RowsHaveDistinctIdsAndEveryItemFindsItsRow) {
  std::set<int> ids;
  for (const JigRow& row : kJigRows) {
    EXPECT_TRUE(ids.insert(row.buttonId).second) << row.buttonId;
    EXPECT_TRUE(ids.insert(row.resultId).second) << row.resultId;
    EXPECT_EQ(JigRowOfItem(row.item), &row);
  }
  EXPECT_EQ(JigRowOfItem(0x1A), nullptr);
  EXPECT_EQ(JigRowOfItem(0x00), nullptr);
  EXPECT_EQ(JigRowOfItem(0x16)->resultId, 1067);
  EXPECT_EQ(JigRowOfItem(0x30)->resultId, 1070);
  EXPECT_EQ(JigRowOfItem(0x15)->buttonId, 1072);
}

TEST(JigRules, TargetWithoutAChoiceIsTheOnlyModuleOrABox) {
  EXPECT_EQ(ChooseJigTarget(true, 0), JigTarget::Selected);
  EXPECT_EQ(ChooseJigTarget(true, 5), JigTarget::Selected);
  EXPECT_EQ(ChooseJigTarget(false, 1), JigTarget::FirstRow);
  EXPECT_EQ(ChooseJigTarget(false, 0), JigTarget::NoModule);
  EXPECT_EQ(ChooseJigTarget(false, 2), JigTarget::NotSelected);
  EXPECT_EQ(JigTargetRefusal(JigTarget::NoModule), "Module is not found, click serach button");
  EXPECT_EQ(JigTargetRefusal(JigTarget::NotSelected),
            "Module is not selected at the list, Please select module first!!!");
  EXPECT_TRUE(JigTargetRefusal(JigTarget::Selected).empty());
  EXPECT_TRUE(JigTargetRefusal(JigTarget::FirstRow).empty());
}

TEST(JigRules, AnswerTextEndsAtNulOrTheDatagramAndNeverReadsPast) {
  auto bytes = Answer(0x46, 0, "usb ok");
  bytes.insert(bytes.end(), {'x', 'y'});
  JigAnswer a = ReadJigAnswer(bytes.data(), bytes.size());
  EXPECT_EQ(a.code, 0x46);
  EXPECT_EQ(a.result, 0);
  EXPECT_EQ(a.text, "usb ok");
  // No NUL: the text runs to the end of what arrived, not beyond.
  bytes = Answer(0x60, 3, "wlan", false);
  a = ReadJigAnswer(bytes.data(), bytes.size());
  EXPECT_EQ(a.result, 3);
  EXPECT_EQ(a.text, "wlan");
  // Short datagrams read as zeros behind their end.
  const std::uint8_t one[] = {0x46};
  a = ReadJigAnswer(one, 1);
  EXPECT_EQ(a.code, 0x46);
  EXPECT_EQ(a.result, 0);
  EXPECT_EQ(a.text, "");
  a = ReadJigAnswer(one, 0);
  EXPECT_EQ(a.code, 0);
  EXPECT_EQ(ReadJigAnswer(nullptr, 10).code, 0);
  // Past the work area nothing is read.
  std::vector<std::uint8_t> big(5000, 'a');
  big[0] = 0x60;
  big[1] = 0;
  EXPECT_EQ(ReadJigAnswer(big.data(), big.size()).text.size(), kJigAnswerArea - 3);
}

TEST(JigRules, PortAndSerialAnswersWriteTheirFieldAndOkOrTheModulesWords) {
  const struct {
    std::uint8_t code;
    const char* good;
    const char* fail;
    const char* label;
    int id;
  } cases[] = {
      {0x40, "port0 GOOD", "port0 Fail", "GOOD", 1062},
      {0x41, "port1 GOOD", "port1 Fail", "OK", 1063},
      {0x44, "port4 GOOD", "port4 Fail", "OK", 1066},
      {0x45, "port5 GOOD", "port5 Fail", "OK", 1073},
      {0x47, "SPI GOOD", "SPI Fail", "OK", 1068},
      {0x48, "UART1 GOOD", "UART1 Fail", "OK", 1069},
      {0x49, "UART2 GOOD", "UART2 Fail", "OK", 1075},
  };
  for (const auto& c : cases) {
    JigAnswerEffect e = Decide(c.code, 0, "words");
    EXPECT_TRUE(e.known);
    EXPECT_EQ(e.resultId, c.id);
    EXPECT_EQ(e.fields, std::vector<std::string>{c.good}) << int(c.code);
    EXPECT_EQ(e.label, c.label);
    e = Decide(c.code, 0xFF, "no link on port");
    EXPECT_EQ(e.fields, std::vector<std::string>{c.fail});
    EXPECT_EQ(e.label, "no link on port");
  }
}

TEST(JigRules, UsbAnswerReportsTheMacAndLanGoodWhateverItsResult) {
  JigAnswerEffect e = Decide(0x46, 0, "usb 2.0 found", "00-0E-E3-12-34-56");
  EXPECT_EQ(e.resultId, 1067);
  EXPECT_EQ(e.fields, (std::vector<std::string>{"00-0E-E3-12-34-56", "LAN GOOD", "USB GOOD"}));
  EXPECT_EQ(e.label, "usb 2.0 found");
  e = Decide(0x46, 1, "no usb", "");
  EXPECT_EQ(e.fields, (std::vector<std::string>{"", "LAN GOOD", "USB Fail"}));
  EXPECT_EQ(e.label, "no usb");
}

TEST(JigRules, WlanAnswerShowsTheModulesWordsEitherWay) {
  JigAnswerEffect e = Decide(0x60, 0, "ping ok");
  EXPECT_EQ(e.resultId, 1070);
  EXPECT_EQ(e.fields, std::vector<std::string>{"WLAN GOOD"});
  EXPECT_EQ(e.label, "ping ok");
  e = Decide(0x60, 2, "");
  EXPECT_EQ(e.fields, std::vector<std::string>{"WLAN Fail"});
  EXPECT_EQ(e.label, "");
}

TEST(JigRules, CodesOutsideTheTableAreUnknownAndWriteNothing) {
  for (int code : {0x00, 0x10, 0x16, 0x30, 0x3F, 0x4A, 0x50, 0x5F, 0x61, 0x76, 0xFF}) {
    const JigAnswerEffect e = Decide(static_cast<std::uint8_t>(code), 0, "x");
    EXPECT_FALSE(e.known) << code;
    EXPECT_TRUE(e.fields.empty()) << code;
  }
  // A receive error arrives as nothing at all.
  EXPECT_FALSE(DecideJigAnswer(ReadJigAnswer(nullptr, 0), "m").known);
}

TEST(JigRules, ReportWritesLeadWithATabAndTheRunOpensWithItsDate) {
  EXPECT_EQ(JigReportWrite("LAN GOOD"), "\tLAN GOOD");
  EXPECT_EQ(JigReportWrite(""), "\t");
  EXPECT_EQ(JigRunDateLine(2024, 3, 7, 9, 5, 0), "\n2024-3-7  9: 5: 0");
  EXPECT_EQ(JigRunDateLine(2025, 12, 31, 23, 59, 58), "\n2025-12-31 23:59:58");
  // A run's record, as its writes put it together.
  std::string record;
  for (const char* field : {"", "00-0E-E3-00-00-01", "LAN GOOD", "USB GOOD", "WLAN Fail"})
    record += JigReportWrite(*field ? field : JigRunDateLine(2024, 1, 2, 3, 4, 5));
  EXPECT_EQ(record, "\t\n2024-1-2  3: 4: 5\t00-0E-E3-00-00-01\tLAN GOOD\tUSB GOOD\tWLAN Fail");
}

TEST(JigRules, AllTestSearchesWaitsDatesThenAsksUsbAndWlanASecondApart) {
  using K = JigStepKind;
  std::vector<std::pair<K, int>> press, step;
  for (const JigStep& s : AllTestPressSteps()) press.emplace_back(s.kind, s.value);
  for (const JigStep& s : AllTestStepSteps(1)) step.emplace_back(s.kind, s.value);
  EXPECT_EQ(press, (std::vector<std::pair<K, int>>{{K::SetAllWaiting, 0},
                                                   {K::Search, 0},
                                                   {K::Repaint, 0},
                                                   {K::Pause, 1000},
                                                   {K::DateLine, 0},
                                                   {K::PostStep, 0}}));
  EXPECT_EQ(step, (std::vector<std::pair<K, int>>{
                      {K::Pause, 1000}, {K::Request, 0x16}, {K::Pause, 1000}, {K::Request, 0x30}}));
  EXPECT_TRUE(AllTestStepSteps(0).empty());
  EXPECT_TRUE(AllTestStepSteps(2).empty());
}

TEST(RadioChoices, EachChoiceHasItsDescription) {
  EXPECT_EQ(RadioChoiceDescription(1075), "atheros radio test via network communication");
  EXPECT_EQ(RadioChoiceDescription(1078), "atheros radio test via serial communication");
  EXPECT_EQ(RadioChoiceDescription(1077), "Ralink radio test via network communication");
  EXPECT_TRUE(RadioChoiceDescription(1076).empty());
  EXPECT_EQ(kFirstRadioChoice, 1075);
}

}  // namespace
}  // namespace torvek
