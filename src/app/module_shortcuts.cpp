#include "app/module_shortcuts.h"

#include <QUrl>

#include "core/module_directory.h"
#include "platform/platform.h"

namespace torvek {

ModuleShortcuts::ModuleShortcuts(Platform& platform, ModuleDirectory& modules,
                                 std::function<QString()> address)
    : platform_(platform), modules_(modules), address_(std::move(address)) {}

bool ModuleShortcuts::HaveSelectedModule() {
  if (modules_.selectedRow != -1) return true;
  platform_.prompter.Message(" Select system at the List");
  return false;
}

void ModuleShortcuts::OnPingTest() {
  // A lone module needs no selection: it becomes the selected row.
  if (modules_.RowCount() == 1)
    modules_.selectedRow = 0;
  else if (!HaveSelectedModule())
    return;
  platform_.launcher.StartInTerminal({"ping", address_()});
}

void ModuleShortcuts::OnOpenTelnet() {
  if (!HaveSelectedModule()) return;
  platform_.launcher.StartInTerminal({"telnet", address_()});
}

void ModuleShortcuts::OnOpenWebBrowser() {
  if (!HaveSelectedModule()) return;
  const QString address = address_();
  // The port follows the choice of address, not the address itself.
  platform_.launcher.OpenUrl(
      QUrl(modules_.useLanIp ? "http://" + address : "http://" + address + ":8080"));
}

void ModuleShortcuts::OnDosCommand() { platform_.launcher.StartInTerminal({}); }

}  // namespace torvek
