#include "admin/pc_network_texts.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace torvek {

namespace {

constexpr int kTurns = 2;

}  // namespace

PcNetworkTexts MakePcNetworkTexts(const std::vector<PcAdapter>& adapters) {
  PcNetworkTexts out;
  int turn = 0;
  for (const PcAdapter& adapter : adapters) {
    const std::size_t entries = std::max(adapter.addresses.size(), adapter.gateways.size());
    for (std::size_t i = 0; i < entries && turn < kTurns; ++i, ++turn) {
      const bool hasAddress = i < adapter.addresses.size();
      const std::array<std::string, 4> texts = {
          hasAddress ? adapter.addresses[i].first : std::string(),
          hasAddress ? adapter.addresses[i].second : std::string(),
          i < adapter.gateways.size() ? adapter.gateways[i] : std::string(),
          MacLabelText(adapter.mac)};
      std::string* labels[] = {&out.ip, &out.mask, &out.gateway, &out.mac};
      for (std::size_t k = 0; k < texts.size(); ++k)
        *labels[k] = turn == 0 ? texts[k] : *labels[k] + "/" + texts[k];
      if (out.pcIp.empty()) out.pcIp = texts[0];
    }
    if (turn >= kTurns) break;
  }
  return out;
}

std::string MacLabelText(const std::vector<std::uint8_t>& mac) {
  unsigned b[6] = {};
  std::copy_n(mac.begin(), std::min<std::size_t>(mac.size(), 6), b);
  char text[18];
  std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", b[0], b[1], b[2], b[3], b[4],
                b[5]);
  return text;
}

int IpTypeIndex(const std::string& typeText) {
  static constexpr const char* kTypes[] = {"static", "dhcp", "pppoe", "l2tp", "pptp", "3G"};
  for (int i = 0; i < static_cast<int>(std::size(kTypes)); ++i)
    if (typeText == kTypes[i]) return i;
  return 0;
}

}  // namespace torvek
