// The command line of torvek-modsim.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "file_transfer.h"
#include "jig_service.h"
#include "mac_write.h"
#include "virtual_module.h"

namespace modsim {

inline constexpr int kMaxModules = 30000;

// A list item of --names or --ssids; "%d" in text stands for the module's
// number from 1.
struct NameItem {
  NameKind kind = NameKind::Text;
  std::string text;
};

struct SimOptions {
  int count = 1;
  std::vector<std::uint16_t> models{0x4855};
  std::vector<std::uint8_t> versions{3};
  std::vector<std::uint8_t> modes{0};
  std::vector<NameItem> names{{NameKind::Text, "mod%d"}};
  std::vector<std::string> ssids{"ssid%d"};
  std::vector<std::uint8_t> ipTypes{0};
  std::vector<std::uint8_t> dhcp{0};
  std::vector<std::array<char, 8>> firmware{{'1', '.', '6', '.', '0', '0', '0', '3'}};
  bool wan = false;
  Ipv4 baseIp{10, 77, 128, 1};
  std::uint64_t macBase = 0x000EE3000001;
  bool dupMac = false;
  int repeat = 1;
  std::uint8_t result = 0;
  int setRefusal = 0;    // result of every answer to a Set; 0 takes the settings
  long rebootMs = 3000;  // how long a rebooted module misses searches
  int truncate = -1;     // -1: whole records
  long paceUs = 0;
  std::string logPath;
  bool logDestination = false;
  std::string readyPath;
  int exitAfterSearches = 0;  // 0: never
  int lifetimeSeconds = 600;
  std::string dataMode;  // empty: the data ports stay closed
  std::string dataLogPath;
  bool quiet = false;
  bool help = false;
  FileOptions files;
  MacWriteOptions macWrite;
  JigOptions jig;
};

// Fills options from argv. On a bad value returns false with a one-line reason.
bool ParseOptions(int argc, char** argv, SimOptions& options, std::string& error);

const char* UsageText();

// The modules that the options describe, in order.
std::vector<VirtualModule> MakeModules(const SimOptions& options);

}  // namespace modsim
