#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tftp_names.h"
#include "tftp_packet.h"
#include "tftp_texts.h"
#include "tftp_transfer.h"

namespace torvek::tftp {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Raw(const std::string& text) { return Bytes(text.begin(), text.end()); }

Packet Parse(const Bytes& bytes) {
  Packet packet;
  std::string why;
  EXPECT_TRUE(ParsePacket(bytes.data(), bytes.size(), packet, why)) << why;
  return packet;
}

std::string Refusal(const Bytes& bytes) {
  Packet packet;
  std::string why;
  EXPECT_FALSE(ParsePacket(bytes.data(), bytes.size(), packet, why));
  return why;
}

Packet Ack(std::uint16_t block) { return Parse(MakeAck(block)); }

// The blocks a list of actions sends, in order.
std::vector<std::uint64_t> Sent(const Actions& actions) {
  std::vector<std::uint64_t> blocks;
  for (const auto& action : actions)
    if (action.kind == Action::SendData) blocks.push_back(action.block);
  return blocks;
}

bool Has(const Actions& actions, Action::Kind kind) {
  for (const auto& action : actions)
    if (action.kind == kind) return true;
  return false;
}

TEST(TftpPacket, RequestsCarryNameModeAndOptions) {
  const Packet read = Parse(MakeRequest(false, "dir/loader.bin", "OcTeT",
                                        {{"BLKSIZE", "1468"}, {"tsize", "0"}, {"blksize", "8"}}));
  EXPECT_EQ(read.opcode, Opcode::Rrq);
  EXPECT_EQ(read.fileName, "dir/loader.bin");
  EXPECT_EQ(read.mode, Mode::Octet);
  // Names fold to lower case; a repeated option keeps its first value.
  EXPECT_EQ(read.options, (Options{{"blksize", "1468"}, {"tsize", "0"}}));

  const Packet write = Parse(MakeRequest(true, "up.txt", "netascii", {}));
  EXPECT_EQ(write.opcode, Opcode::Wrq);
  EXPECT_EQ(write.mode, Mode::Netascii);

  // Trailing padding NULs and a name without a value are tolerated.
  Bytes padded = MakeRequest(false, "a", "octet", {});
  padded.insert(padded.end(), {0, 0, 0});
  EXPECT_TRUE(Parse(padded).options.empty());
  Bytes unvalued = MakeRequest(false, "a", "octet", {});
  unvalued.insert(unvalued.end(), {'x', 0});
  EXPECT_TRUE(Parse(unvalued).options.empty());
}

TEST(TftpPacket, MalformedDatagramsAreRefusedWithoutReadingPastThem) {
  EXPECT_EQ(Refusal({}), "Packet too short");
  EXPECT_EQ(Refusal({0}), "Packet too short");
  EXPECT_EQ(Refusal({0, 1, 'a', 0, 'o', 'c', 't', 'e', 't'}), "Malformed request");  // no NUL
  EXPECT_EQ(Refusal({0, 1, 'a', 0}), "Malformed request");                           // no mode
  EXPECT_EQ(Refusal(MakeRequest(false, "a", "mail", {})), "Unsupported transfer mode");
  EXPECT_EQ(Refusal({0, 3, 0}), "Packet too short");
  EXPECT_EQ(Refusal({0, 9, 0, 0}), "Illegal TFTP operation");
  EXPECT_EQ(Refusal({0, 6, 'a', 0}), "Malformed option acknowledgement");
  // A name that would carry a NUL ends at it, and the rest is no mode.
  EXPECT_EQ(Refusal(Raw(std::string("\0\1a\0b\0octet\0", 12))), "Unsupported transfer mode");
}

TEST(TftpPacket, DataAckErrorAndOackRoundTrip) {
  const Bytes payload = {1, 2, 3};
  const Bytes data = MakeData(0x1234, payload.data(), payload.size());
  EXPECT_EQ(data, (Bytes{0, 3, 0x12, 0x34, 1, 2, 3}));
  const Packet parsed = Parse(data);
  EXPECT_EQ(parsed.block, 0x1234);
  EXPECT_EQ(Bytes(parsed.data, parsed.data + parsed.dataLength), payload);
  EXPECT_EQ(Parse(MakeData(7, nullptr, 0)).dataLength, 0u);

  EXPECT_EQ(MakeAck(65535), (Bytes{0, 4, 0xff, 0xff}));
  EXPECT_EQ(MakeError(1, "File not found"), Raw(std::string("\0\5\0\1File not found\0", 19)));
  // An error text without its NUL is still read, up to the end.
  const Packet error = Parse({0, 5, 0, 2, 'n', 'o'});
  EXPECT_EQ(error.errorCode, 2);
  EXPECT_EQ(error.errorText, "no");
  EXPECT_EQ(MakeOack({{"blksize", "1468"}}), Raw(std::string("\0\6blksize\0"
                                                             "1468\0",
                                                             15)));
}

TEST(TftpNegotiation, OptionsAreClampedAndOnlyUnderstoodOnesAnswered) {
  Packet read = Parse(MakeRequest(false, "f", "octet",
                                  {{"blksize", "70000"},
                                   {"tsize", "0"},
                                   {"timeout", "3"},
                                   {"windowsize", "1000"},
                                   {"multicast", ""}}));
  TransferParameters p = Negotiate(read, ServerLimits{}, 123456);
  EXPECT_EQ(p.blockSize, 65464u);
  EXPECT_EQ(p.timeoutSeconds, 3u);
  EXPECT_EQ(p.windowSize, 64u);
  EXPECT_EQ(
      p.oack,
      (Options{{"blksize", "65464"}, {"tsize", "123456"}, {"timeout", "3"}, {"windowsize", "64"}}));

  // Out of range or not a number: left out, the default stays.
  read = Parse(
      MakeRequest(false, "f", "octet", {{"blksize", "7"}, {"timeout", "0"}, {"windowsize", "-1"}}));
  p = Negotiate(read, ServerLimits{}, 0);
  EXPECT_EQ(p.blockSize, 512u);
  EXPECT_EQ(p.windowSize, 1u);
  EXPECT_TRUE(p.oack.empty());

  // Uploads echo the client's tsize and go without a window.
  const Packet write =
      Parse(MakeRequest(true, "f", "octet", {{"tsize", "4096"}, {"windowsize", "8"}}));
  p = Negotiate(write, ServerLimits{}, 0);
  EXPECT_EQ(p.announcedSize, 4096u);
  EXPECT_EQ(p.windowSize, 1u);
  EXPECT_EQ(p.oack, (Options{{"tsize", "4096"}}));
}

TransferParameters Plain(std::uint32_t blockSize = 512, std::uint32_t window = 1) {
  TransferParameters p;
  p.blockSize = blockSize;
  p.windowSize = window;
  return p;
}

TEST(TftpRead, LockStepSendsEachBlockOnceItsPredecessorIsAcknowledged) {
  ReadTransfer read(1024, Plain());  // two full blocks and an empty one
  Actions a;
  read.Start(0, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{1}));
  EXPECT_EQ(read.BlockLength(1), 512u);
  EXPECT_EQ(read.BlockLength(3), 0u);
  a.clear();
  read.OnPacket(Ack(1), 1, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{2}));
  // A duplicate acknowledgement does not send the next block twice.
  a.clear();
  read.OnPacket(Ack(1), 2, a);
  EXPECT_TRUE(a.empty());
  read.OnPacket(Ack(2), 3, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{3}));
  a.clear();
  read.OnPacket(Ack(3), 4, a);
  ASSERT_TRUE(Has(a, Action::Finished));
  EXPECT_TRUE(a[0].ok);
  EXPECT_TRUE(read.Over());
  EXPECT_EQ(read.BytesDone(), 1024u);
}

