// What the Network page sends, how its log reads and how its connect button
// looks in each state of the connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace torvek {

// Texts of the page's boxes and banner.
inline constexpr std::string_view kNetworkBanner[] = {
    "Connect module via TCP/UDP",
    "Serial#1 : default tcp port=5000 , udp port=5050",
    "Serial#2 : default tcp port=5001 , udp port=5051",
};
inline constexpr std::string_view kModuleNotSelectedText =
    "Module is not selected at the list, Please select module first!!!";
inline constexpr std::string_view kUdpOpenErrorText = "udp port port open error!!!!  check system";
inline constexpr std::string_view kTcpCreateErrorText = "TCP socket creation failed,Check System";
inline constexpr std::string_view kTargetChangedText =
    " Target module is changed, connection is dis-connected";
inline constexpr std::string_view kConnectionEstablishedText = "Connection is established";
inline constexpr std::string_view kDisconnectedText = "disconnected";

inline constexpr int kProtocolUdp = 0;
inline constexpr int kProtocolTcp = 1;

// Bytes a terminator row appends here: 0 none, 1 LF, 2 CR, 3 LF CR (the
// Console page has CR and LF the other way round).
std::string_view NetworkTerminator(int row);
std::string BuildNetworkLine(std::string_view input, int terminatorRow);

// The port box's number: its leading digits, in 16 bits as a socket takes it.
std::uint16_t PortOfText(std::string_view text);

// Kinds of a log entry.
enum NetworkLogKind : int { kLogSent = 0, kLogReceived = 1, kLogError = 100 };
std::string_view NetworkLogPrefix(int kind);

// The page's log: the banner, then one entry per send, arrival and error,
// CR LF between them. Once it holds kNetworkMaxLines lines, the next entry
// empties it, that entry included. A received NUL is kept as a byte here;
// the view decides how it looks.
inline constexpr int kNetworkMaxLines = 1024;
class NetworkLog {
 public:
  NetworkLog();
  // True when the entry emptied the log.
  bool Append(int kind, std::string_view text);
  void Clear();
  const std::string& Text() const { return text_; }
  // Lines as the box counts them: an LF breaks a line.
  int Lines() const { return breaks_ + 1; }
  // What the view has not been given yet: all of Text() after an emptying,
  // else the part behind shownSize.
  bool emptiedSinceShown = false;
  std::size_t shownSize = 0;

 private:
  std::string text_;
  int breaks_ = 0;
};

// The states of the page's connection and how the connect button looks in
// each. An empty text leaves the button's text as it was.
enum class NetworkState {
  NeverConnected,
  UdpOpen,
  TcpConnecting,
  TcpConnected,
  DisconnectedByOperator,
  FailedOrClosed,
};
struct ConnectButtonLook {
  std::string_view text;
  bool enabled;
};
ConnectButtonLook ConnectButtonOf(NetworkState state);
// Whether the page may send in that state (remoteConnected).
bool RemoteConnectedIn(NetworkState state);

// One tick of the 100 ms Auto Send timer: counts it and says whether the line
// goes out now. The count runs on while Auto Send is off or the page is not
// connected, so a send can follow the very next tick after ticking the box.
bool AutoSendDue(int& autoSendCount, bool autoSend, bool connected, int intervalRow);

}  // namespace torvek
