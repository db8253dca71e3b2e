// The blocks of a file upload: which command and file dialog each kind of
// file has, how a file is cut into blocks, and what each block carries. Also
// the decoder of the status that a module reports while it works on a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/management_frame.h"

namespace torvek {

namespace frame {
// File block body offsets.
inline constexpr std::size_t kFileSize = 23;
inline constexpr std::size_t kSeq = 27;
inline constexpr std::size_t kDataLength = 29;
inline constexpr std::size_t kData = 33;
}  // namespace frame

// Pause after every block; it sets the pace of a job.
inline constexpr int kBlockGapMs = 20;
// A job's blocks always carry version 3 and the job's model, never swapped.
inline constexpr std::uint8_t kFileBlockVersion = 3;

// The rows of the Operation Type combo that send a file.
struct UploadKind {
  std::uint8_t command;
  const char* filter;
  const char* defaultName;
};
std::optional<UploadKind> UploadKindOf(int operation);

// Blocks of a file of this size: one per started 1000 bytes.
std::uint64_t BlockCount(std::uint64_t fileSize);

// The job's frame with its fixed fields; the chunk fields stay zero until
// PutJobBlock. all sends to FF six times instead of moduleMac.
FrameBuffer MakeJobFrame(std::uint8_t command, std::uint16_t model, const MacAddress& pcMac,
                         const MacAddress& moduleMac, bool all, std::uint32_t fileSize);

// Writes block `index` of content into frame: statusWord, seq, dataLength and
// the chunk. Bytes of data behind a short chunk keep what the block before
// left there. Returns the chunk's length, 0 past the end.
std::size_t PutJobBlock(FrameBuffer& frame, std::uint32_t index,
                        std::span<const std::uint8_t> content);

// A file as a job takes it, read whole when the job starts, so that every
// block carries the size of the bytes that are sent. Opened for update, as
// the image checks open it: a file that cannot be written to gives no
// content. size is that of the content when the file opened, else what the
// file system says, and 0 when the file is gone.
struct JobFile {
  bool opened = false;
  std::uintmax_t size = 0;
  std::vector<std::uint8_t> content;
};
JobFile ReadJobFile(const std::string& path);

// The Operation Status text of a module's answer: flash progress for 14,
// errors for 16 and 20 to 23, the end for 24, else the block at hand.
std::string ModuleStatusText(int result, std::uint32_t status, std::uint16_t seq);

}  // namespace torvek