TEST(TftpRead, BlockNumbersRollOverAndLargeFilesGoWhole) {
  const std::uint64_t size = 70000ull * 512 + 100;  // past 65535 blocks
  ReadTransfer read(size, Plain());
  Actions a;
  read.Start(0, a);
  for (std::uint64_t block = 1; block <= read.LastBlock(); ++block) {
    ASSERT_EQ(Sent(a), std::vector<std::uint64_t>{block});
    a.clear();
    read.OnPacket(Ack(static_cast<std::uint16_t>(block & 0xffff)), block, a);
  }
  EXPECT_TRUE(read.Over());
  EXPECT_EQ(read.BytesDone(), size);
  EXPECT_EQ(read.BlockOffset(70001), 70000ull * 512);
  EXPECT_EQ(read.BlockLength(70001), 100u);
}

TEST(TftpRead, OptionsWaitForAckZeroThenWindowsFlow) {
  TransferParameters p = Plain(1000, 4);
  p.oack = {{"blksize", "1000"}, {"windowsize", "4"}};
  ReadTransfer read(9500, p);  // blocks 1..10, the last 500 bytes
  Actions a;
  read.Start(0, a);
  EXPECT_TRUE(Has(a, Action::SendOack));
  EXPECT_TRUE(Sent(a).empty());
  a.clear();
  read.OnPacket(Ack(1), 1, a);  // not the acknowledgement of the options
  EXPECT_TRUE(a.empty());
  read.OnPacket(Ack(0), 2, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{1, 2, 3, 4}));
  a.clear();
  // The client lost block 3 and acknowledges 2: the window starts over at 3.
  read.OnPacket(Ack(2), 3, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{3, 4, 5, 6}));
  a.clear();
  read.OnPacket(Ack(7), 4, a);  // beyond what was sent: ignored
  EXPECT_TRUE(a.empty());
  read.OnPacket(Ack(6), 5, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{7, 8, 9, 10}));
  a.clear();
  read.OnPacket(Ack(10), 6, a);
  EXPECT_TRUE(read.Over());
  EXPECT_EQ(read.BytesDone(), 9500u);
}

