#include <gtest/gtest.h>

#include "terminals/console_rules.h"

namespace torvek {
namespace {

TEST(ConsoleRules, SentAndPromptTextsGetAStampOthersFlowOn) {
  EXPECT_EQ(ConsoleDisplayText(1, "ver\r", 9, 5, 7), "\r\nTX-[09:05:07]ver\r");
  EXPECT_EQ(ConsoleDisplayText(0, "<ORB740>", 23, 59, 0), "\r\nRX-[23:59:00]<ORB740>");
  EXPECT_EQ(ConsoleDisplayText(0, "plain > text", 1, 2, 3), "plain > text");
}

TEST(ConsoleRules, LogFileSkipsTheEchoAndTimesThePrompt) {
  EXPECT_EQ(ReceivedLogText("ver\r", "ver\r", 5), std::nullopt);
  EXPECT_EQ(ReceivedLogText("RedBoot>", "ver\r", 120), "RedBoot> gapT=120ms\n");
  EXPECT_EQ(ReceivedLogText("line\r\n", "ver\r", 120), "line\r\n");
}

TEST(ConsoleRules, TerminatorRowsAndIntervalTable) {
  EXPECT_EQ(ConsoleTerminator(0), "");
  EXPECT_EQ(ConsoleTerminator(1), "\r");
  EXPECT_EQ(ConsoleTerminator(2), "\n");
  EXPECT_EQ(ConsoleTerminator(3), "\r\n");
  EXPECT_EQ(IntervalTicks(0), 1);
  EXPECT_EQ(IntervalTicks(8), 9);
  EXPECT_EQ(IntervalTicks(9), 10);
  EXPECT_EQ(IntervalTicks(17), 90);
  EXPECT_EQ(IntervalTicks(18), 100);
  EXPECT_EQ(IntervalTicks(23), 600);
  EXPECT_EQ(IntervalText(0), " 100ms");
  EXPECT_EQ(IntervalText(9), "1000ms");
  EXPECT_EQ(IntervalText(23), "60 seconds");
}

TEST(ConsoleRules, ALongInputIsCutSoThatItsTerminatorStillFits) {
  const std::string line = BuildConsoleLine(std::string(20000, 'x'), 3);
  EXPECT_EQ(line.size(), kSendLineSize - 1);
  EXPECT_EQ(line.substr(line.size() - 2), "\r\n");
  EXPECT_EQ(BuildConsoleLine("", 0), "");
}

TEST(ConsoleRules, TheBoxIsEmptiedNotTrimmedOnceItHoldsTheLineLimit) {
  ConsoleBox box;
  box.Append("a\r\nb\rc");  // a lone CR is not shown
  EXPECT_EQ(box.Text(), "a\nbc");
  EXPECT_EQ(box.Lines(), 2);
  for (int i = 2; i < kConsoleMaxLines; ++i) box.Append("x\n");
  EXPECT_EQ(box.Lines(), kConsoleMaxLines);
  box.emptiedSinceShown = false;
  box.shownSize = box.Text().size();
  // The limit is looked at before the text goes in: the new text starts the box.
  box.Append("first\nsecond");
  EXPECT_EQ(box.Text(), "first\nsecond");
  EXPECT_TRUE(box.emptiedSinceShown);
  EXPECT_EQ(box.shownSize, 0u);
}

TEST(ConsoleRules, ACrashTextIsSeenOnceEvenWhenCutOrEmptiedBetween) {
  ConsoleBox box;
  EXPECT_FALSE(box.Append("boot ok\n"));
  EXPECT_FALSE(box.Append("Segmen"));
  EXPECT_TRUE(box.Append("tation fault\n"));  // one text finishes it
  EXPECT_FALSE(box.Append("fault again\n"));  // set already: no second report
  box.Clear();
  box.crashTextSeen = false;  // what Clear Buffer does
  for (int i = box.Lines(); i < kConsoleMaxLines - 1; ++i) box.Append("\n");
  EXPECT_FALSE(box.Append("\nRX-[00:00:00] ORB7"));
  ASSERT_EQ(box.Lines(), kConsoleMaxLines);
  // The box empties before this text goes in, but the end of the old text
  // still counts.
  EXPECT_TRUE(box.Append("30wi"));
  EXPECT_EQ(box.Text(), "30wi");
}

}  // namespace
}  // namespace torvek
