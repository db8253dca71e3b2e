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