TEST(TftpRead, TimeoutsResendTheWindowAndTheLastRetryEndsCleanly) {
  ReadTransfer read(5000, Plain(512, 2));
  Actions a;
  read.Start(0, a);
  int rounds = 0;
  for (;;) {
    a.clear();
    read.OnTimer(0, a);
    if (read.Over()) break;
    EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{1, 2}));
    ++rounds;
  }
  EXPECT_EQ(rounds, 8);
  EXPECT_EQ(read.Retransmissions(), 16u);
  ASSERT_EQ(a.size(), 3u);
  EXPECT_EQ(a[0].kind, Action::SendError);
  EXPECT_EQ(a[0].text, "Transfer timed out");
  EXPECT_EQ(a[1].kind, Action::Finished);
  EXPECT_FALSE(a[1].ok);
  EXPECT_EQ(a[2].kind, Action::Close);
  // Nothing moves an ended transfer.
  a.clear();
  read.OnPacket(Ack(1), 1, a);
  read.OnTimer(1, a);
  EXPECT_TRUE(a.empty());
}

TEST(TftpRead, AClientErrorOrAStrayPacketEndsTheTransfer) {
  ReadTransfer read(100, Plain());
  Actions a;
  read.Start(0, a);
  a.clear();
  read.OnPacket(Parse(MakeError(0, "disk full")), 1, a);
  EXPECT_FALSE(Has(a, Action::SendError));  // an error is never answered
  EXPECT_EQ(a[0].text, "client ended the transfer: 0 disk full");

  ReadTransfer other(100, Plain());
  other.Start(0, a);
  a.clear();
  other.OnPacket(Parse(MakeData(1, nullptr, 0)), 1, a);
  EXPECT_EQ(a[0].kind, Action::SendError);
  EXPECT_EQ(a[0].code, kIllegalOperation);
}

