// The buttons under the module list that hand the selected module to another
// program: ping, telnet, the web page, a shell.
#pragma once

#include <QString>
#include <functional>

namespace torvek {

class ModuleDirectory;
struct Platform;

class ModuleShortcuts {
 public:
  // `address` reads the Use LAN IP box and gives the selected row's address.
  ModuleShortcuts(Platform& platform, ModuleDirectory& modules, std::function<QString()> address);

  // True with a row selected; otherwise the operator is told.
  bool HaveSelectedModule();
  void OnPingTest();
  void OnOpenTelnet();
  void OnOpenWebBrowser();
  void OnDosCommand();

 private:
  Platform& platform_;
  ModuleDirectory& modules_;
  std::function<QString()> address_;
};

}  // namespace torvek
