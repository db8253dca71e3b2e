#include "terminals/serial_chunker.h"

#include <algorithm>
#include <cstring>

namespace torvek {

namespace {
bool IsTerminator(char c) {
  return c == '\r' || c == '\n' || c == '>' || c == '?' || c == '.' || c == '#';
}
}  // namespace

void SerialChunker::Feed(const std::uint8_t* data, std::size_t length, const TextSink& sink) {
  for (std::size_t i = 0; i < length; ++i) {
    const char c = static_cast<char>(data[i]);
    if (c == '\0') continue;
    if (fill_ == kCapacity) {
      sink(std::string_view(buffer_.data(), fill_));
      sink("Too much");
      fill_ = 0;
      continue;
    }
    buffer_[fill_++] = c;
    if (IsTerminator(c)) {
      sink(std::string_view(buffer_.data(), fill_));
      fill_ = 0;
    }
  }
}

void FeedBulk(const std::uint8_t* data, std::size_t length, const TextSink& sink) {
  for (std::size_t pos = 0; pos < length; pos += kBulkReadMax) {
    const std::size_t piece = std::min(kBulkReadMax, length - pos);
    const char* text = reinterpret_cast<const char*>(data + pos);
    const std::size_t end = static_cast<std::size_t>(std::find(text, text + piece, '\0') - text);
    if (end > 0) sink(std::string_view(text, end));
  }
}

}  // namespace torvek
