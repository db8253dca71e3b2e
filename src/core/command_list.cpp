#include "core/command_list.h"

#include <algorithm>

namespace torvek {

CommandFields SplitCommandLine(std::string_view line) {
  std::string text;
  text.reserve(line.size());
  for (char c : line)
    if (c != '\r' && c != '\n') text += c;

  CommandFields fields;
  std::string_view rest = text;
  // A field without its ';' stays empty: the text moves on to the next field.
  for (int f = 0; f < 2; ++f) {
    const std::size_t semi = rest.find(';');
    if (semi == std::string_view::npos) continue;
    fields[static_cast<std::size_t>(f)] = std::string(rest.substr(0, semi));
    rest.remove_prefix(semi + 1);
  }
  fields[2] = std::string(rest);
  return fields;
}

std::vector<CommandFields> ParseCommandList(std::string_view content) {
  std::vector<CommandFields> rows;
  std::size_t pos = 0;
  // Read as a line reader with a fixed buffer would: up to and including '\n',
  // at most kCommandLinePiece characters. "a\n" is one row, "a\n\n" two.
  while (pos < content.size()) {
    const std::size_t left = content.size() - pos;
    std::size_t take = std::min(left, kCommandLinePiece);
    const std::size_t nl = content.substr(pos, take).find('\n');
    if (nl != std::string_view::npos) take = nl + 1;
    rows.push_back(SplitCommandLine(content.substr(pos, take)));
    pos += take;
  }
  return rows;
}

}  // namespace torvek

namespace torvek {

CommandWalkStep StepCommandWalk(int rows, int commandRow, int previousCommandRow) {
  CommandWalkStep step;
  if (commandRow == -1)
    commandRow = 0;
  else
    step.unmarkRow = commandRow;
  step.unmarkPreviousRow = previousCommandRow;
  step.markRow = commandRow;
  step.previousCommandRow = commandRow;
  step.commandRow = (commandRow + 1) % rows;
  return step;
}

}  // namespace torvek
