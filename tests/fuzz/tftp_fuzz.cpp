// Arbitrary datagrams through the packet codec and into a read and a write
// transfer, timers firing between them: nothing is read past a datagram, a
// read only ever asks for blocks of its file, and an ended transfer stays
// ended. A netascii read of the input itself runs beside them: its blocks
// are made as the read asks for them, and none is ever out of reach.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tftp_names.h"
#include "tftp_packet.h"
#include "tftp_texts.h"
#include "tftp_transfer.h"

using namespace torvek::tftp;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  // The first bytes choose the file size and whether options came first.
  const std::uint64_t fileSize = (std::uint64_t{data[0]} << 8 | data[1]) * 37u;
  TransferParameters parameters;
  parameters.blockSize = 8u + (data[2] & 0x3f);
  parameters.windowSize = 1u + (data[2] >> 6);
  if (data[2] & 1) parameters.oack = {{"blksize", std::to_string(parameters.blockSize)}};
  ReadTransfer read(fileSize, parameters);
  WriteTransfer write(parameters);
  Actions actions;
  read.Start(0, actions);
  write.Start(0, actions);
  ReadTransfer text(std::nullopt, parameters);
  NetasciiBlocks blocks(parameters.blockSize,
                        [&](std::uint64_t offset, std::uint8_t* buffer, std::size_t length) {
                          if (offset >= size) return 0ll;
                          const std::size_t n = std::min<std::size_t>(length, size - offset);
                          std::copy(data + offset, data + offset + n, buffer);
                          return static_cast<long long>(n);
                        });
  std::vector<std::uint8_t> block;
  const auto makeBlocks = [&](const Actions& asked) {
    for (const Action& action : asked) {
      if (action.kind != Action::SendData || action.block > text.LastBlock()) continue;
      if (!blocks.Block(action.block, block) || block.size() > parameters.blockSize) std::abort();
      if (block.size() < parameters.blockSize)
        text.KnownSize((action.block - 1) * parameters.blockSize + block.size());
    }
  };
  Actions textActions;
  text.Start(0, textActions);
  makeBlocks(textActions);

  std::uint64_t now = 0;
  std::size_t pos = 3;
  while (pos < size) {
    // Each piece: one length byte, then the datagram.
    const std::size_t wanted = data[pos++];
    const std::size_t length = std::min(wanted, size - pos);
    Packet packet;
    std::string why;
    now += 7;
    actions.clear();
    if (ParsePacket(data + pos, length, packet, why)) {
      if (packet.opcode == Opcode::Data && packet.dataLength + 4 != length) std::abort();
      if (packet.opcode == Opcode::Rrq || packet.opcode == Opcode::Wrq) {
        std::string relative;
        if (CheckRequestName(packet.fileName, relative, why) &&
            (relative.front() == '/' || ("/" + relative + "/").find("/../") != std::string::npos))
          std::abort();
        Negotiate(packet, ServerLimits{}, fileSize);
      }
      read.OnPacket(packet, now, actions);
      write.OnPacket(packet, now, actions);
      textActions.clear();
      text.OnPacket(packet, now, textActions);
      makeBlocks(textActions);
    } else if (why.empty()) {
      std::abort();
    }
    if (length > 0 && data[pos] == 0xee) {
      read.OnTimer(now, actions);
      write.OnTimer(now, actions);
      textActions.clear();
      text.OnTimer(now, textActions);
      makeBlocks(textActions);
    }
    for (const Action& action : actions) {
      if (action.kind == Action::SendData) {
        if (action.block == 0 || action.block > read.LastBlock()) std::abort();
        if (read.BlockOffset(action.block) + read.BlockLength(action.block) > fileSize)
          std::abort();
      }
      if (action.kind == Action::Write && action.length > parameters.blockSize) std::abort();
    }
    if (read.BytesDone() > fileSize) std::abort();
    pos += length;
  }
  return 0;
}
