// Arbitrary bytes through both reader modes, the mode switching between reads
// as the upgrade flag can: chunks stay within 1024 characters, hold no NUL,
// and every chunk ends with a terminator unless it is a full one.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "terminals/serial_chunker.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  SerialChunker chunker;
  const auto checkChunk = [](std::string_view t) {
    if (t.empty() || t.size() > SerialChunker::kCapacity) std::abort();
    if (t.find('\0') != std::string_view::npos) std::abort();
    if (t == "Too much" || t.size() == SerialChunker::kCapacity) return;
    if (!std::strchr("\r\n>?.#", t.back())) std::abort();
  };
  const auto checkBulk = [](std::string_view t) {
    if (t.empty() || t.size() > kBulkReadMax || t.find('\0') != std::string_view::npos)
      std::abort();
  };
  // The first byte of each piece picks its mode and its length.
  std::size_t pos = 0;
  while (pos < size) {
    const std::uint8_t head = data[pos++];
    const std::size_t length = std::min<std::size_t>(size - pos, (head & 0x7F) * 20u + 1u);
    if (head & 0x80)
      chunker.Feed(data + pos, length, checkChunk);
    else
      FeedBulk(data + pos, length, checkBulk);
    pos += length;
  }
  if (chunker.Pending().size() > SerialChunker::kCapacity) std::abort();
  return 0;
}
