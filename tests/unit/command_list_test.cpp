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

}  // namespace
}  // namespace torvek
