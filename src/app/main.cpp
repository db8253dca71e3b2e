#include <QApplication>
#include <QCommandLineParser>

#include "app/main_dialog.h"
#include "platform/template_font.h"

namespace {

// Help and version only: anything else on the command line is refused before
// the window opens, and so before the first search goes out.
void ParseCommandLine(const QCoreApplication& app) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Finds, configures, flashes and tests ORB730 and ORB740 network modules.");
  parser.addHelpOption();
  parser.addVersionOption();
  parser.process(app);
}

// Help and version are answered without a display.
bool AsksForTextOnly(int argc, char* argv[]) {
  for (int i = 1; i < argc; ++i) {
    const QByteArray word(argv[i]);
    if (word == "--help" || word == "-h" || word == "--help-all" || word == "--version" ||
        word == "-v")
      return true;
  }
  return false;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (AsksForTextOnly(argc, argv)) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("torvek");
    QCoreApplication::setApplicationVersion(TORVEK_VERSION);
    ParseCommandLine(app);
  }
  QApplication app(argc, argv);
  QApplication::setApplicationName("Torvek");
  QApplication::setApplicationVersion(TORVEK_VERSION);
  ParseCommandLine(app);
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
