// Arbitrary datagrams through the receive path into the module list: each is
// read into a zeroed 4096-byte buffer as the socket does, and a module record
// becomes a row. The list must stay whole and its MAC index true.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/management_frame.h"
#include "core/module_record.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CellTable list;
  list.SetKeyColumn(kColMac);
  for (int c = 0; c < kModuleColumnCount; ++c)
    list.InsertColumn(c, kModuleColumns[static_cast<std::size_t>(c)].header, Align::Center,
                      kModuleColumns[static_cast<std::size_t>(c)].width);

  // The input is a run of datagrams, each behind a two-byte length.
  std::size_t pos = 0;
  while (pos + 2 <= size) {
    const std::size_t wanted = static_cast<std::size_t>(data[pos] | (data[pos + 1] << 8));
    pos += 2;
    const std::size_t length = std::min(wanted, size - pos);
    // Exactly what arrived, on the heap, so that any over-read is seen.
    std::vector<std::uint8_t> datagram(data + pos, data + pos + length);
    pos += length;
    if (length == 0 || length > frame::kReceiveLimit) continue;  // the socket reports these
    std::array<std::uint8_t, frame::kReceiveLimit> receiveBuffer{};
    std::memcpy(receiveBuffer.data(), datagram.data(), length);
    if (receiveBuffer[frame::kCommand] == frame::kAnsModuleRecord)
      AddModuleRecord(list, receiveBuffer.data(), length);
    // The record reader must also stand on its own, reading only what arrived.
    (void)RowFromRecord(datagram.data(), datagram.size(), list.RowCount());
  }

  for (int row = 0; row < list.RowCount(); ++row) {
    const std::string& mac = list.GetItemText(row, kColMac);
    if (mac.size() != 17 || list.FindRow(mac) != row) std::abort();
    if (list.GetItemText(row, kColName).empty() || list.GetItemText(row, kColVersion).empty())
      std::abort();
  }
  return 0;
}
