#include "core/answer_dispatch.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvek {
namespace {

TEST(AnswerDispatch, EveryRefusalStopsTheFrameWhateverItsCommand) {
  for (int result = 1; result <= 13; ++result) {
    if (result == 9) continue;
    for (int command : {2, 5, 51, 60, 0}) {
      const AnswerDecision d =
          DecideAnswer(static_cast<std::uint8_t>(result), static_cast<std::uint8_t>(command));
      EXPECT_EQ(d.route, AnswerRoute::Refused) << result << "/" << command;
      EXPECT_EQ(d.text, ResultText(result));
    }
  }
  EXPECT_EQ(DecideAnswer(1, 5).text, " 1: Invalid IP address");
  EXPECT_EQ(DecideAnswer(4, 5).text, " 4: IP can not be changed because DHCP Server enable status");
  EXPECT_EQ(DecideAnswer(13, 51).text, " 13: File size is too big");
  EXPECT_EQ(DecideAnswer(10, 2).text, " 10: not suppported");
}

TEST(AnswerDispatch, ResultNineIsDroppedWithoutAWord) {
  for (int command : {2, 5, 60, 200}) {
    const AnswerDecision d = DecideAnswer(9, static_cast<std::uint8_t>(command));
    EXPECT_EQ(d.route, AnswerRoute::Silent);
    EXPECT_TRUE(d.text.empty());
  }
}

TEST(AnswerDispatch, ResultEightCarriesItsHangulSyllableInUtf8) {
  EXPECT_EQ(ResultText(8), "\x20\x38\x3A\x20Paramter\xEA\xB0\x84\x20mismatch");
  EXPECT_TRUE(ResultText(0).empty());
  EXPECT_TRUE(ResultText(14).empty());
}

TEST(AnswerDispatch, ResultZeroAndAboveThirteenGoByCommand) {
  struct Case {
    std::uint8_t command;
    AnswerRoute route;
  };
  for (std::uint8_t result : {0, 14, 16, 24, 255}) {
    for (const Case c : {Case{2, AnswerRoute::ModuleRecord}, Case{5, AnswerRoute::AddressChanged},
                         Case{51, AnswerRoute::ConfigBlock}, Case{53, AnswerRoute::MacWrite},
                         Case{57, AnswerRoute::MacWrite}, Case{82, AnswerRoute::MacWrite},
                         Case{55, AnswerRoute::LogoBlock}, Case{60, AnswerRoute::SearchAgain},
                         Case{62, AnswerRoute::LogBlock}}) {
      EXPECT_EQ(DecideAnswer(result, c.command).route, c.route)
          << int(result) << "/" << int(c.command);
    }
  }
  EXPECT_EQ(DecideAnswer(0, 5).text, " Module ip is changed !!!");
}

TEST(AnswerDispatch, UnknownCommandNamesItInHexAndDecimal) {
  EXPECT_EQ(DecideAnswer(0, 49).text, "Unknown message (hex =31   dec=49)");
  EXPECT_EQ(DecideAnswer(0, 0).text, "Unknown message (hex =0   dec=0)");
  EXPECT_EQ(DecideAnswer(20, 255).text, "Unknown message (hex =ff   dec=255)");
  EXPECT_EQ(DecideAnswer(0, 3).route, AnswerRoute::Unknown);
}

TEST(AnswerDispatch, MacWriteAnswerIsCopiedUpToARequestsSizeWithZerosBehind) {
  std::vector<std::uint8_t> frame(1300, 0xAB);
  frame[1227] = 0x01;
  const MacWriteCopy longer = CopyMacWriteAnswer(frame.data(), frame.size());
  EXPECT_EQ(longer.length, 1228u);
  EXPECT_EQ(longer.bytes[1227], 0x01);
  const MacWriteCopy shorter = CopyMacWriteAnswer(frame.data(), 23);
  EXPECT_EQ(shorter.length, 23u);
  EXPECT_EQ(shorter.bytes[22], 0xAB);
  // Past what came, the copy reads as zero, never as an older answer's bytes.
  EXPECT_EQ(shorter.bytes[23], 0);
  EXPECT_EQ(shorter.bytes[1227], 0);
}

}  // namespace
}  // namespace torvek
