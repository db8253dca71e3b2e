// What a server does for clients that have no transfer (error packets, log
// lines of refused requests) is rationed, so that a flood of datagrams, or
// one forged datagram between two servers, cannot make it send or write
// without end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace torvek::tftp {

// Token buckets: one per client address and one for all of them. An address
// not seen for a while costs nothing; the addresses remembered are bounded,
// and past that bound only the bucket for all applies.
class Throttle {
 public:
  struct Rate {
    double perSecond;
    double burst;
  };
  Throttle(Rate perAddress, Rate all, std::size_t maxAddresses = 4096);

  // Whether one more may go now for `address`; if so it is counted.
  bool Allow(std::uint32_t address, std::uint64_t nowMs);

 private:
  struct Bucket {
    double tokens;
    std::uint64_t atMs;
  };
  static void Refill(Bucket& bucket, const Rate& rate, std::uint64_t nowMs);
  void Forget(std::uint64_t nowMs);

  Rate perAddress_;
  Rate all_;
  std::size_t maxAddresses_;
  Bucket allBucket_;
  std::map<std::uint32_t, Bucket> buckets_;
};

// Refused requests in the log: the first few of each client address in a
// period get a line of their own, the rest one line per address when the
// period ends. Lines of their own are bounded for all addresses too.
class RefusalDigest {
 public:
  static constexpr std::uint64_t kPeriodMs = 10000;
  static constexpr int kLinesPerAddress = 20;
  static constexpr int kLinesInAll = 100;
  static constexpr std::size_t kMaxAddresses = 256;

  // Whether this refusal gets its own line. `reason` is kept for the summary.
  bool Note(std::uint32_t address, const std::string& reason, std::uint64_t nowMs);
  // When the period ends, if anything is waiting to be summarised.
  bool Pending() const { return !counts_.empty(); }
  std::uint64_t DueMs() const { return periodStart_ + kPeriodMs; }
  // The summary lines of a period that has ended (none before DueMs()), and
  // the start of a new one. `Text` turns an address into its text.
  std::vector<std::string> Flush(std::uint64_t nowMs, std::string (*text)(std::uint32_t));

 private:
  struct Count {
    int logged = 0;
    std::uint64_t held = 0;
    std::string lastReason;
  };
  std::uint64_t periodStart_ = 0;
  bool started_ = false;
  int loggedInAll_ = 0;
  std::map<std::uint32_t, Count> counts_;
  std::uint64_t heldElsewhere_ = 0;  // from addresses beyond kMaxAddresses
};

}  // namespace torvek::tftp
