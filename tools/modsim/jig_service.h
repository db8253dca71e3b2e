// The jig service of the virtual modules: UDP 9998 on every module's lab
// address. Each request names a test item; the module answers it with the
// item's answer code, a result and a text, or keeps quiet, as configured.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "virtual_module.h"

namespace modsim {

struct JigOptions {
  bool enabled = false;
  // Result of every item without one of its own: 0 good.
  std::uint8_t result = 0;
  std::map<std::uint8_t, std::uint8_t> results;
  std::map<std::uint8_t, std::string> texts;
  // An answer code other than the item's own.
  std::map<std::uint8_t, std::uint8_t> codes;
  std::set<std::uint8_t> silent;
  std::string logPath;
};

// The parsers of the options above, by name, for the command line. Any of
// them turns the service on.
std::map<std::string, std::function<bool(const std::string&)>> JigOptionParsers(JigOptions& o);
const char* JigUsageText();

// The answer to one request, from the options alone; empty when the module
// keeps quiet or the request is none.
std::string JigAnswerFor(const JigOptions& options, const std::uint8_t* request,
                         std::size_t length);

class JigService {
 public:
  JigService(JigOptions options, const std::vector<VirtualModule>& modules);
  ~JigService();
  JigService(const JigService&) = delete;
  JigService& operator=(const JigService&) = delete;

  // Binds the port and starts serving. On failure false with a reason.
  bool Start(std::string& error);
  void Stop();

 private:
  void Run();
  void ReadRequests();

  JigOptions options_;
  std::vector<std::uint32_t> modules_;  // sorted, host order
  std::FILE* log_ = nullptr;
  int fd_ = -1;
  int stopFd_ = -1;
  std::thread thread_;
};

}  // namespace modsim
