// How the reader cuts received bytes into texts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace torvek {

using TextSink = std::function<void(std::string_view)>;

// Chunk mode, for boot loader scripts: a chunk ends with any of CR, LF, '>',
// '?', '.' or '#' and keeps its terminator. NUL bytes are dropped. A chunk
// that reaches 1024 characters is given as it is, then "Too much", and the
// byte that found it full is lost. What is unfinished stays for the next call.
class SerialChunker {
 public:
  static constexpr std::size_t kCapacity = 1024;
  void Feed(const std::uint8_t* data, std::size_t length, const TextSink& sink);
  std::string_view Pending() const { return {buffer_.data(), fill_}; }

 private:
  std::array<char, kCapacity> buffer_{};
  std::size_t fill_ = 0;
};

// Bulk mode, for the console: what a read gave, in texts of at most 1023
// bytes, each cut at its first NUL. Empty texts are not given.
inline constexpr std::size_t kBulkReadMax = 1023;
void FeedBulk(const std::uint8_t* data, std::size_t length, const TextSink& sink);

}  // namespace torvek
