// Write MAC on the virtual modules: how a module answers command 0x50 and the
// log of every address it was given.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "virtual_module.h"

namespace modsim {

struct MacWriteOptions {
  int answerCode = 82;      // 53, 57 or 82; 0 answers nothing but still takes the address
  std::uint8_t result = 0;  // not 0: refuse, keep the old address
  // Answer naming this MAC instead of the requester's.
  std::optional<MacAddress> answerTarget;
  long rebootMs = -1;  // silence after a write; -1 takes --reboot-ms
  // The address is taken at once, the answer goes this much later: the
  // window in which a tool that dies has lost a write it never heard of.
  long answerDelayMs = 0;
  std::string logPath;  // "<old MAC> <new MAC>" per address taken
};

std::map<std::string, std::function<bool(const std::string&)>> MacWriteOptionParsers(
    MacWriteOptions& o);
const char* MacWriteUsageText();

// Appends one line per address taken and flushes it at once, so that a test
// that kills the tool still finds every write.
class MacWriteLog {
 public:
  explicit MacWriteLog(const std::string& path);
  ~MacWriteLog();
  MacWriteLog(const MacWriteLog&) = delete;
  MacWriteLog& operator=(const MacWriteLog&) = delete;
  bool ok() const { return path_.empty() || file_ != nullptr; }
  void Note(const MacAddress& from, const MacAddress& to);

 private:
  std::string path_;
  std::FILE* file_ = nullptr;
};

}  // namespace modsim
