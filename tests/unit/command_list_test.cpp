#include <gtest/gtest.h>

#include "core/command_list.h"

namespace torvek {
namespace {

TEST(CommandList, SemicolonsSplitIntoThreeFieldsAndTheRestStaysWhole) {
  EXPECT_EQ(SplitCommandLine("a;b;c;d\r\n"), (CommandFields{"a", "b", "c;d"}));
  EXPECT_EQ(SplitCommandLine("only text"), (CommandFields{"", "", "only text"}));
  EXPECT_EQ(SplitCommandLine("ver;description"), (CommandFields{"ver", "", "description"}));
  EXPECT_EQ(SplitCommandLine(";;"), (CommandFields{"", "", ""}));
  // CR and LF go wherever they stand, also inside a field.
  EXPECT_EQ(SplitCommandLine("s\ry;c\rmd;d\n"), (CommandFields{"sy", "cmd", "d"}));
}

TEST(CommandList, EveryLineIsARowAlsoATrailingEmptyOne) {
  EXPECT_TRUE(ParseCommandList("").empty());
  EXPECT_EQ(ParseCommandList("a;b;c\n").size(), 1u);
  EXPECT_EQ(ParseCommandList("a;b;c").size(), 1u);
  const auto rows = ParseCommandList("a;b;c\r\n\r\nx;y;z\r\n\n");
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[1], (CommandFields{"", "", ""}));
  EXPECT_EQ(rows[2], (CommandFields{"x", "y", "z"}));
  EXPECT_EQ(rows[3], (CommandFields{"", "", ""}));
}

TEST(CommandList, ALineLongerThanThePieceBecomesSeveralRows) {
  const std::string longLine = "s;c;" + std::string(kCommandLinePiece * 2, 'x') + "\nnext;n;d\n";
  const auto rows = ParseCommandList(longLine);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0][2].size(), kCommandLinePiece - 4);
  // The following pieces have no ';' left: everything goes to the description.
  EXPECT_EQ(rows[1], (CommandFields{"", "", std::string(kCommandLinePiece, 'x')}));
  EXPECT_EQ(rows[2], (CommandFields{"", "", std::string(4, 'x')}));
  EXPECT_EQ(rows[3], (CommandFields{"next", "n", "d"}));
  // A line of exactly one piece, its LF included, is one row.
  EXPECT_EQ(ParseCommandList(std::string(kCommandLinePiece - 1, 'y') + "\n").size(), 1u);
}

TEST(CommandList, TheWalkStartsAtTheTopWrapsAndUnmarksWhatItMarkedBefore) {
  // A fresh walk: nothing to unmark, row 0 is used, row 1 is next.
  CommandWalkStep step = StepCommandWalk(3, -1, -1);
  EXPECT_EQ(step.unmarkRow, -1);
  EXPECT_EQ(step.unmarkPreviousRow, -1);
  EXPECT_EQ(step.markRow, 0);
  EXPECT_EQ(step.commandRow, 1);
  EXPECT_EQ(step.previousCommandRow, 0);
  // The last row wraps to the first and both marks of before go.
  step = StepCommandWalk(3, 2, 1);
  EXPECT_EQ(step.unmarkRow, 2);
  EXPECT_EQ(step.unmarkPreviousRow, 1);
  EXPECT_EQ(step.markRow, 2);
  EXPECT_EQ(step.commandRow, 0);
  // After a click on row 1 the walk goes on from the clicked row, not behind it.
  step = StepCommandWalk(3, 1, 0);
  EXPECT_EQ(step.markRow, 1);
  EXPECT_EQ(step.commandRow, 2);
  // One row: the walk stays on it.
  step = StepCommandWalk(1, 0, 0);
  EXPECT_EQ(step.markRow, 0);
  EXPECT_EQ(step.commandRow, 0);
}

TEST(CommandList, TheWalkScrollsOnlyWhileTheNextRowIsBelowTheView) {
  EXPECT_FALSE(WalkScrollsOn(10, 20, 200));  // exactly at the bottom edge
  EXPECT_TRUE(WalkScrollsOn(11, 20, 200));
  EXPECT_FALSE(WalkScrollsOn(0, 20, 200));  // after the wrap: no move back
}

}  // namespace
}  // namespace torvek
