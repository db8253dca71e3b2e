// Netascii and the words the server uses about its transfers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace torvek::tftp {

// A file as netascii puts it on the wire: every LF becomes CR LF and every
// lone CR becomes CR NUL.
std::vector<std::uint8_t> ToNetascii(const std::vector<std::uint8_t>& bytes);

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

}  // namespace torvek::tftp
