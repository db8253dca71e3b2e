#include "terminals/network_rules.h"

#include <algorithm>

#include "terminals/console_rules.h"

namespace torvek {

std::string_view NetworkTerminator(int row) {
  switch (row) {
    case 1: return "\n";
    case 2: return "\r";
    case 3: return "\n\r";
    default: return "";
  }
}

std::string BuildNetworkLine(std::string_view input, int terminatorRow) {
  std::string line(input);
  line += NetworkTerminator(terminatorRow);
  return line;
}

std::uint16_t PortOfText(std::string_view text) {
  unsigned value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  return static_cast<std::uint16_t>(value);
}

std::string_view NetworkLogPrefix(int kind) {
  switch (kind) {
    case kLogError: return "Err=>";
    case kLogSent: return "[send]";
    default: return "[recv]";
  }
}

NetworkLog::NetworkLog() {
  for (std::string_view line : kNetworkBanner) {
    text_.append(line);
    text_.append("\r\n");
    ++breaks_;
  }
}

bool NetworkLog::Append(int kind, std::string_view text) {
  // The count from before the entry decides; the entry goes with the rest.
  const bool full = Lines() >= kNetworkMaxLines;
  if (!text_.empty()) {
    text_.append("\r\n");
    ++breaks_;
  }
  text_.append(NetworkLogPrefix(kind));
  text_.append(text);
  breaks_ += static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  if (full) Clear();
  return full;
}

void NetworkLog::Clear() {
  text_.clear();
  breaks_ = 0;
  emptiedSinceShown = true;
  shownSize = 0;
}

ConnectButtonLook ConnectButtonOf(NetworkState state) {
  switch (state) {
    case NetworkState::NeverConnected: return {"Remote Connect", true};
    case NetworkState::UdpOpen: return {"no connect", true};
    case NetworkState::TcpConnecting: return {"", false};
    case NetworkState::TcpConnected: return {"Remote Dis-Connect", true};
    case NetworkState::DisconnectedByOperator: return {"connect", true};
    case NetworkState::FailedOrClosed: return {"Remote Connect", true};
  }
  return {"", true};
}

bool RemoteConnectedIn(NetworkState state) {
  return state == NetworkState::UdpOpen || state == NetworkState::TcpConnected;
}

bool AutoSendDue(int& autoSendCount, bool autoSend, bool connected, int intervalRow) {
  ++autoSendCount;
  if (!autoSend || !connected || autoSendCount < IntervalTicks(intervalRow)) return false;
  autoSendCount = 0;
  return true;
}

}  // namespace torvek
