#include "admin/pc_network_texts.h"

#include <gtest/gtest.h>

namespace torvek {
namespace {

const std::vector<std::uint8_t> kMac1 = {0x02, 0x54, 0x56, 0x00, 0x00, 0x01};
const std::vector<std::uint8_t> kMac2 = {0x02, 0x54, 0x56, 0x00, 0x00, 0xAB};

void ExpectTexts(const PcNetworkTexts& t, const std::string& ip, const std::string& mask,
                 const std::string& gateway, const std::string& mac, const std::string& pcIp) {
  EXPECT_EQ(t.ip, ip);
  EXPECT_EQ(t.mask, mask);
  EXPECT_EQ(t.gateway, gateway);
  EXPECT_EQ(t.mac, mac);
  EXPECT_EQ(t.pcIp, pcIp);
}

TEST(PcNetworkTexts, NoAdapterLeavesEverythingEmpty) {
  ExpectTexts(MakePcNetworkTexts({}), "", "", "", "", "");
  // An adapter with neither address nor gateway gives no turn.
  ExpectTexts(MakePcNetworkTexts({{kMac1, {}, {}}}), "", "", "", "", "");
}

TEST(PcNetworkTexts, OneAdapterWithTwoAddressesTakesBothTurns) {
  const PcNetworkTexts t = MakePcNetworkTexts(
      {{kMac1, {{"192.168.0.5", "255.255.255.0"}, {"192.168.7.5", "255.255.0.0"}}, {"192.168.0.1"}},
       {kMac2, {{"10.0.0.7", "255.0.0.0"}}, {"10.0.0.1"}}});
  // The gateway list ran out on the second turn; the second adapter is never reached.
  ExpectTexts(t, "192.168.0.5/192.168.7.5", "255.255.255.0/255.255.0.0", "192.168.0.1/",
              "02:54:56:00:00:01/02:54:56:00:00:01", "192.168.0.5");
}

TEST(PcNetworkTexts, TwoAdaptersShowOneAddressEachAndAThirdNever) {
  const PcNetworkTexts t =
      MakePcNetworkTexts({{kMac1, {{"192.168.0.5", "255.255.255.0"}}, {"192.168.0.1"}},
                          {kMac2, {{"10.0.0.7", "255.0.0.0"}}, {}},
                          {kMac1, {{"10.9.9.9", "255.0.0.0"}}, {"10.9.9.1"}}});
  ExpectTexts(t, "192.168.0.5/10.0.0.7", "255.255.255.0/255.0.0.0", "192.168.0.1/",
              "02:54:56:00:00:01/02:54:56:00:00:AB", "192.168.0.5");
}

TEST(PcNetworkTexts, MoreGatewaysThanAddressesMakeTurnsWithoutAddress) {
  // The second gateway makes a turn of its own, with the address and mask empty.
  const PcNetworkTexts t = MakePcNetworkTexts(
      {{kMac1, {{"192.168.0.5", "255.255.255.0"}}, {"192.168.0.1", "192.168.0.2"}},
       {kMac2, {{"10.0.0.7", "255.0.0.0"}}, {}}});
  ExpectTexts(t, "192.168.0.5/", "255.255.255.0/", "192.168.0.1/192.168.0.2",
              "02:54:56:00:00:01/02:54:56:00:00:01", "192.168.0.5");

  // A first turn without an address leaves the PC address to the second.
  const PcNetworkTexts late =
      MakePcNetworkTexts({{kMac1, {}, {"192.168.0.1"}}, {kMac2, {{"10.0.0.7", "255.0.0.0"}}, {}}});
  ExpectTexts(late, "/10.0.0.7", "/255.0.0.0", "192.168.0.1/",
              "02:54:56:00:00:01/02:54:56:00:00:AB", "10.0.0.7");
}

TEST(PcNetworkTexts, MacAlwaysShowsSixFields) {
  EXPECT_EQ(MacLabelText(kMac2), "02:54:56:00:00:AB");
  EXPECT_EQ(MacLabelText({}), "00:00:00:00:00:00");
  EXPECT_EQ(MacLabelText({0xFF, 0x0A}), "FF:0A:00:00:00:00");
  // A longer hardware address (a tunnel, InfiniBand) is cut at six bytes.
  EXPECT_EQ(MacLabelText({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}),
            "01:02:03:04:05:06");
}

TEST(PcNetworkTexts, IpTypeTextPicksTheComboRow) {
  const char* const types[] = {"static", "dhcp", "pppoe", "l2tp", "pptp", "3G"};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(IpTypeIndex(types[i]), i) << types[i];
  // Anything else shows STATIC; the texts are compared case and all.
  for (const char* other : {"", "DHCP", "3g", "pppoe ", "wifi"})
    EXPECT_EQ(IpTypeIndex(other), 0) << other;
}

}  // namespace
}  // namespace torvek
