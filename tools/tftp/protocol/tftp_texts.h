// Netascii and the words the server uses about its transfers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace torvek::tftp {

// A file as netascii puts it on the wire (every LF becomes CR LF and every
// lone CR becomes CR NUL), made a block at a time from the file, so that a
// read holds one block of it and not the whole file. Blocks are asked for in
// order; a window sent again goes back to a block not yet acknowledged.
class NetasciiBlocks {
 public:
  // Reads up to `length` bytes of the file at `offset`: how many, 0 at its
  // end, -1 when it cannot be read.
  using ReadAt =
      std::function<long long(std::uint64_t offset, std::uint8_t* buffer, std::size_t length)>;
  // How far back a block may be asked for again, in blocks.
  static constexpr std::size_t kKeep = 256;

  NetasciiBlocks(std::size_t blockSize, ReadAt readAt);

  // Block `block` (counted from 1) into `out`; one shorter than the block
  // size is the last. False when the file cannot be read or the block lies
  // too far back.
  bool Block(std::uint64_t block, std::vector<std::uint8_t>& out);

 private:
  // Where a block starts: the byte of the file, and the second half of a
  // CR LF or CR NUL that the block before had no room for (-1: none).
  struct Start {
    std::uint64_t offset;
    int owed;
  };
  bool Make(const Start& start, std::vector<std::uint8_t>& out, Start& next);

  std::size_t blockSize_;
  ReadAt readAt_;
  std::deque<Start> starts_;  // starts_[i] is where block first_ + i starts
  std::uint64_t first_ = 1;
  std::vector<std::uint8_t> in_;
};

// The way back for uploads, fed block by block: a CR at the end of a block
// waits for the next one to know what it stands for.
class NetasciiDecoder {
 public:
  void Feed(const std::uint8_t* data, std::size_t length, std::vector<std::uint8_t>& out);
  void Finish(std::vector<std::uint8_t>& out);

 private:
  bool pendingCr_ = false;
};

// "16.0 MB", "512 B": binary units, one decimal.
std::string SizeText(std::uint64_t bytes);
// "11.3 MB/s"; "-" when no time has passed.
std::string SpeedText(std::uint64_t bytes, std::uint64_t elapsedMs);

// One line per transfer that ends, for the log and for the command line:
//   ok     10.77.0.2:40112 read image.bin 16777216 bytes in 1.52 s (10.5 MB/s)
//   failed 10.77.0.2:40112 read ../x: absolute path
struct TransferOutcome {
  bool ok = false;
  std::string client;
  bool write = false;
  std::string fileName;
  std::uint64_t bytes = 0;
  std::uint64_t elapsedMs = 0;
  std::uint64_t retransmissions = 0;
  std::string reason;
};
std::string OutcomeLine(const TransferOutcome& outcome);

// The requested name as it may be shown: bytes outside printable ASCII as
// \xNN, so a log line cannot be forged or garbled by a client.
std::string PrintableName(const std::string& name);

// The same for a text that may already be printable, such as a reason that
// quotes a client: only bytes outside printable ASCII change, so a text is
// never escaped twice.
std::string PrintableText(const std::string& text);

}  // namespace torvek::tftp
