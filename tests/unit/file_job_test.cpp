#include "admin/file_job.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace torvek {
namespace {

using Bytes = std::vector<std::uint8_t>;

const MacAddress kPc{0x02, 0x54, 0x56, 0x00, 0x00, 0x01};
const MacAddress kModule{0x00, 0x0E, 0xE3, 0x00, 0x00, 0x07};

Bytes Slice(const FrameBuffer& f, std::size_t from, std::size_t to) {
  return {f.begin() + static_cast<long>(from), f.begin() + static_cast<long>(to)};
}

Bytes Pattern(std::size_t size) {
  Bytes out(size);
  for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return out;
}

// Every block of a job, as the sender builds them one after the other in the
// same frame.
std::vector<FrameBuffer> Blocks(FrameBuffer frame, const Bytes& content) {
  std::vector<FrameBuffer> out;
  for (std::uint32_t i = 0; PutJobBlock(frame, i, content) > 0; ++i) out.push_back(frame);
  return out;
}

TEST(FileJob, FirstAndLastBlockOfAConfigurationFor730) {
  const Bytes content = Pattern(65536);
  const std::vector<FrameBuffer> blocks =
      Blocks(MakeJobFrame(48, kModel730, kPc, kModule, false, 65536), content);
  ASSERT_EQ(blocks.size(), 66u);
  EXPECT_EQ(BlockCount(65536), 66u);

  const FrameBuffer& first = blocks.front();
  EXPECT_EQ(Slice(first, 0, 33),
            (Bytes{0x55, 0x48, 0x30, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                   0x02, 0x54, 0x56, 0x00, 0x00, 0x01, 0x00, 0x0E, 0xE3, 0x00, 0x00,
                   0x07, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xE8, 0x03, 0x00, 0x00}));
  EXPECT_EQ(Slice(first, 33, 1033), Bytes(content.begin(), content.begin() + 1000));
  EXPECT_EQ(Slice(first, 1033, 1225), Bytes(192, 0));

  const FrameBuffer& last = blocks.back();
  EXPECT_EQ(Slice(last, 5, 9), (Bytes{0x41, 0x00, 0x00, 0x00}));
  EXPECT_EQ(Slice(last, 9, 11), (Bytes{0x00, 0x00}));
  EXPECT_EQ(Slice(last, 23, 27), (Bytes{0x00, 0x00, 0x01, 0x00}));
  EXPECT_EQ(Slice(last, 27, 33), (Bytes{0x41, 0x00, 0x18, 0x02, 0x00, 0x00}));
  EXPECT_EQ(Slice(last, 33, 33 + 536), Bytes(content.begin() + 65000, content.end()));
  // Behind the short chunk stands the tail of the one before.
  EXPECT_EQ(Slice(last, 33 + 536, 1033), Bytes(content.begin() + 64536, content.begin() + 65000));
}

TEST(FileJob, SmallFilesAndTheTargetOfAJobForAll) {
  // The model goes as it is, whatever byte order a module's firmware uses.
  const FrameBuffer frame = MakeJobFrame(56, kModel740P, kPc, kModule, true, 1);
  EXPECT_EQ(Slice(frame, 0, 4), (Bytes{0x57, 0x48, 0x38, 0x03}));
  EXPECT_EQ(Slice(frame, 17, 23), Bytes(6, 0xFF));

  const std::vector<FrameBuffer> one = Blocks(frame, Bytes{0x5A});
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(Slice(one[0], 29, 34), (Bytes{1, 0, 0, 0, 0x5A}));

  const std::vector<FrameBuffer> two = Blocks(frame, Pattern(2000));
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(Slice(two[1], 27, 33), (Bytes{1, 0, 0xE8, 0x03, 0, 0}));
  EXPECT_EQ(BlockCount(0), 0u);
  EXPECT_EQ(BlockCount(10240), 11u);
}

TEST(FileJob, SeqWrapsWhileTheStatusWordCounts) {
  FrameBuffer frame = MakeJobFrame(56, kModel730, kPc, kModule, false, 0);
  const Bytes content(65'537'000, 0);
  ASSERT_EQ(PutJobBlock(frame, 65536, content), 1000u);
  EXPECT_EQ(Slice(frame, 5, 9), (Bytes{0x00, 0x00, 0x01, 0x00}));
  EXPECT_EQ(Slice(frame, 27, 29), (Bytes{0x00, 0x00}));
  EXPECT_EQ(PutJobBlock(frame, 65537, content), 0u);
}

TEST(FileJob, KindsOfUpload) {
  ASSERT_TRUE(UploadKindOf(0));
  EXPECT_EQ(UploadKindOf(0)->command, 56);
  EXPECT_STREQ(UploadKindOf(1)->defaultName, "module_config.bin");
  EXPECT_STREQ(UploadKindOf(2)->filter, "Logo File(*.gif)|*.gif||");
  EXPECT_FALSE(UploadKindOf(3));
  EXPECT_FALSE(UploadKindOf(-1));
}

TEST(FileJob, StatusTexts) {
  EXPECT_EQ(ModuleStatusText(14, 0x02030011, 5), "Flash write... : file system sector=17");
  EXPECT_EQ(ModuleStatusText(14, 0x0001FFFF, 0), "Flash erase... : kernel sector=65535");
  EXPECT_EQ(ModuleStatusText(14, 0x01040000, 0), "Flash write end : web sector=0");
  EXPECT_EQ(ModuleStatusText(14, 0x07050003, 0), "not defined area : not defined area sector=3");
  EXPECT_EQ(ModuleStatusText(24, 0x02030011, 9), "Job is well done...");
  EXPECT_EQ(ModuleStatusText(20, 0, 9), "Set function fail(14)");
  EXPECT_EQ(ModuleStatusText(23, 0, 9), "Set function fail(17)");
  EXPECT_EQ(ModuleStatusText(16, 0, 65535), "Error code 16 seq#=65535");
  EXPECT_EQ(ModuleStatusText(0, 0, 42), "working seq#=42");
  EXPECT_EQ(ModuleStatusText(15, 0, 3), "working seq#=3");
}

TEST(FileJob, ReadingTheFileAtTheJobsStart) {
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("torvek_job_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::string path = (dir / "f.bin").string();
  const Bytes content = Pattern(300'000);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  JobFile file = ReadJobFile(path);
  EXPECT_TRUE(file.opened);
  EXPECT_EQ(file.size, 300'000u);
  EXPECT_EQ(file.content, content);

  std::filesystem::resize_file(path, 0);
  EXPECT_EQ(ReadJobFile(path).size, 0u);
  std::filesystem::remove(path);
  file = ReadJobFile(path);
  EXPECT_FALSE(file.opened);
  EXPECT_EQ(file.size, 0u);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace torvek
