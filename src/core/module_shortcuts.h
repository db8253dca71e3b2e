// The buttons under the module list that hand the selected module to another
// program: ping, telnet, the web page, a shell.
#pragma once

#include <QString>
#include <functional>

#include "core/process_values.h"

namespace torvek {

class CCellColorList;
struct Platform;

class ModuleShortcuts {
 public:
  // `address` reads the Use LAN IP box and gives the selected row's address.
  ModuleShortcuts(Platform& platform, Selection& selection, const CCellColorList& modules,
                  std::function<QString()> address);

  // True with a row selected; otherwise the operator is told.
  bool HaveSelectedModule();
  void OnPingTest();
  void OnOpenTelnet();
  void OnOpenWebBrowser();
  void OnDosCommand();

 private:
  Platform& platform_;
  Selection& selection_;
  const CCellColorList& modules_;
  std::function<QString()> address_;
};

}  // namespace torvek
