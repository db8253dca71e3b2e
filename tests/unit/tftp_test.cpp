#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tftp_names.h"
#include "tftp_packet.h"
#include "tftp_texts.h"
#include "tftp_throttle.h"
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

TEST(TftpPacket, RequestsAreBoundedIn512BytesAndSixteenOptions) {
  // Thousands of distinct options: refused on their length, before any of
  // them is looked at.
  Options many;
  for (int i = 0; i < 6500; ++i) many.emplace_back("o" + std::to_string(i), "1");
  EXPECT_EQ(Refusal(MakeRequest(false, "f", "octet", many)), "Request too long");
  Bytes longest = MakeRequest(false, std::string(503, 'n'), "octet", {});
  EXPECT_EQ(longest.size(), 512u);
  EXPECT_EQ(Parse(longest).fileName.size(), 503u);
  longest.insert(longest.begin() + 2, 'n');
  EXPECT_EQ(Refusal(longest), "Request too long");
  // Within the bound, the first sixteen names are kept, repeats not counted.
  Options some = {{"blksize", "1468"}, {"BLKSIZE", "8"}};
  for (int i = 0; i < 30; ++i) some.emplace_back("x" + std::to_string(i), "1");
  const Packet parsed = Parse(MakeRequest(false, "f", "octet", some));
  ASSERT_EQ(parsed.options.size(), kMaxOptions);
  EXPECT_EQ(parsed.options[0], (std::pair<std::string, std::string>{"blksize", "1468"}));
  EXPECT_EQ(parsed.options.back().first, "x14");
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

  // Netascii's size is not known before its end: tsize is not answered.
  read = Parse(MakeRequest(false, "f", "netascii", {{"tsize", "0"}, {"blksize", "1024"}}));
  EXPECT_EQ(Negotiate(read, ServerLimits{}, std::nullopt).oack, (Options{{"blksize", "1024"}}));

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

// Timer expiries until the transfer gives up; the timers it armed meanwhile.
int RoundsUntilOver(ReadTransfer& read, std::vector<std::uint32_t>* timers = nullptr) {
  int rounds = 0;
  Actions a;
  while (!read.Over() && rounds < 100) {
    a.clear();
    read.OnTimer(0, a);
    for (const auto& action : a)
      if (action.kind == Action::ArmTimer && timers) timers->push_back(action.milliseconds);
    if (!read.Over()) ++rounds;
  }
  return rounds;
}

TEST(TftpRead, TimeoutsResendTheWindowAndTheLastRetryEndsCleanly) {
  ReadTransfer read(5000, Plain(512, 2));
  Actions a;
  read.Start(0, a);
  read.OnPacket(Ack(1), 1, a);  // the client is there; blocks 2 and 3 are in flight
  int rounds = 0;
  for (;;) {
    a.clear();
    read.OnTimer(0, a);
    if (read.Over()) break;
    EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{2, 3}));
    ++rounds;
  }
  EXPECT_EQ(rounds, RetransmitClock::kMaxRetries);
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

TEST(TftpRead, AClientThatNeverAnswersIsGivenUpSoonWhateverTimeoutItAsked) {
  // Block 1 straight away, or the options first with the longest timeout a
  // client may ask: either way a few tries, seconds apart, then the end.
  TransferParameters slow = Plain();
  slow.timeoutSeconds = 255;
  slow.oack = {{"timeout", "255"}};
  for (const TransferParameters& p : {Plain(), slow}) {
    ReadTransfer read(100000, p);
    Actions a;
    read.Start(0, a);
    std::vector<std::uint32_t> timers = {a.back().milliseconds};
    EXPECT_EQ(RoundsUntilOver(read, &timers), RetransmitClock::kMaxFirstRetries);
    std::uint64_t total = 0;
    for (std::uint32_t ms : timers) {
      EXPECT_LE(ms, RetransmitClock::kFirstContactMs);
      total += ms;
    }
    EXPECT_LE(total, 8000u);
  }
  // An upload whose client never sends a block ends the same way.
  WriteTransfer write(slow);
  Actions a;
  write.Start(0, a);
  ASSERT_EQ(a.back().kind, Action::ArmTimer);
  int rounds = 0;
  while (!write.Over() && rounds < 100) {
    a.clear();
    write.OnTimer(0, a);
    ++rounds;
  }
  EXPECT_EQ(rounds, RetransmitClock::kMaxFirstRetries + 1);
  EXPECT_EQ(a[0].text, "Transfer timed out");
}

