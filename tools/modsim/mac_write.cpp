#include "mac_write.h"

#include <charconv>

namespace modsim {

namespace {

bool ParseLong(const std::string& text, long low, long high, long& value) {
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size() && value >= low && value <= high;
}

std::string MacText(const MacAddress& mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02X-%02X-%02X-%02X-%02X-%02X", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

}  // namespace

std::map<std::string, std::function<bool(const std::string&)>> MacWriteOptionParsers(
    MacWriteOptions& o) {
  return {
      {"--mac-answer",
       [&o](const std::string& text) {
         if (text == "none") return (o.answerCode = 0, true);
         long code = 0;
         if (!ParseLong(text, 0, 255, code) || (code != 53 && code != 57 && code != 82))
           return false;
         o.answerCode = static_cast<int>(code);
         return true;
       }},
      {"--mac-result",
       [&o](const std::string& text) {
         long result = 0;
         if (!ParseLong(text, 0, 255, result)) return false;
         o.result = static_cast<std::uint8_t>(result);
         return true;
       }},
      {"--mac-answer-target",
       [&o](const std::string& text) {
         std::string digits;
         for (char c : text)
           if (c != '-' && c != ':') digits += c;
         std::uint64_t value = 0;
         const auto [end, ec] =
             std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
         if (digits.size() != 12 || ec != std::errc() || end != digits.data() + digits.size())
           return false;
         MacAddress mac{};
         for (std::size_t i = 0; i < mac.size(); ++i)
           mac[i] = static_cast<std::uint8_t>(value >> (8 * (5 - i)));
         o.answerTarget = mac;
         return true;
       }},
      {"--mac-answer-delay-ms",
       [&o](const std::string& text) { return ParseLong(text, 0, 60'000, o.answerDelayMs); }},
      {"--mac-reboot-ms",
       [&o](const std::string& text) { return ParseLong(text, 0, 600'000, o.rebootMs); }},
      {"--mac-log",
       [&o](const std::string& text) {
         o.logPath = text;
         return !text.empty();
       }},
  };
}

const char* MacWriteUsageText() {
  return "  --mac-answer CODE        answer a Write MAC with 53, 57 or 82, or none (82)\n"
         "  --mac-result R           result of that answer; not 0 keeps the old MAC (0)\n"
         "  --mac-answer-target HEX12  name this MAC in the answer, not the requester's\n"
         "  --mac-answer-delay-ms MS  take the MAC at once, answer this much later (0)\n"
         "  --mac-reboot-ms MS       silence after taking a MAC (--reboot-ms)\n"
         "  --mac-log FILE           append '<old MAC> <new MAC>' per MAC taken\n";
}

MacWriteLog::MacWriteLog(const std::string& path) : path_(path) {
  if (!path_.empty()) file_ = std::fopen(path_.c_str(), "a");
}

MacWriteLog::~MacWriteLog() {
  if (file_) std::fclose(file_);
}

void MacWriteLog::Note(const MacAddress& from, const MacAddress& to) {
  if (!file_) return;
  std::fprintf(file_, "%s %s\n", MacText(from).c_str(), MacText(to).c_str());
  std::fflush(file_);
}

}  // namespace modsim
