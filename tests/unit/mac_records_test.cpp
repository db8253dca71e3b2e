// The Mac Writer's records: the counter file, the record in flight, the logs,
// the label list, the barcode checks, the status table and the answer.
#include <gtest/gtest.h>

#include "core/management_frame.h"
#include "production/mac_records.h"

using namespace torvek;

namespace {

std::tm At(int year, int month, int day, int hour, int minute, int second) {
  std::tm t{};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  return t;
}

}  // namespace

TEST(MacCounterFile, ReadsTwoHexNumbersAndWritesThemBackWithoutLeadingZeros) {
  EXPECT_EQ(FormatMacData(1, 0x5038), "1\n5038\n");
  EXPECT_EQ(FormatMacData(0xABCDEF, 0x1000000), "abcdef\n1000000\n");
  const MacData data = ParseMacData("5\n5038\n");
  EXPECT_EQ(data.macId, 5u);
  EXPECT_EQ(data.macCompanyId, 0x5038u);
  // Whatever follows the second number is not read; upper case and 0x are numbers too.
  const MacData more = ParseMacData("  0xFF\r\nAbC\nsomething else 12\n");
  EXPECT_EQ(more.macId, 0xFFu);
  EXPECT_EQ(more.macCompanyId, 0xABCu);
  // A number that cannot be read is 0, and so is everything behind it.
  EXPECT_EQ(ParseMacData("").macId, 0u);
  const MacData garbled = ParseMacData("zz\n5038\n");
  EXPECT_EQ(garbled.macId, 0u);
  EXPECT_EQ(garbled.macCompanyId, 0u);
  const MacData half = ParseMacData("7\n");
  EXPECT_EQ(half.macId, 7u);
  EXPECT_EQ(half.macCompanyId, 0u);
  // A full 32-bit value round-trips; the byte forms keep only the low three bytes.
  const MacData big = ParseMacData(FormatMacData(0x1000002, 0x5038));
  EXPECT_EQ(big.macId, 0x1000002u);
  MacCounter counter;
  counter.macId = big.macId;
  counter.macCompanyId = big.macCompanyId;
  counter.RefreshMacBytes();
  EXPECT_EQ(counter.Address(), (MacBytes{0x00, 0x50, 0x38, 0x00, 0x00, 0x02}));
}

TEST(MacCounterFile, StepsByModel) {
  EXPECT_EQ(MacStepOf(kModel740), 4);
  EXPECT_EQ(MacStepOf(kModel740P), 4);
  EXPECT_EQ(MacStepOf(kModel730), 2);
  EXPECT_EQ(MacStepOf(0x1234), 0);
  EXPECT_EQ(MacStepOf(std::nullopt), 0);
  EXPECT_EQ(MacStepOf(ModelCodeOf("740P:gw")), 4);
}

TEST(MacInFlight, AStartStepsPastAWriteWhoseCounterWasNeverSaved) {
  const MacInFlight record{0x5038, 9, 13};
  const std::optional<MacInFlight> read = ParseInFlight(FormatInFlight(record));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->macId, 9u);
  EXPECT_EQ(read->nextId, 13u);
  // Killed between the answer and the save: the file still says 9.
  EXPECT_EQ(StepPastInFlight({9, 0x5038}, *read), 13u);
  // Killed after the save: nothing to do.
  EXPECT_EQ(StepPastInFlight({13, 0x5038}, *read), 13u);
  // The file already further on, or of another company: it is left alone.
  EXPECT_EQ(StepPastInFlight({21, 0x5038}, *read), 21u);
  EXPECT_EQ(StepPastInFlight({9, 0x5039}, *read), 9u);
  // A record cut short is no record.
  EXPECT_FALSE(ParseInFlight("5038\n9\n1"));
  EXPECT_FALSE(ParseInFlight("5038\n9\n"));
  EXPECT_FALSE(ParseInFlight(""));
}

TEST(MacSetup, HyphensGoAndAnEmptyOrUnreadableHalfKeepsItsValue) {
  EXPECT_EQ(ParseSetupText("12-34"), 0x1234u);
  EXPECT_EQ(ParseSetupText("00-50-38"), 0x5038u);
  EXPECT_EQ(ParseSetupText("00000b"), 0xBu);
  EXPECT_FALSE(ParseSetupText(""));
  EXPECT_FALSE(ParseSetupText("---"));
  EXPECT_FALSE(ParseSetupText("xyz"));
  EXPECT_EQ(SetupText({0x00, 0x50, 0x38}), "005038");
  EXPECT_EQ(HyphenText({0x00, 0x0a, 0xff}), "00-0a-ff");
  EXPECT_EQ(LowerMacText({0x00, 0x50, 0x38, 0xAB, 0xCD, 0x0E}), "005038abcd0e");
}

TEST(Barcode, LengthIsCheckedBeforeTheDigits) {
  EXPECT_EQ(CheckScannedMac("").check, ScanCheck::WrongLength);
  EXPECT_EQ(CheckScannedMac("00503800000").check, ScanCheck::WrongLength);
  EXPECT_EQ(CheckScannedMac("00503800000G0").check, ScanCheck::WrongLength);
  EXPECT_EQ(CheckScannedMac("00503800000G").check, ScanCheck::NotHex);
  EXPECT_EQ(CheckScannedMac("0050 3800000").check, ScanCheck::NotHex);
  const ScannedMac mixed = CheckScannedMac("0050aBCDef01");
  EXPECT_EQ(mixed.check, ScanCheck::Ok);
  EXPECT_EQ(mixed.mac, (MacBytes{0x00, 0x50, 0xAB, 0xCD, 0xEF, 0x01}));
}