TEST(TftpClock, MeasuresBacksOffAndHonoursANegotiatedTimeout) {
  RetransmitClock adaptive(0);
  EXPECT_EQ(adaptive.Timeout(), 1000u);
  adaptive.Sample(2);
  EXPECT_EQ(adaptive.Timeout(), 50u);  // never below the floor
  adaptive.BackOff();
  adaptive.BackOff();
  EXPECT_EQ(adaptive.Timeout(), 200u);
  for (int i = 0; i < 20; ++i) adaptive.BackOff();
  EXPECT_EQ(adaptive.Timeout(), 6000u);
  adaptive.Reset();
  EXPECT_EQ(adaptive.Timeout(), 50u);

  // A client's timeout of 3 s bounds the wait, backed off or not.
  RetransmitClock bounded(3);
  EXPECT_EQ(bounded.Timeout(), 1000u);
  bounded.Sample(2);
  EXPECT_EQ(bounded.Timeout(), 50u);
  for (int i = 0; i < 20; ++i) bounded.BackOff();
  EXPECT_EQ(bounded.Timeout(), 3000u);
}

TEST(TftpWrite, BlocksAreWrittenInOrderAndRepeatsOnlyAcknowledged) {
  TransferParameters p = Plain(4);
  p.oack = {{"blksize", "4"}};
  WriteTransfer write(p);
  Actions a;
  write.Start(0, a);
  EXPECT_EQ(a[0].kind, Action::SendOack);
  std::string written;
  const auto feed = [&](std::uint16_t block, const std::string& text) {
    const Bytes data =
        MakeData(block, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    a.clear();
    write.OnPacket(Parse(data), 1, a);
    for (const auto& action : a)
      if (action.kind == Action::Write)
        written.append(reinterpret_cast<const char*>(action.data), action.length);
  };
  feed(1, "abcd");
  EXPECT_EQ(a[1].kind, Action::SendAck);
  EXPECT_EQ(a[1].block, 1u);
  feed(1, "abcd");  // our acknowledgement was lost
  EXPECT_EQ(a.size(), 1u);
  EXPECT_EQ(a[0].kind, Action::SendAck);
  feed(3, "zzzz");  // out of order: ignored
  EXPECT_TRUE(a.empty());
  feed(2, "ef");
  EXPECT_EQ(written, "abcdef");
  // The file is put in place before the last block is acknowledged.
  ASSERT_EQ(a.size(), 4u);
  EXPECT_EQ(a[1].kind, Action::Finished);
  EXPECT_EQ(a[2].kind, Action::SendAck);
  EXPECT_FALSE(Has(a, Action::Close));  // it lingers for a lost last acknowledgement
  feed(2, "ef");
  EXPECT_EQ(a[0].kind, Action::SendAck);
  a.clear();
  write.OnTimer(2, a);
  EXPECT_EQ(a.back().kind, Action::Close);
  EXPECT_EQ(write.BytesDone(), 6u);
}

TEST(TftpWrite, OversizedBlocksAndFailedWritesEndWithAnError) {
  WriteTransfer write(Plain(4));
  Actions a;
  write.Start(0, a);
  EXPECT_EQ(a[0].kind, Action::SendAck);
  EXPECT_EQ(a[0].block, 0u);
  a.clear();
  const Bytes big = {1, 2, 3, 4, 5};
  write.OnPacket(Parse(MakeData(1, big.data(), big.size())), 1, a);
  EXPECT_EQ(a[0].code, kIllegalOperation);

  WriteTransfer full(Plain(4));
  full.Start(0, a);
  a.clear();
  full.OnWriteFailed("Disk full or allocation exceeded", a);
  EXPECT_EQ(a[0].code, kDiskFull);
  EXPECT_TRUE(full.Over());
}

TEST(TftpNames, OnlyNamesInsideTheFolderPass) {
  std::string relative;
  std::string why;
  EXPECT_TRUE(CheckRequestName("loader.bin", relative, why));
  EXPECT_EQ(relative, "loader.bin");
  EXPECT_TRUE(CheckRequestName("images\\.\\kernel.bin", relative, why));
  EXPECT_EQ(relative, "images/kernel.bin");
  EXPECT_TRUE(CheckRequestName("a//b/", relative, why));
  EXPECT_EQ(relative, "a/b");
  for (const std::string& bad :
       {std::string(""), std::string("../etc/passwd"), std::string("a/../../b"),
        std::string("..\\x"), std::string("/etc/passwd"), std::string("\\etc"),
        std::string("c:boot.ini"), std::string("a\0b", 3), std::string("a\nb"), std::string("./."),
        std::string(2000, 'a')}) {
    EXPECT_FALSE(CheckRequestName(bad, relative, why)) << bad;
    EXPECT_FALSE(why.empty());
  }
  // ".." inside a longer part is an ordinary name.
  EXPECT_TRUE(CheckRequestName("a..b", relative, why));
}

TEST(TftpNames, LinksAreFollowedBeforeTheFolderIsCompared) {
  namespace fs = std::filesystem;
  const fs::path base = fs::temp_directory_path() / ("tftp_names_" + std::to_string(getpid()));
  fs::create_directories(base / "served" / "sub");
  fs::create_directories(base / "servedtoo");
  std::ofstream(base / "served" / "sub" / "in.bin") << "x";
  std::ofstream(base / "servedtoo" / "out.bin") << "x";
  fs::create_symlink(base / "servedtoo" / "out.bin", base / "served" / "leak");
  fs::create_symlink("sub/in.bin", base / "served" / "alias");
  const std::string served = (base / "served").string();
  EXPECT_TRUE(IsInsideFolder(served, served + "/sub/in.bin"));
  EXPECT_TRUE(IsInsideFolder(served, served + "/alias"));
  EXPECT_FALSE(IsInsideFolder(served, served + "/leak"));
  EXPECT_FALSE(IsInsideFolder(served, (base / "servedtoo" / "out.bin").string()));
  EXPECT_FALSE(IsInsideFolder(served, served));
  EXPECT_FALSE(IsInsideFolder(served, served + "/missing"));
  fs::remove_all(base);
}

TEST(TftpTexts, NetasciiGoesOutAndComesBackAcrossBlockEdges) {
  const Bytes text = Raw("a\nb\rc\r\n");
  const Bytes wire = ToNetascii(text);
  EXPECT_EQ(wire, Raw(std::string("a\r\nb\r\0c\r\0\r\n", 11)));
  // Fed a byte at a time, a CR at the end of a block waits for the next.
  NetasciiDecoder decoder;
  Bytes back;
  for (std::uint8_t byte : wire) decoder.Feed(&byte, 1, back);
  decoder.Finish(back);
  EXPECT_EQ(back, text);
  NetasciiDecoder lone;
  Bytes tail;
  const Bytes cr = Raw("x\r");
  lone.Feed(cr.data(), cr.size(), tail);
  lone.Finish(tail);
  EXPECT_EQ(tail, cr);
}

TEST(TftpTexts, OutcomeLinesSayWhatHappened) {
  TransferOutcome ok{true, "10.77.0.2:4000", false, "img.bin", 16777216, 1500, 3, ""};
  EXPECT_EQ(OutcomeLine(ok),
            "ok     10.77.0.2:4000 read img.bin 16777216 bytes in 1.50 s (10.7 MB/s), 3 sent "
            "again");
  TransferOutcome refused{false, "10.77.0.2:4000", true, "../x\n", 0, 0, 0, "refused: why"};
  EXPECT_EQ(OutcomeLine(refused), "failed 10.77.0.2:4000 write ../x\\x0a: refused: why");
  EXPECT_EQ(SizeText(512), "512 B");
  EXPECT_EQ(SizeText(1536), "1.5 KB");
  EXPECT_EQ(SpeedText(100, 0), "-");
}

}  // namespace
}  // namespace torvek::tftp
