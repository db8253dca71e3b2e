// What the page "IP " shows of this PC's own network and of a module's WAN
// type: texts decided here, set into labels and combos by the page.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace torvek {

// One adapter as the platform reports it: its hardware address as bytes, its
// IPv4 address/mask pairs and its gateways, all addresses as dotted text.
struct PcAdapter {
  std::vector<std::uint8_t> mac;
  std::vector<std::pair<std::string, std::string>> addresses;
  std::vector<std::string> gateways;
};

// The four labels of "Your PC Network information", and the PC address that
// the Upgrader page derives a module address from.
struct PcNetworkTexts {
  std::string ip;
  std::string mask;
  std::string gateway;
  std::string mac;
  std::string pcIp;
};

// Walks the adapters in order, each one's addresses and gateways in step (one
// of each per turn, an empty text where a list has run out), and stops after
// the second turn over all. The first turn's texts stand alone; a second turn
// adds "/" and its own. pcIp is the first turn's address, or the second's when
// the first had none.
PcNetworkTexts MakePcNetworkTexts(const std::vector<PcAdapter>& adapters);

// "%02X:%02X:%02X:%02X:%02X:%02X": always six fields, whatever the length of
// the hardware address; missing bytes show as 00, bytes beyond six are left out.
std::string MacLabelText(const std::vector<std::uint8_t>& mac);

// The row of the WAN IP type combo for the list's ip type text: "static" 0,
// "dhcp" 1, "pppoe" 2, "l2tp" 3, "pptp" 4, "3G" 5, any other text 0. The
// texts are compared as the module sends them, case and all.
int IpTypeIndex(const std::string& typeText);

}  // namespace torvek