TEST(TftpRead, ASizeKnownOnlyAtTheEndStopsTheWindowThere) {
  ReadTransfer read(std::nullopt, Plain(100, 4));
  Actions a;
  read.Start(0, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{1, 2, 3, 4}));
  // Making block 2 found the end of the file: 150 bytes on the wire.
  read.KnownSize(150);
  EXPECT_EQ(read.LastBlock(), 2u);
  a.clear();
  read.OnPacket(Ack(3), 1, a);  // never sent: ignored
  EXPECT_TRUE(a.empty());
  read.OnTimer(2, a);
  EXPECT_EQ(Sent(a), (std::vector<std::uint64_t>{1, 2}));
  a.clear();
  read.OnPacket(Ack(2), 3, a);
  EXPECT_TRUE(read.Over());
  EXPECT_TRUE(Has(a, Action::Finished));
  EXPECT_EQ(read.BytesDone(), 150u);
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
  EXPECT_TRUE(CheckRequestName("a//b", relative, why));
  EXPECT_EQ(relative, "a/b");
  for (const std::string& bad :
       {std::string(""), std::string("../etc/passwd"), std::string("a/../../b"),
        std::string("..\\x"), std::string("/etc/passwd"), std::string("\\etc"),
        std::string("c:boot.ini"), std::string("a\0b", 3), std::string("a\nb"), std::string("./."),
        std::string(2000, 'a'), std::string("small.bin/"), std::string("sub\\small.bin\\"),
        std::string(".tftp-upload-123456"), std::string("sub/.tftp-upload-1")}) {
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

// A file in memory, read the way the server reads one.
NetasciiBlocks::ReadAt FileOf(const Bytes& file, int* reads = nullptr) {
  return [&file, reads](std::uint64_t offset, std::uint8_t* buffer, std::size_t length) {
    if (reads) ++*reads;
    if (offset >= file.size()) return 0ll;
    const std::size_t n = std::min<std::size_t>(length, file.size() - offset);
    std::copy(file.begin() + static_cast<long>(offset),
              file.begin() + static_cast<long>(offset + n), buffer);
    return static_cast<long long>(n);
  };
}

// Every block of a file, in order, until the short one.
Bytes AllBlocks(NetasciiBlocks& blocks, std::size_t blockSize) {
  Bytes wire;
  Bytes block;
  for (std::uint64_t n = 1;; ++n) {
    EXPECT_TRUE(blocks.Block(n, block));
    EXPECT_LE(block.size(), blockSize);
    wire.insert(wire.end(), block.begin(), block.end());
    if (block.size() < blockSize) return wire;
  }
}

TEST(TftpTexts, NetasciiGoesOutBlockByBlockAndComesBackAcrossBlockEdges) {
  const Bytes text = Raw("a\nb\rc\r\n");
  const Bytes expected = Raw(std::string("a\r\nb\r\0c\r\0\r\n", 11));
  // Every block size splits a CR LF or CR NUL somewhere, and the wire is
  // the same; 11 bytes in blocks of 11 end with an empty block.
  for (std::size_t size = 1; size <= 12; ++size) {
    NetasciiBlocks blocks(size, FileOf(text));
    EXPECT_EQ(AllBlocks(blocks, size), expected) << size;
  }
  // Fed a byte at a time, a CR at the end of a block waits for the next.
  NetasciiDecoder decoder;
  Bytes back;
  for (std::uint8_t byte : expected) decoder.Feed(&byte, 1, back);
  decoder.Finish(back);
  EXPECT_EQ(back, text);
  NetasciiDecoder lone;
  Bytes tail;
  const Bytes cr = Raw("x\r");
  lone.Feed(cr.data(), cr.size(), tail);
  lone.Finish(tail);
  EXPECT_EQ(tail, cr);
}

TEST(TftpTexts, NetasciiBlocksOfAWindowComeAgainTheSameAndFileReadsStayBlockSized) {
  // A text of line ends of every kind, larger than many blocks.
  Bytes text;
  for (int i = 0; i < 200000; ++i) text.push_back("ab\r\n\nx\r"[i * 7919 % 8]);
  int reads = 0;
  NetasciiBlocks blocks(512, FileOf(text, &reads));
  Bytes first3;
  Bytes again;
  std::vector<Bytes> sent;
  Bytes block;
  for (std::uint64_t n = 1; n <= 8; ++n) {
    ASSERT_TRUE(blocks.Block(n, block));
    sent.push_back(block);
  }
  // A window of four sent again from block 5, then going on.
  for (std::uint64_t n = 5; n <= 8; ++n) {
    ASSERT_TRUE(blocks.Block(n, again));
    EXPECT_EQ(again, sent[n - 1]) << n;
  }
  EXPECT_LE(reads, 8 * 2 + 4 * 2);  // a block takes one or two reads of the file
  Bytes wire;
  for (const Bytes& b : sent) wire.insert(wire.end(), b.begin(), b.end());
  for (std::uint64_t n = 9;; ++n) {
    ASSERT_TRUE(blocks.Block(n, block));
    wire.insert(wire.end(), block.begin(), block.end());
    if (block.size() < 512) break;
  }
  NetasciiDecoder decoder;
  Bytes back;
  decoder.Feed(wire.data(), wire.size(), back);
  decoder.Finish(back);
  EXPECT_EQ(back, text);
  // Too far back, or a file that cannot be read: no block.
  EXPECT_FALSE(blocks.Block(1, block));
  NetasciiBlocks broken(512, [](std::uint64_t, std::uint8_t*, std::size_t) { return -1ll; });
  EXPECT_FALSE(broken.Block(1, block));
}

TEST(TftpTexts, OutcomeLinesSayWhatHappened) {
  TransferOutcome ok{true, "10.77.0.2:4000", false, "img.bin", 16777216, 1500, 3, ""};
  EXPECT_EQ(OutcomeLine(ok),
            "ok     10.77.0.2:4000 read img.bin 16777216 bytes in 1.50 s (10.7 MB/s), 3 sent "
            "again");
  TransferOutcome refused{false, "10.77.0.2:4000", true, "../x\n", 0, 0, 0, "refused: why"};
  EXPECT_EQ(OutcomeLine(refused), "failed 10.77.0.2:4000 write ../x\\x0a: refused: why");
  // What a client says cannot start a line of its own or reach the
  // operator's terminal, and a text already shown as printable stays as it is.
  ReadTransfer read(100, Plain());
  Actions a;
  read.Start(0, a);
  a.clear();
  read.OnPacket(Parse(MakeError(0, "x\nok     6.6.6.6:1 read FORGED.bin\x1b[2J\\")), 1, a);
  TransferOutcome forged{false, "10.77.0.2:4000", false, "img.bin", 0, 0, 0, a[0].text};
  const std::string line = OutcomeLine(forged);
  EXPECT_EQ(line,
            "failed 10.77.0.2:4000 read img.bin: client ended the transfer: 0 "
            "x\\x0aok     6.6.6.6:1 read FORGED.bin\\x1b[2J\\x5c");
  EXPECT_EQ(PrintableText(line), line);
  forged.reason = "raw\r\x1b";
  EXPECT_EQ(OutcomeLine(forged), "failed 10.77.0.2:4000 read img.bin: raw\\x0d\\x1b");
  EXPECT_EQ(SizeText(512), "512 B");
  EXPECT_EQ(SizeText(1536), "1.5 KB");
  EXPECT_EQ(SpeedText(100, 0), "-");
}

TEST(TftpThrottle, EachAddressAndAllTogetherGetABurstThenARate) {
  Throttle throttle({10, 20}, {200, 200}, 3);
  int allowed = 0;
  for (int i = 0; i < 1000; ++i) allowed += throttle.Allow(1, 0);
  EXPECT_EQ(allowed, 20);
  // Another address has its own ration.
  EXPECT_TRUE(throttle.Allow(2, 0));
  // A second later the first has ten more.
  allowed = 0;
  for (int i = 0; i < 1000; ++i) allowed += throttle.Allow(1, 1000);
  EXPECT_EQ(allowed, 10);
  // Many addresses at once: the ration for all holds (full again after a
  // second, less the ten just taken).
  allowed = 0;
  for (std::uint32_t address = 100; address < 1100; ++address)
    allowed += throttle.Allow(address, 1000);
  EXPECT_EQ(allowed, 190);
}

std::string Dotted(std::uint32_t address) { return std::to_string(address); }

TEST(TftpThrottle, RefusalsAreLoggedOneByOneAtFirstThenSummed) {
  RefusalDigest digest;
  int lines = 0;
  for (int i = 0; i < 5000; ++i) lines += digest.Note(7, "refused: busy", 100 + i % 50);
  EXPECT_EQ(lines, RefusalDigest::kLinesPerAddress);
  EXPECT_TRUE(digest.Pending());
  EXPECT_TRUE(digest.Flush(digest.DueMs() - 1, Dotted).empty());  // not yet
  const auto summary = digest.Flush(digest.DueMs(), Dotted);
  ASSERT_EQ(summary.size(), 1u);
  EXPECT_EQ(summary[0], "failed 7: 4980 more requests refused in 10 s (last: refused: busy)");
  EXPECT_FALSE(digest.Pending());
  // A forged sender for every datagram: the lines of their own stay bounded,
  // and so do the summaries.
  lines = 0;
  for (std::uint32_t address = 0; address < 100000; ++address)
    lines += digest.Note(address, "refused: x", 20000);
  EXPECT_EQ(lines, RefusalDigest::kLinesInAll);
  const auto many = digest.Flush(40000, Dotted);
  EXPECT_LE(many.size(), RefusalDigest::kMaxAddresses + 1);
  EXPECT_EQ(many.back(), "failed " + std::to_string(100000 - RefusalDigest::kMaxAddresses) +
                             " requests refused in 20 s from other addresses");
}

}  // namespace
}  // namespace torvek::tftp
