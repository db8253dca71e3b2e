// Modules made by hand for the directory, when a test needs rows but no
// modules on a network.
#pragma once

#include <string>

#include "core/module_directory.h"

namespace torvek::test {

// A module with a LAN address, a WAN address when one is given, and a MAC
// that follows the LAN address's last number.
inline int AddModule(ModuleDirectory& modules, const std::string& lanIp,
                     const std::string& wanIp = {}) {
  Module module;
  module.lanIp = ParseDotted(lanIp).value_or(std::array<std::uint8_t, 4>{});
  module.mac = {0x00, 0x0E, 0xE3, 0x00, 0x00, module.lanIp[3]};
  module.version = 3;
  if (!wanIp.empty()) {
    module.hasWan = true;
    module.wanIp = ParseDotted(wanIp).value_or(std::array<std::uint8_t, 4>{});
  }
  return modules.AddModule(module);
}

}  // namespace torvek::test
