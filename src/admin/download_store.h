// The rules of a download: which request and save dialog each kind has, what
// a data answer carries, which answers are stored, and how the sender's row
// blinks while they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "core/management_frame.h"

namespace torvek {

// The rows of the Get Operation combo.
struct DownloadKind {
  std::uint8_t request;
  const char* filter;
  // Nothing: the name goes by the module's model (ConfigFileName).
  const char* defaultName;
};
std::optional<DownloadKind> DownloadKindOf(int index);
// The default name of a configuration of this model; nothing for a model
// that cannot be read.
std::optional<std::string> ConfigFileName(std::optional<std::uint16_t> model);

inline constexpr int kResultDone = 24;
inline constexpr std::uint32_t kCellWhite = 0xFFFFFF;
inline constexpr std::uint32_t kCellBlinkOn = 0xC8C800;
inline constexpr std::uint32_t kCellBlinkOff = 0xC8C8C8;
inline constexpr std::uintmax_t kConfigDownloadSize = 65536;

// What a download of a kind may store at most: its largest file and one
// block more, so that a file that is too long still shows as too long.
// Answers from anyone while a download runs are stored; without a bound a
// stranger's flood would fill the disk. The system log has no size of its
// own: a module's log area is far below 1 MiB.
std::uint64_t DownloadLimit(std::uint8_t request);

// The fields of one data answer. data points into the datagram; dataLength
// is what of it may be stored: never past the bytes that arrived, never more
// than one block's payload.
struct DataAnswer {
  std::uint8_t command = 0;
  std::uint8_t result = 0;
  std::uint32_t statusWord = 0;
  MacAddress sourceMac{};
  std::uint32_t fileSize = 0;
  std::uint16_t seq = 0;
  const std::uint8_t* data = nullptr;
  std::size_t dataLength = 0;
};
// Fields beyond the datagram's end read as zero.
DataAnswer ReadDataAnswer(const std::uint8_t* frame, std::size_t length);

// Which answers of a running download are written: the first whatever its
// seq, then every one whose seq differs from the one before.
class DownloadState {
 public:
  void Begin(std::uint64_t limit = UINT64_MAX) {
    active_ = true;
    lastSeq_ = -1;
    stored_ = 0;
    limit_ = limit;
  }
  void End() { active_ = false; }
  bool Active() const { return active_; }
  // True when an answer with this seq is to be written; remembers it.
  bool Take(std::uint16_t seq) {
    if (seq == lastSeq_) return false;
    lastSeq_ = seq;
    return true;
  }
  std::int32_t LastSeq() const { return lastSeq_; }
  // How much of `length` bytes still fits under the bound; counts them.
  std::size_t Room(std::size_t length) {
    const std::uint64_t room = limit_ - stored_;
    const std::size_t taken = room < length ? static_cast<std::size_t>(room) : length;
    stored_ += taken;
    return taken;
  }

 private:
  bool active_ = false;
  std::int32_t lastSeq_ = -1;
  std::uint64_t stored_ = 0;
  std::uint64_t limit_ = UINT64_MAX;
};

// What one datagram does to a download: nothing unless one runs; a repeat of
// the seq before is not written again, and nothing past the download's bound
// (answer.dataLength is cut to what may still be written).
struct StoreStep {
  bool active = false;
  bool write = false;
  DataAnswer answer;
};
StoreStep TakeDataAnswer(DownloadState& state, const std::uint8_t* frame, std::size_t length);

// The first cell's background after an answer: white at the end, else the
// other of the two blink colours.
std::uint32_t NextCellColor(std::uint32_t current, int result);

// The end of a configuration download: nothing when the file has the size of
// a configuration, else the text that tells the operator.
std::optional<std::string> ConfigSizeRefusal(std::optional<std::uintmax_t> size);

}  // namespace torvek
