#include "admin/set_request.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/management_frame.h"

namespace torvek {
namespace {

constexpr AddressValue Ip(unsigned a, unsigned b, unsigned c, unsigned d) {
  return (a << 24) | (b << 16) | (c << 8) | d;
}

TEST(SetRequest, GatewayMustShareTheSubnetOfTheIp) {
  const AddressValue ip = Ip(192, 168, 1, 5);
  EXPECT_TRUE(SubnetMismatch(ip, Ip(255, 255, 255, 0), Ip(192, 168, 2, 1)));
  EXPECT_FALSE(SubnetMismatch(ip, Ip(255, 255, 0, 0), Ip(192, 168, 2, 1)));
  EXPECT_TRUE(SubnetMismatch(ip, Ip(255, 255, 255, 0), 0));
  EXPECT_FALSE(SubnetMismatch(ip, 0, Ip(10, 0, 0, 1)));
  // The host part is never looked at.
  EXPECT_FALSE(SubnetMismatch(ip, Ip(255, 255, 255, 0), ip));
}

TEST(SetRequest, AddressesStandLastFieldFirstBehindTheDhcpByte) {
  FrameBuffer frame = MakeFrameTemplate({0x02, 0x54, 0x56, 0, 0, 1});
  FillSetRequest(frame.data(), 1, Ip(192, 168, 1, 2), Ip(255, 255, 255, 0), Ip(192, 168, 1, 254));
  StampFrame(frame.data(), frame::kRequestLength, 3, kModel730);
  const std::vector<std::uint8_t> head(frame.begin(), frame.begin() + 11);
  EXPECT_EQ(head, (std::vector<std::uint8_t>{0x55, 0x48, 0x03, 0x03, 0, 0, 0, 0, 0, 0xC9, 0x04}));
  const std::vector<std::uint8_t> body(frame.begin() + 23, frame.begin() + 36);
  EXPECT_EQ(body, (std::vector<std::uint8_t>{0x01, 0x02, 0x01, 0xA8, 0xC0, 0x00, 0xFF, 0xFF, 0xFF,
                                             0xFE, 0x01, 0xA8, 0xC0}));
}

}  // namespace
}  // namespace torvek
