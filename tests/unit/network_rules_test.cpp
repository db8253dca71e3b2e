#include <gtest/gtest.h>

#include <cerrno>

#include "core/socket_errors.h"
#include "terminals/network_rules.h"

namespace torvek {
namespace {

TEST(NetworkRules, TerminatorRowsPutLfBeforeCr) {
  EXPECT_EQ(BuildNetworkLine("ver", 0), "ver");
  EXPECT_EQ(BuildNetworkLine("ver", 1), "ver\n");
  EXPECT_EQ(BuildNetworkLine("ver", 2), "ver\r");
  EXPECT_EQ(BuildNetworkLine("ver", 3), "ver\n\r");
  EXPECT_EQ(BuildNetworkLine("", 3), "\n\r");
}

TEST(NetworkRules, PortBoxTakesItsLeadingDigitsIn16Bits) {
  EXPECT_EQ(PortOfText("5000"), 5000);
  EXPECT_EQ(PortOfText("65535"), 65535);
  EXPECT_EQ(PortOfText("65536"), 0);
  EXPECT_EQ(PortOfText("99999"), 99999 - 65536);
  EXPECT_EQ(PortOfText(""), 0);
  EXPECT_EQ(PortOfText("50x1"), 50);
}

TEST(NetworkLog, StartsWithTheBannerAndPrefixesEachEntry) {
  NetworkLog log;
  EXPECT_EQ(log.Text(),
            "Connect module via TCP/UDP\r\n"
            "Serial#1 : default tcp port=5000 , udp port=5050\r\n"
            "Serial#2 : default tcp port=5001 , udp port=5051\r\n");
  EXPECT_EQ(log.Lines(), 4);
  log.Append(kLogSent, "abc");
  log.Append(kLogReceived, "x\ny");
  log.Append(kLogError, "");
  log.Append(7, "z");
  EXPECT_TRUE(log.Text().ends_with("\r\n\r\n[send]abc\r\n[recv]x\ny\r\nErr=>\r\n[recv]z"));
  EXPECT_EQ(log.Lines(), 9);
}

TEST(NetworkLog, EmptiesAt1024LinesTakingTheNewEntryAlong) {
  NetworkLog log;
  log.Clear();
  log.emptiedSinceShown = false;
  // An entry with its own line breaks counts each of them.
  EXPECT_FALSE(log.Append(kLogReceived, "a\nb\nc"));
  EXPECT_EQ(log.Lines(), 3);
  while (log.Lines() < kNetworkMaxLines) EXPECT_FALSE(log.Append(kLogSent, "line"));
  EXPECT_EQ(log.Lines(), kNetworkMaxLines);
  EXPECT_FALSE(log.emptiedSinceShown);
  EXPECT_TRUE(log.Append(kLogSent, "lost"));
  EXPECT_EQ(log.Text(), "");
  EXPECT_TRUE(log.emptiedSinceShown);
  // After an emptying the next entry opens the log, with no line break ahead.
  EXPECT_FALSE(log.Append(kLogSent, "first"));
  EXPECT_EQ(log.Text(), "[send]first");
  EXPECT_EQ(log.Lines(), 1);
}

TEST(NetworkLog, KeepsEveryReceivedByteNulIncluded) {
  NetworkLog log;
  log.Clear();
  const std::string chunk(4096, 'q');
  log.Append(kLogReceived, chunk);
  EXPECT_EQ(log.Text().size(), 6 + chunk.size());
  log.Append(kLogReceived, std::string_view("a\0b", 3));
  EXPECT_TRUE(log.Text().ends_with(std::string_view("[recv]a\0b", 9)));
}

TEST(NetworkRules, ConnectButtonFollowsTheStateTable) {
  struct Row {
    NetworkState state;
    std::string_view text;
    bool enabled;
    bool connected;
  };
  const Row rows[] = {
      {NetworkState::NeverConnected, "Remote Connect", true, false},
      {NetworkState::UdpOpen, "no connect", true, true},
      {NetworkState::TcpConnecting, "", false, false},
      {NetworkState::TcpConnected, "Remote Dis-Connect", true, true},
      {NetworkState::DisconnectedByOperator, "connect", true, false},
      {NetworkState::FailedOrClosed, "Remote Connect", true, false},
  };
  for (const Row& row : rows) {
    const ConnectButtonLook look = ConnectButtonOf(row.state);
    EXPECT_EQ(look.text, row.text) << static_cast<int>(row.state);
    EXPECT_EQ(look.enabled, row.enabled) << static_cast<int>(row.state);
    EXPECT_EQ(RemoteConnectedIn(row.state), row.connected) << static_cast<int>(row.state);
  }
}

TEST(NetworkRules, AutoSendCountRunsOnWhileOffAndFiresAtItsPeriod) {
  int count = 0;
  // Row 0 is 100 ms: every tick once on and connected.
  EXPECT_TRUE(AutoSendDue(count, true, true, 0));
  EXPECT_TRUE(AutoSendDue(count, true, true, 0));
  // Row 9 is 1000 ms; ten ticks pass while off, the first tick on sends.
  count = 0;
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(AutoSendDue(count, false, true, 9));
  EXPECT_TRUE(AutoSendDue(count, true, true, 9));
  EXPECT_EQ(count, 0);
  for (int i = 0; i < 9; ++i) EXPECT_FALSE(AutoSendDue(count, true, true, 9));
  EXPECT_TRUE(AutoSendDue(count, true, true, 9));
  // Not connected: nothing goes, the count keeps running.
  for (int i = 0; i < 20; ++i) EXPECT_FALSE(AutoSendDue(count, true, false, 9));
  EXPECT_EQ(count, 20);
}

TEST(NetworkRules, StreamErrorsOfThePlatformReachTheirTexts) {
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(ECONNREFUSED)),
            "The attempt to connect was forcefully rejected");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(ECONNRESET)),
            "The virtual circuit was reset by the remote side");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(ETIMEDOUT)),
            "The attempt to connect timed out without establishing a connection");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(EPIPE)), "The socket has been shut down");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(EHOSTUNREACH)),
            "The network cannot be reached from this host at this time.");
}

}  // namespace
}  // namespace torvek
