// The command list file: one console command a line, "syntax;command;description".
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace torvek {

// Columns 1 to 3 of one row of the command list.
using CommandFields = std::array<std::string, 3>;

// A line is read in pieces of at most this many characters, terminator included;
// a longer line gives several rows.
inline constexpr std::size_t kCommandLinePiece = 16384;

// CR and LF are dropped wherever they stand. Up to the first ';' is the syntax,
// up to the next the command, the rest (further ';' included) the description.
// A missing ';' leaves its field empty and hands the text on to the next one.
CommandFields SplitCommandLine(std::string_view line);

// Every piece of the file becomes a row, a trailing empty line included.
std::vector<CommandFields> ParseCommandList(std::string_view content);

}  // namespace torvek

namespace torvek {

// One step of the Auto Send walk over `rows` rows (at least one), from the
// walk's two rows as they stand: which rows lose their mark, which gets it,
// and where the walk stands afterwards. A row of -1 is none.
struct CommandWalkStep {
  int unmarkRow = -1;
  int unmarkPreviousRow = -1;
  int markRow = 0;  // also the row whose command is sent
  int commandRow = 0;
  int previousCommandRow = 0;
};
CommandWalkStep StepCommandWalk(int rows, int commandRow, int previousCommandRow);

// While the walk's next row lies below the visible part, the picture moves on
// by one row; it is never moved back after the wrap.
inline bool WalkScrollsOn(int commandRow, int rowHeight, int viewHeight) {
  return commandRow * rowHeight > viewHeight;
}

}  // namespace torvek
