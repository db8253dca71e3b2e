#include <QApplication>

#include "core/main_dialog.h"
#include "platform/template_font.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("Torvek");
  QApplication::setFont(torvek::TemplateFont(QApplication::font()));
  torvek::QtPrompter prompter;
  torvek::SystemLauncher launcher;
  torvek::SystemBeeper beeper;
  torvek::SystemClock clock;
  torvek::SystemAdapterInfo adapters;
  torvek::SystemPaths paths;
  torvek::Platform platform{prompter, launcher, beeper, clock, adapters, paths};
  torvek::CMainDlg dialog(platform);
  prompter.SetParent(&dialog);
  dialog.DoModal();
  return 0;
}
