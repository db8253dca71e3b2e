#include "tftp_throttle.h"

#include <algorithm>

namespace torvek::tftp {

Throttle::Throttle(Rate perAddress, Rate all, std::size_t maxAddresses)
    : perAddress_(perAddress), all_(all), maxAddresses_(maxAddresses), allBucket_{all.burst, 0} {}

void Throttle::Refill(Bucket& bucket, const Rate& rate, std::uint64_t nowMs) {
  if (nowMs > bucket.atMs) {
    bucket.tokens =
        std::min(rate.burst,
                 bucket.tokens + rate.perSecond * static_cast<double>(nowMs - bucket.atMs) / 1000);
  }
  bucket.atMs = std::max(bucket.atMs, nowMs);
}

void Throttle::Forget(std::uint64_t nowMs) {
  // A full bucket says nothing the absence of one does not.
  for (auto it = buckets_.begin(); it != buckets_.end();) {
    Refill(it->second, perAddress_, nowMs);
    it = it->second.tokens >= perAddress_.burst ? buckets_.erase(it) : std::next(it);
  }
}

bool Throttle::Allow(std::uint32_t address, std::uint64_t nowMs) {
  Refill(allBucket_, all_, nowMs);
  if (allBucket_.tokens < 1) return false;
  auto found = buckets_.find(address);
  if (found == buckets_.end()) {
    if (buckets_.size() >= maxAddresses_) Forget(nowMs);
    if (buckets_.size() >= maxAddresses_) {
      allBucket_.tokens -= 1;
      return true;
    }
    found = buckets_.emplace(address, Bucket{perAddress_.burst, nowMs}).first;
  }
  Refill(found->second, perAddress_, nowMs);
  if (found->second.tokens < 1) return false;
  found->second.tokens -= 1;
  allBucket_.tokens -= 1;
  return true;
}

bool RefusalDigest::Note(std::uint32_t address, const std::string& reason, std::uint64_t nowMs) {
  // A period starts with the first refusal after a quiet one.
  if (!started_ || counts_.empty()) {
    started_ = true;
    periodStart_ = nowMs;
    loggedInAll_ = 0;
  }
  auto found = counts_.find(address);
  if (found == counts_.end()) {
    if (counts_.size() >= kMaxAddresses) {
      ++heldElsewhere_;
      return false;
    }
    found = counts_.emplace(address, Count{}).first;
  }
  Count& count = found->second;
  if (count.logged < kLinesPerAddress && loggedInAll_ < kLinesInAll) {
    ++count.logged;
    ++loggedInAll_;
    return true;
  }
  ++count.held;
  count.lastReason = reason;
  return false;
}

std::vector<std::string> RefusalDigest::Flush(std::uint64_t nowMs,
                                              std::string (*text)(std::uint32_t)) {
  std::vector<std::string> lines;
  if (!started_ || nowMs < DueMs()) return lines;
  const std::string period = std::to_string((nowMs - periodStart_ + 500) / 1000) + " s";
  for (const auto& [address, count] : counts_) {
    if (count.held == 0) continue;
    lines.push_back("failed " + text(address) + ": " + std::to_string(count.held) +
                    " more requests refused in " + period + " (last: " + count.lastReason + ")");
  }
  if (heldElsewhere_ > 0)
    lines.push_back("failed " + std::to_string(heldElsewhere_) + " requests refused in " + period +
                    " from other addresses");
  counts_.clear();
  heldElsewhere_ = 0;
  periodStart_ = nowMs;
  loggedInAll_ = 0;
  return lines;
}

}  // namespace torvek::tftp
