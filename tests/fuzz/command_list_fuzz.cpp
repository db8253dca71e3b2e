// Arbitrary bytes as a command list file: every row has its three fields, no
// field holds CR or LF, and no row is longer than one read piece.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/command_list.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view content(reinterpret_cast<const char*>(data), size);
  std::size_t total = 0;
  for (const CommandFields& row : ParseCommandList(content)) {
    std::size_t length = 0;
    for (const std::string& field : row) {
      if (field.find_first_of("\r\n") != std::string::npos) std::abort();
      length += field.size();
    }
    if (length > kCommandLinePiece) std::abort();
    total += length;
  }
  if (total > size) std::abort();
  return 0;
}
