#include "admin/download_store.h"

#include <gtest/gtest.h>

#include <vector>

#include "admin/file_job.h"

namespace torvek {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Answer(std::uint8_t result, std::uint16_t seq, std::uint32_t dataLength, std::size_t length) {
  Bytes frame(length, 0xAB);
  std::fill_n(frame.begin(), std::min<std::size_t>(33, length), 0);
  frame[2] = 51;
  frame[4] = result;
  PutU32(frame.data() + 5, 0x02030011);
  for (int i = 0; i < 6; ++i) frame[11 + i] = static_cast<std::uint8_t>(0x10 + i);
  PutU32(frame.data() + 23, 65536);
  frame[27] = static_cast<std::uint8_t>(seq & 0xFF);
  frame[28] = static_cast<std::uint8_t>(seq >> 8);
  PutU32(frame.data() + 29, dataLength);
  return frame;
}

TEST(DownloadStore, FieldsOfADataAnswer) {
  const Bytes frame = Answer(14, 0x1234, 1000, 1225);
  const DataAnswer a = ReadDataAnswer(frame.data(), frame.size());
  EXPECT_EQ(a.command, 51);
  EXPECT_EQ(a.result, 14);
  EXPECT_EQ(a.statusWord, 0x02030011u);
  EXPECT_EQ(a.sourceMac, (MacAddress{0x10, 0x11, 0x12, 0x13, 0x14, 0x15}));
  EXPECT_EQ(a.fileSize, 65536u);
  EXPECT_EQ(a.seq, 0x1234);
  EXPECT_EQ(a.dataLength, 1000u);
  EXPECT_EQ(a.data, frame.data() + 33);
}

TEST(DownloadStore, DataLengthNeverReachesPastWhatArrivedNorPastOneBlock) {
  Bytes frame = Answer(0, 1, 1000, 533);
  EXPECT_EQ(ReadDataAnswer(frame.data(), frame.size()).dataLength, 500u);
  frame = Answer(0, 1, 0xFFFFFFFF, 4096);
  EXPECT_EQ(ReadDataAnswer(frame.data(), frame.size()).dataLength, 1000u);
  frame = Answer(0, 1, 5, 1225);
  const DataAnswer a = ReadDataAnswer(frame.data(), 20);  // shorter than the header: zeros
  EXPECT_EQ(a.dataLength, 0u);
  EXPECT_EQ(a.fileSize, 0u);
  EXPECT_EQ(a.data, nullptr);
  EXPECT_EQ(ReadDataAnswer(frame.data(), 0).command, 0);
}

TEST(DownloadStore, RepeatsAreDroppedBySeqOnly) {
  DownloadState state;
  EXPECT_FALSE(state.Active());
  state.Begin();
  EXPECT_TRUE(state.Active());
  EXPECT_TRUE(state.Take(0xFFFF));  // the first whatever its seq
  EXPECT_FALSE(state.Take(0xFFFF));
  EXPECT_TRUE(state.Take(3));
  EXPECT_TRUE(state.Take(2));  // out of order is stored where it comes
  EXPECT_TRUE(state.Take(3));
  state.End();
  EXPECT_FALSE(state.Active());
  state.Begin();
  EXPECT_EQ(state.LastSeq(), -1);
  EXPECT_TRUE(state.Take(3));
}

// A stranger's flood of data answers while a download runs stops at the
// kind's largest file and one block more: a file that is too long still
// shows as too long, and the disk does not fill.
TEST(DownloadStore, StoringStopsAtTheKindsBound) {
  EXPECT_EQ(DownloadLimit(50), 65536u + 1000u);
  EXPECT_EQ(DownloadLimit(54), 10240u + 1000u);
  EXPECT_EQ(DownloadLimit(61), 1u << 20);
  DownloadState state;
  state.Begin(DownloadLimit(50));
  std::vector<std::uint8_t> frame(33 + 1000, 0);
  frame[2] = 51;
  frame[29] = 0xE8;  // dataLength 1000
  frame[30] = 0x03;
  std::uint64_t stored = 0;
  for (int seq = 0; seq < 200; ++seq) {
    frame[27] = static_cast<std::uint8_t>(seq);
    frame[28] = static_cast<std::uint8_t>(seq >> 8);
    const StoreStep step = TakeDataAnswer(state, frame.data(), frame.size());
    ASSERT_TRUE(step.active);
    stored += step.write ? step.answer.dataLength : 0;
  }
  EXPECT_EQ(stored, 66536u);
  state.Begin(DownloadLimit(50));  // a new Get starts counting afresh
  EXPECT_EQ(TakeDataAnswer(state, frame.data(), frame.size()).answer.dataLength, 1000u);
}

TEST(DownloadStore, TheRowBlinksAndTurnsWhiteAtTheEnd) {
  EXPECT_EQ(NextCellColor(kCellBlinkOn, 0), kCellBlinkOff);
  EXPECT_EQ(NextCellColor(kCellBlinkOff, 14), kCellBlinkOn);
  EXPECT_EQ(NextCellColor(0xFFFFFFFF, 0), kCellBlinkOn);
  EXPECT_EQ(NextCellColor(kCellBlinkOn, 24), kCellWhite);
}

TEST(DownloadStore, KindsNamesAndTheSizeOfAConfiguration) {
  EXPECT_EQ(DownloadKindOf(0)->request, 50);
  EXPECT_EQ(DownloadKindOf(1)->request, 61);
  EXPECT_STREQ(DownloadKindOf(1)->defaultName, "sys_log.txt");
  EXPECT_EQ(DownloadKindOf(2)->request, 54);
  EXPECT_FALSE(DownloadKindOf(3));
  EXPECT_EQ(ConfigFileName(kModel730), "cfg.GENERIC.KRL5506.gw.bin");
  EXPECT_EQ(ConfigFileName(kModel740), "config.bin");
  EXPECT_FALSE(ConfigFileName(kModel740P));
  EXPECT_FALSE(ConfigFileName(std::nullopt));
  EXPECT_FALSE(ConfigSizeRefusal(65536));
  EXPECT_EQ(ConfigSizeRefusal(65535), "Error : config file size error, try again");
  EXPECT_TRUE(ConfigSizeRefusal(std::nullopt));
}

}  // namespace
}  // namespace torvek
