#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "terminals/serial_chunker.h"

namespace torvek {
namespace {

std::vector<std::string> Chunks(SerialChunker& chunker, const std::string& bytes) {
  std::vector<std::string> out;
  chunker.Feed(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
               [&](std::string_view t) { out.emplace_back(t); });
  return out;
}

std::vector<std::string> Bulk(const std::string& bytes) {
  std::vector<std::string> out;
  FeedBulk(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
           [&](std::string_view t) { out.emplace_back(t); });
  return out;
}

TEST(SerialChunker, EachTerminatorEndsAChunkAndStaysInIt) {
  SerialChunker c;
  EXPECT_EQ(Chunks(c, "line\r\nRedBoot> ok? 1.2#"),
            (std::vector<std::string>{"line\r", "\n", "RedBoot>", " ok?", " 1.", "2#"}));
  EXPECT_EQ(Chunks(c, "par"), std::vector<std::string>{});
  EXPECT_EQ(c.Pending(), "par");
  // The unfinished chunk goes on with the next read; NUL is dropped.
  EXPECT_EQ(Chunks(c, std::string("t\0ial\n", 6)), std::vector<std::string>{"partial\n"});
}

TEST(SerialChunker, AFullChunkIsGivenWithTooMuchAndTheNextByteIsLost) {
  SerialChunker c;
  const std::string full(1024, 'a');
  EXPECT_EQ(Chunks(c, full), std::vector<std::string>{});
  EXPECT_EQ(Chunks(c, "bc\n"), (std::vector<std::string>{full, "Too much", "c\n"}));
  // A terminator as the 1024th character delivers normally.
  EXPECT_EQ(Chunks(c, std::string(1023, 'a') + ">"),
            std::vector<std::string>{std::string(1023, 'a') + ">"});
}

TEST(SerialChunker, BulkTextsAreCutAtNulAndAtTheReadSize) {
  EXPECT_EQ(Bulk(std::string("ab\0cd", 5)), std::vector<std::string>{"ab"});
  EXPECT_EQ(Bulk(std::string("\0x", 2)), std::vector<std::string>{});
  const auto texts = Bulk(std::string(2500, 'z'));
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(texts[0].size(), 1023u);
  EXPECT_EQ(texts[2].size(), 2500u - 2046u);
}

}  // namespace
}  // namespace torvek
