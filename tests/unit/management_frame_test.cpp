#include "core/management_frame.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvek {
namespace {

const MacAddress kPcMac = {0x02, 0x54, 0x56, 0x00, 0x00, 0x01};

std::vector<std::uint8_t> Head(const std::uint8_t* frame, std::size_t n) {
  return {frame, frame + n};
}

TEST(FrameTemplate, FirstSearchIsTheDocumentedTwentyThreeBytes) {
  FrameBuffer frame = MakeFrameTemplate(kPcMac);
  PrepareSearch(frame);
  StampFrame(frame.data(), frame::kSearchLength, 3, std::nullopt);
  const std::vector<std::uint8_t> expected = {0x48, 0x55, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00,
                                              0x00, 0x00, 0x1F, 0x02, 0x54, 0x56, 0x00, 0x00,
                                              0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
  EXPECT_EQ(Head(frame.data(), 23), expected);
  // The template behind the header stays zero.
  for (std::size_t i = 23; i < frame.size(); ++i) ASSERT_EQ(frame[i], 0) << i;
}

TEST(FrameTemplate, SearchClearsTargetButKeepsWhatAnEarlierStampWrote) {
  FrameBuffer frame = MakeFrameTemplate(kPcMac);
  // A selection put a module's MAC into the target; a Set stamped the header.
  for (std::size_t i = 0; i < 6; ++i) frame[frame::kTargetMac + i] = 0xA0 + i;
  frame[frame::kCommand] = frame::kCmdSetNetwork;
  StampFrame(frame.data(), frame::kRequestLength, 3, kModel740);
  PrepareSearch(frame);
  StampFrame(frame.data(), frame::kSearchLength, 3, std::nullopt);
  EXPECT_EQ(Head(frame.data(), 11),
            (std::vector<std::uint8_t>{0x56, 0x48, 0x01, 0x02, 0, 0, 0, 0, 0, 0xC9, 0x04}));
  EXPECT_EQ(Head(frame.data() + frame::kTargetMac, 6), std::vector<std::uint8_t>(6, 0));
}

TEST(StampFrame, WordOrderFollowsTheSelectedVersion) {
  FrameBuffer set = MakeFrameTemplate(kPcMac);
  set[frame::kCommand] = frame::kCmdSetNetwork;
  StampFrame(set.data(), frame::kRequestLength, 3, kModel730);
  EXPECT_EQ(Head(set.data(), 11),
            (std::vector<std::uint8_t>{0x55, 0x48, 0x03, 0x03, 0, 0, 0, 0, 0, 0xC9, 0x04}));

  FrameBuffer writeMac{};
  writeMac[frame::kCommand] = frame::kCmdWriteMac;
  StampFrame(writeMac.data(), frame::kRequestLength, 2, kModel740);
  EXPECT_EQ(Head(writeMac.data(), 4), (std::vector<std::uint8_t>{0x48, 0x56, 0x50, 0x02}));
  EXPECT_EQ(writeMac[9], 0x04);
  EXPECT_EQ(writeMac[10], 0xC9);

  // Two-digit versions keep their low byte; no model leaves the word alone.
  FrameBuffer unknown{};
  unknown[0] = 0x12;
  unknown[1] = 0x34;
  unknown[frame::kCommand] = frame::kCmdReboot;
  StampFrame(unknown.data(), frame::kRequestLength, 12, std::nullopt);
  EXPECT_EQ(Head(unknown.data(), 4), (std::vector<std::uint8_t>{0x12, 0x34, 0x3A, 12}));
  EXPECT_EQ(unknown[9], 0xC9);
}

TEST(ModelCodeOf, FirstHitInTheDocumentedOrder) {
  EXPECT_EQ(ModelCodeOf("730:ap"), kModel730);
  EXPECT_EQ(ModelCodeOf("740:gw"), kModel740);
  EXPECT_EQ(ModelCodeOf("740P:ap"), kModel740P);  // not 740
  EXPECT_EQ(ModelCodeOf("740:730"), kModel730);   // 730 is looked for first
  EXPECT_EQ(ModelCodeOf("G : default"), std::nullopt);
  EXPECT_EQ(ModelCodeOf("  5:ap"), std::nullopt);
  EXPECT_EQ(InvalidTypeStringText("G : default"), "Invalid Type String G : default");
}

TEST(Addresses, RecordOrderAndSetOrderAreOpposite) {
  const std::uint8_t record[4] = {0xC0, 0xA8, 0x01, 0xFE};
  EXPECT_EQ(DottedFromRecord(record), "192.168.1.254");
  std::uint8_t set[4] = {};
  PutAddressReversed(set, *ParseDotted("192.168.1.254"));
  EXPECT_EQ(Head(set, 4), (std::vector<std::uint8_t>{0xFE, 0x01, 0xA8, 0xC0}));

  EXPECT_FALSE(ParseDotted("192.168.1"));
  EXPECT_FALSE(ParseDotted("192.168.1.256"));
  EXPECT_FALSE(ParseDotted("192.168.1.1 "));
  EXPECT_FALSE(ParseDotted(""));
}

TEST(MacText, FormatsAndScansLikeTheList) {
  const std::uint8_t mac[6] = {0x00, 0x0E, 0xE3, 0xAB, 0xcd, 0x0F};
  EXPECT_EQ(MacText(mac), "00-0E-E3-AB-CD-0F");
  EXPECT_EQ(ParseMacText("00-0E-E3-AB-CD-0F"), (MacAddress{0x00, 0x0E, 0xE3, 0xAB, 0xCD, 0x0F}));
  EXPECT_EQ(ParseMacText("a-b-c"), (MacAddress{0x0A, 0x0B, 0x0C, 0, 0, 0}));
  EXPECT_EQ(ParseMacText(""), MacAddress{});
}

}  // namespace
}  // namespace torvek
