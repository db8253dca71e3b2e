// The TFTP wire format: packets of reads and writes, their options, and the
// names and modes a request carries. Parsing never reads past the datagram.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace torvek::tftp {

enum class Opcode : std::uint16_t { Rrq = 1, Wrq = 2, Data = 3, Ack = 4, Error = 5, Oack = 6 };

// The error codes a server puts into an error packet.
enum ErrorCode : std::uint16_t {
  kNotDefined = 0,
  kFileNotFound = 1,
  kAccessViolation = 2,
  kDiskFull = 3,
  kIllegalOperation = 4,
  kUnknownTransferId = 5,
  kFileExists = 6,
  kNoSuchUser = 7,
  kOptionRefused = 8,
};

enum class Mode { Octet, Netascii };

using Options = std::vector<std::pair<std::string, std::string>>;

// One datagram taken apart. `data` points into the datagram it was parsed
// from and is valid as long as that is.
struct Packet {
  Opcode opcode = Opcode::Error;
  // Read and write requests.
  std::string fileName;
  Mode mode = Mode::Octet;
  Options options;  // names in lower case, in their order, first of a name only
  // Data and acknowledgements.
  std::uint16_t block = 0;
  const std::uint8_t* data = nullptr;
  std::size_t dataLength = 0;
  // Errors.
  std::uint16_t errorCode = 0;
  std::string errorText;
};

// The longest read or write request taken, opcode included, and the most
// options kept from one.
constexpr std::size_t kMaxRequestLength = 512;
constexpr std::size_t kMaxOptions = 16;

// Takes a datagram apart. On failure `why` says what was wrong, in words fit
// for the error packet that answers it.
bool ParsePacket(const std::uint8_t* bytes, std::size_t length, Packet& packet, std::string& why);

// The four header bytes of a data packet, written in front of the payload so
// that a block is read from the file straight behind them.
constexpr std::size_t kDataHeaderLength = 4;
void WriteDataHeader(std::uint8_t* out, std::uint16_t block);

std::vector<std::uint8_t> MakeAck(std::uint16_t block);
std::vector<std::uint8_t> MakeError(std::uint16_t code, const std::string& text);
std::vector<std::uint8_t> MakeOack(const Options& options);
std::vector<std::uint8_t> MakeRequest(bool write, const std::string& fileName,
                                      const std::string& mode, const Options& options);
std::vector<std::uint8_t> MakeData(std::uint16_t block, const std::uint8_t* data,
                                   std::size_t length);

const char* ModeName(Mode mode);

}  // namespace torvek::tftp
