#include "tftp_texts.h"

#include <cstdio>

namespace torvek::tftp {

std::vector<std::uint8_t> ToNetascii(const std::vector<std::uint8_t>& bytes) {
  std::vector<std::uint8_t> out;
  out.reserve(bytes.size() + bytes.size() / 16);
  for (std::uint8_t c : bytes) {
    if (c == '\n') {
      out.push_back('\r');
      out.push_back('\n');
    } else if (c == '\r') {
      out.push_back('\r');
      out.push_back(0);
    } else {
      out.push_back(c);
    }
  }
  return out;
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
  if (!outcome.ok) return line + ": " + outcome.reason;
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
