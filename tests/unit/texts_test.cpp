#include <gtest/gtest.h>

#include <cerrno>

#include "core/socket_errors.h"
#include "core/start_up_texts.h"

namespace torvek {
namespace {

TEST(StartUpTexts, DailyLogNameHasAFourDigitHour) {
  std::tm t{};
  t.tm_year = 109;
  t.tm_mon = 2;
  t.tm_mday = 2;
  t.tm_hour = 9;
  t.tm_min = 5;
  t.tm_sec = 7;
  t.tm_wday = 1;
  EXPECT_EQ(DailyLogPath("/opt/torvek/", t), "/opt/torvek/20090302-00090507.txt");
  EXPECT_EQ(DailyLogHead("x.txt"),
            "=========================================================\nx.txt"
            "\n= cmd  time    recv ===================================\n");
  EXPECT_EQ(ProgramTimeText(t), "Mon Mar  2 09:05:07 2009");
  EXPECT_EQ(BaseTitle("Mon Mar  2 09:05:07 2009"), "Torvek V1.6 Mac (Mon Mar  2 09:05:07 2009) :");
  EXPECT_EQ(SelectedTitle("T :", "10.0.0.1"), "T :  selected=10.0.0.1");
}

TEST(SocketErrors, PlatformErrorsReachTheirTexts) {
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(EADDRINUSE)),
            "The specified address is already in use.");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(EMSGSIZE)),
            "The datagram was too large to fit into the specified buffer and was truncated.");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(ECONNREFUSED)),
            "The attempt to connect was forcefully rejected");
  EXPECT_EQ(SocketErrorText(SocketErrorFromErrno(ENETUNREACH)),
            "The network cannot be reached from this host at this time.");
  EXPECT_EQ(SocketErrorText(0), " Not Defined Code 0");
  EXPECT_EQ(SocketErrorText(0x2AFF), " Not Defined Code 2aff");
  // Every documented code has its own text.
  for (int code : {10014, 10022, 10024, 10035, 10036, 10038, 10040, 10045, 10047, 10048, 10049,
                   10050, 10051, 10053, 10054, 10055, 10056, 10057, 10058, 10060, 10061, 10093})
    EXPECT_EQ(SocketErrorText(code).find("Not Defined"), std::string::npos) << code;
}

}  // namespace
}  // namespace torvek
