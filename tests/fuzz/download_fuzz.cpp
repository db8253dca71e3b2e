// Arbitrary data answers through the download path: each datagram, exactly
// as long as it arrived, is taken by the download's rules, and what they
// store is appended to a file in memory as the handlers of the three kinds
// would. What is stored must lie within the datagram and within one block.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "admin/download_store.h"
#include "admin/file_job.h"
#include "core/management_frame.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DownloadState state;
  state.Begin();
  std::vector<std::uint8_t> file;
  std::uint32_t cell = kCellWhite;
  std::size_t datagrams = 0;

  // The input is a run of datagrams, each behind a two-byte length.
  std::size_t pos = 0;
  while (pos + 2 <= size) {
    const std::size_t wanted = static_cast<std::size_t>(data[pos] | (data[pos + 1] << 8));
    pos += 2;
    const std::size_t length = std::min(wanted, size - pos);
    // On the heap and no longer than it arrived, so that any over-read is seen.
    const std::vector<std::uint8_t> datagram(data + pos, data + pos + length);
    pos += length;
    if (length > frame::kReceiveLimit) continue;
    ++datagrams;
    // A logo answer that says there is none is not stored.
    if (length > frame::kCommand && datagram[frame::kCommand] == frame::kAnsLogoBlock &&
        ReadDataAnswer(datagram.data(), datagram.size()).fileSize == 0)
      continue;
    const StoreStep step = TakeDataAnswer(state, datagram.data(), datagram.size());
    if (!step.active) {
      state.Begin();  // the operator starts the next Get
      continue;
    }
    const DataAnswer& a = step.answer;
    if (a.dataLength > frame::kBlockPayload) std::abort();
    if (a.dataLength > 0 &&
        (a.data < datagram.data() || a.data + a.dataLength > datagram.data() + datagram.size()))
      std::abort();
    if (step.write) file.insert(file.end(), a.data, a.data + a.dataLength);
    cell = NextCellColor(cell, a.result);
    if (ModuleStatusText(a.result, a.statusWord, a.seq).empty()) std::abort();
    if (a.result == kResultDone) {
      if (cell != kCellWhite) std::abort();
      (void)ConfigSizeRefusal(file.size());
      state.End();
    }
  }
  if (file.size() > datagrams * frame::kBlockPayload) std::abort();
  return 0;
}