TEST(WriteLog, NamesAndLinesHaveNoLeadingZeros) {
  const std::tm when = At(2026, 3, 7, 9, 5, 2);
  EXPECT_EQ(WriteLogName(kBarcodeMode, when), "barcoder_2026_3_7.txt");
  EXPECT_EQ(WriteLogName(kManualMode, when), "keyboard_2026_3_7.txt");
  EXPECT_EQ(WriteLogName(7, when), "keyboard_2026_3_7.txt");
  EXPECT_EQ(WriteLogLine(when, "0050AbCDef01", "SN12345678901"),
            "2026_3_7_9:5:2,0050AbCDef01,SN12345678901,OK\n");
  EXPECT_EQ(WriteLogLine(At(2026, 12, 31, 23, 59, 59), "005038000005", ""),
            "2026_12_31_23:59:59,005038000005,,OK\n");
}

TEST(LabelList, RunsFromTheNextAddressInStepsAndWrapsPastTheThirdByte) {
  const std::string lines = LabelList(0x5038, 1, 4, 3);
  EXPECT_EQ(lines, "00:50:38:00:00:01\n00:50:38:00:00:05\n00:50:38:00:00:09\n");
  EXPECT_EQ(LabelList(0xAB5038, 0xFFFFFE, 1, 3),
            "ab:50:38:ff:ff:fe\nab:50:38:ff:ff:ff\nab:50:38:00:00:00\n");
  const std::string full = LabelList(0x5038, 1, 10);
  ASSERT_EQ(full.size(), 18u * 100000u);
  EXPECT_EQ(full.substr(full.size() - 18), "00:50:38:0f:42:37\n");  // 1 + 99999 * 10
  EXPECT_EQ(LabelList(0x5038, 1, 1, 0), "");
}

TEST(StatusLine, TextsBeepsAndFocusByCode) {
  const MacStatus written = StatusOf(103);
  EXPECT_EQ(written.text, "Success Mac Writing (system is rebooting)");
  EXPECT_EQ(written.beeps, 1);
  EXPECT_EQ(written.beepType, kPlainBeep);
  const MacStatus noScan = StatusOf(300);
  EXPECT_EQ(noScan.text, "No scanned Mac Address");
  EXPECT_EQ(noScan.beeps, 3);
  EXPECT_EQ(noScan.beepType, kWarningBeep);
  EXPECT_EQ(noScan.focusId, 1008);
  EXPECT_EQ(StatusOf(100).text, "Failed(100) Error");
  EXPECT_EQ(StatusOf(101).text, "Failed(101) Error");
  EXPECT_EQ(StatusOf(500).text, "Log Writing error ");
  EXPECT_EQ(StatusOf(500).beeps, 3);
  EXPECT_EQ(StatusOf(102).text, "Waiting for the result...");
  EXPECT_EQ(StatusOf(102).beeps, 0);
  EXPECT_EQ(StatusOf(200).text, "Waiting result....");
  EXPECT_EQ(StatusOf(9).text, "onlu client mode supports");
  EXPECT_EQ(StatusOf(8).beeps, 0);
  EXPECT_EQ(StatusOf(14).text, "Failed(14) : unknown error");
  EXPECT_EQ(StatusOf(255).beeps, 3);
  EXPECT_EQ(StatusOf(0).text, "Failed(0) : unknown error");
}

TEST(MacWriteAnswer, IsJudgedInItsOrder) {
  const MacBytes pc{0x02, 0, 0, 0, 0, 1};
  const MacBytes other{0x02, 0, 0, 0, 0, 2};
  EXPECT_EQ(DecideMacWriteAnswer(false, 0, pc, pc), MacAnswer::NotPending);
  EXPECT_EQ(DecideMacWriteAnswer(false, 20, other, pc), MacAnswer::NotPending);
  // A refusal is reported whoever it names.
  EXPECT_EQ(DecideMacWriteAnswer(true, 20, other, pc), MacAnswer::Failed);
  EXPECT_EQ(DecideMacWriteAnswer(true, 0, other, pc), MacAnswer::OtherTarget);
  EXPECT_EQ(DecideMacWriteAnswer(true, 0, pc, pc), MacAnswer::Written);
}

TEST(MacWriteFrame, CarriesTheNewAddressBehindTheHeaderAndZerosAfter) {
  FrameBuffer frame;
  frame.fill(0xEE);
  FillMacWriteFrame(frame.data(), frame.size(), {1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12},
                    {0x00, 0x50, 0x38, 0, 0, 5});
  EXPECT_EQ(frame[2], 0x50);
  EXPECT_EQ(frame[4], 0);
  EXPECT_EQ(frame[11], 1);
  EXPECT_EQ(frame[16], 6);
  EXPECT_EQ(frame[17], 7);
  EXPECT_EQ(frame[22], 12);
  EXPECT_EQ(frame[23], 0x00);
  EXPECT_EQ(frame[24], 0x50);
  EXPECT_EQ(frame[28], 5);
  for (std::size_t i = 29; i < frame.size(); ++i) ASSERT_EQ(frame[i], 0) << i;
}

TEST(Instructions, TwelveLinesThenTheNoteBetweenRules) {
  const std::string text = MacWriterInstructions();
  EXPECT_EQ(text.rfind(" 1. Select system at the left list box\r\n", 0), 0u);
  const std::string rule = std::string(85, '-') + "\r\n";
  EXPECT_NE(text.find("well written\r\n" + rule +
                      " Mac setup :  incase 11n module, mac address shoule be 4's multiple   \r\n"),
            std::string::npos);
  EXPECT_EQ(text.substr(text.size() - rule.size()), rule);
}
