#include "tftp_texts.h"

#include <cstdio>
#include <utility>

namespace torvek::tftp {

NetasciiBlocks::NetasciiBlocks(std::size_t blockSize, ReadAt readAt)
    : blockSize_(blockSize), readAt_(std::move(readAt)) {
  starts_.push_back(Start{0, -1});
}

bool NetasciiBlocks::Block(std::uint64_t block, std::vector<std::uint8_t>& out) {
  if (block < first_) return false;
  // Normally the block asked for is known; going forward past the end of
  // what was made makes the blocks in between first.
  while (block >= first_ + starts_.size()) {
    Start next{};
    if (!Make(starts_.back(), out, next)) return false;
    starts_.push_back(next);
  }
  Start next{};
  if (!Make(starts_[block - first_], out, next)) return false;
  if (block + 1 == first_ + starts_.size()) starts_.push_back(next);
  while (starts_.size() > kKeep) {
    starts_.pop_front();
    ++first_;
  }
  return true;
}

bool NetasciiBlocks::Make(const Start& start, std::vector<std::uint8_t>& out, Start& next) {
  out.clear();
  out.reserve(blockSize_);
  next = Start{start.offset, -1};
  if (start.owed >= 0) out.push_back(static_cast<std::uint8_t>(start.owed));
  in_.resize(blockSize_);
  while (out.size() < blockSize_) {
    // Every byte of the file makes at least one on the wire: no more is read
    // than the block has room for.
    const long long got = readAt_(next.offset, in_.data(), blockSize_ - out.size());
    if (got < 0) return false;
    if (got == 0) break;
    for (long long i = 0; i < got && out.size() < blockSize_; ++i) {
      const std::uint8_t c = in_[static_cast<std::size_t>(i)];
      ++next.offset;
      if (c != '\n' && c != '\r') {
        out.push_back(c);
        continue;
      }
      out.push_back('\r');
      const std::uint8_t second = c == '\n' ? '\n' : 0;
      if (out.size() < blockSize_)
        out.push_back(second);
      else
        next.owed = second;
    }
  }
  return true;
}

void NetasciiDecoder::Feed(const std::uint8_t* data, std::size_t length,
                           std::vector<std::uint8_t>& out) {
  for (std::size_t i = 0; i < length; ++i) {
    const std::uint8_t c = data[i];
    if (pendingCr_) {
      pendingCr_ = false;
      if (c == '\n') {
        out.push_back('\n');
        continue;
      }
      out.push_back('\r');
      if (c == 0) continue;
    }
    if (c == '\r')
      pendingCr_ = true;
    else
      out.push_back(c);
  }
}

void NetasciiDecoder::Finish(std::vector<std::uint8_t>& out) {
  if (pendingCr_) out.push_back('\r');
  pendingCr_ = false;
}

std::string SizeText(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  const char* units[] = {"KB", "MB", "GB", "TB"};
  double value = static_cast<double>(bytes) / 1024;
  int unit = 0;
  while (value >= 1024 && unit < 3) {
    value /= 1024;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
  return text;
}

std::string SpeedText(std::uint64_t bytes, std::uint64_t elapsedMs) {
  if (elapsedMs == 0) return "-";
  return SizeText(bytes * 1000 / elapsedMs) + "/s";
}

std::string OutcomeLine(const TransferOutcome& outcome) {
  std::string line = outcome.ok ? "ok     " : "failed ";
  line += outcome.client + (outcome.write ? " write " : " read ") + PrintableName(outcome.fileName);
  if (!outcome.ok) return line + ": " + PrintableText(outcome.reason);
  char tail[96];
  std::snprintf(tail, sizeof tail, " %llu bytes in %.2f s (%s)",
                static_cast<unsigned long long>(outcome.bytes),
                static_cast<double>(outcome.elapsedMs) / 1000,
                SpeedText(outcome.bytes, outcome.elapsedMs).c_str());
  line += tail;
  if (outcome.retransmissions > 0)
    line += ", " + std::to_string(outcome.retransmissions) + " sent again";
  return line;
}

std::string PrintableText(const std::string& text) {
  std::string out;
  for (unsigned char c : text) {
    if (c >= 0x20 && c < 0x7f) {
      out += static_cast<char>(c);
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    }
  }
  return out;
}

std::string PrintableName(const std::string& name) {
  std::string out;
  for (unsigned char c : name) {
    if (c >= 0x20 && c < 0x7f && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    }
  }
  return out;
}

}  // namespace torvek::tftp
